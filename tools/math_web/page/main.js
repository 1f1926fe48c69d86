// SPDX-License-Identifier: Apache-2.0
// The page: what there is, pictures of what was chosen, and what may be changed.
import {Connection} from "./connection.js";
import {CreateDialog} from "./create_dialog.js";
import {Deletions} from "./deletions.js";
import {setShown, setText} from "./dom.js";
import {Figures} from "./figures.js";
import {Lists} from "./lists.js";
import {Notices} from "./notices.js";
import {Panels} from "./panels.js";
import {saveCsv, savePicture, saveSet} from "./saving.js";
import {Shortcuts} from "./shortcuts.js";
import {readAddress, Store} from "./store.js";
import {Streams} from "./streams.js";
import {beginTheme, nextTheme, theme} from "./theme.js";

const kTokenKey = "lumenar.token";
const part = (id) => document.getElementById(id);

// The token goes out of the address, where it would be seen and copied, and stays with this tab.
function takeToken(address) {
  if (address.token === "") return sessionStorage.getItem(kTokenKey) ?? "";
  sessionStorage.setItem(kTokenKey, address.token);
  const rest = location.hash
    .replace(/^#/, "")
    .split("&")
    .filter((one) => !/^\/?token=/.test(one))
    .join("&");
  history.replaceState(null, "", location.pathname + (rest === "" ? "" : `#${rest}`));
  return address.token;
}

const address = readAddress(location.hash);
const token = takeToken(address);
beginTheme();
document.body.classList.toggle("wall", address.wall !== null);
window.addEventListener("hashchange", () => {
  const now = readAddress(location.hash);
  const isOther = String(now.wall) !== String(address.wall) || now.token !== "";
  if (isOther) location.reload();
});

const figures = new Figures();
const store = new Store(address.wall);
const notices = new Notices(part("notices"));
const connection = new Connection(token);
const streams = new Streams(connection, figures);
const deletions = new Deletions(connection, notices, {
  onChange: () => lists.tell(),
  onDeleted: (name) => store.hide(name),
});

// What nobody expected is said, too: a picture that stands still must not be taken for one that moves.
window.addEventListener("error", (event) => notices.error(event.message));
window.addEventListener("unhandledrejection", (event) => notices.error(String(event.reason?.message ?? event.reason)));

/** Does something that may be refused; a refusal is shown. */
async function attempt(call) {
  try {
    return await call();
  } catch (error) {
    notices.error(error.message);
    return undefined;
  }
}

/** Asks for a change; that it is done is said in `words`. */
async function change(message, words) {
  if (await attempt(() => connection.request(message))) notices.done(words);
}

const panels = new Panels(part("panels"), streams, store, figures, {
  onRemove: (name) => store.hide(name),
  onCsv: (name) => attempt(() => saveCsv(connection, name)),
});

const lists = new Lists(
  store,
  {
    engines: part("engines"),
    objects: part("objects"),
    readings: part("readings"),
    filter: part("filter"),
    objectsNote: part("objects-note"),
    readingsNote: part("readings-note"),
    manager: part("manager"),
    problems: part("problems"),
  },
  {
    onToggle: (name) => attempt(() => store.toggle(name)).then(() => lists.tell()),
    onSet: (name, attribute, value) =>
      attribute === ""
        ? change({type: "set", name, value}, `${name} is set to ${value}`)
        : change({type: "set", name: `${name}/${attribute}`, value}, `${attribute} of ${name} is set to ${value}`),
    onReset: (name) => change({type: "reset", name}, `${name} begins anew`),
    onDelete: (name) => deletions.begin(name),
    onUndo: (name) => deletions.undo(name),
    isGoing: (name) => deletions.has(name),
  },
);

let hoped = ""; // a name that was made, and that the state does not know yet
const dialog = new CreateDialog(part("create-dialog"), connection, store, (name) => {
  hoped = name;
  notices.done(`${name} is made`);
  showHoped();
});

function showHoped() {
  if (hoped === "" || !store.find(hoped)) return;
  const name = hoped;
  hoped = "";
  attempt(() => {
    store.show(name);
    panels.reveal(name);
  });
}

function showChosen() {
  panels.show(store.shown, store.shownItems);
  const {missing} = store;
  setShown(part("missing"), missing.length > 0);
  setText(part("missing-text"), missing.length > 0 ? `Not there: ${missing.join(", ")}` : "");
  setShown(part("hint"), store.state === null || store.shown.length === 0);
  setText(part("hint"), hintOf(store.state));
}

function hintOf(state) {
  if (state === null) return "Waiting for what the instrument offers.";
  if (state.readings.length + state.objects.length > 0) return "Choose a math object or a reading to see it here.";
  return "Nothing can be shown yet: no instrument answers. What comes is offered by itself.";
}

function createObject() {
  if (store.welcome.control) dialog.open();
}

function setPaused(isPaused) {
  panels.setPaused(isPaused);
  part("pause").classList.toggle("main", isPaused);
  setText(part("pause"), isPaused ? "Go on" : "Pause");
  document.body.classList.toggle("paused", isPaused);
}

function setPeak(peak) {
  panels.setPeak(peak);
  part("peak").setAttribute("aria-pressed", String(peak));
}

function setHold(hold) {
  part("hold").value = hold;
  panels.setHold(hold);
}

function nextHold() {
  const {options, selectedIndex} = part("hold");
  setHold(options[(selectedIndex + 1) % options.length].value);
}

function savePictures() {
  panels.settle();
  return attempt(() => savePicture(panels.panels));
}
const focusedTrace = () => panels.focused?.views[0];

const commands = [
  {key: "p", words: "pause, and go on", call: () => setPaused(!panels.settings.isPaused)},
  {key: "h", words: "hold: nothing, present curves, smallest and greatest", call: nextHold},
  {key: "m", words: "mark peaks", call: () => setPeak(!panels.settings.peak)},
  {key: "l", words: "decibels or linear", call: () => panels.focused?.toggleScale?.()},
  {
    key: "w",
    words: "waterfall of the first trace of the plot",
    call: () => focusedTrace() && panels.toggleWaterfall(focusedTrace()),
  },
  {key: "0", words: "show everything", call: () => panels.focused?.zoomOut()},
  {key: "s", words: "save the pictures as PNG", call: savePictures},
  {
    key: "c",
    words: "save the data of the plot's first trace as CSV",
    call: () => focusedTrace() && attempt(() => saveCsv(connection, focusedTrace().name)),
  },
  {key: "n", words: "new math object", call: createObject},
  {key: "/", words: "find in the lists", call: () => part("filter").focus()},
  {key: "t", words: "theme: auto, light, dark", call: changeTheme},
];
const shortcuts = new Shortcuts(commands, part("keys-dialog"));

function changeTheme() {
  setText(part("theme"), `Theme: ${nextTheme()}`);
}

function tellConnection(isOpen, reason) {
  setText(part("connection"), isOpen ? "● connected" : "✕ connection away");
  part("connection").classList.toggle("bad", !isOpen);
  setShown(part("away"), !isOpen);
  const why = reason ? ` (${reason})` : "";
  setText(
    part("away"),
    isOpen ? "" : `The connection to the server is away${why}. What you see is old; it is tried again by itself.`,
  );
  document.body.classList.toggle("is-away", !isOpen);
}

async function saveObjects() {
  const leftOut = await attempt(() => saveSet(connection));
  if (leftOut?.length > 0) notices.error(`Left out: ${leftOut.join("; ")}`);
}

const kCalls = {
  welcome: (message) => store.setWelcome(message),
  state: (message) => store.setState(message),
};

connection.addEventListener("open", () => {
  tellConnection(true);
  streams.renew();
});
connection.addEventListener("away", (event) => tellConnection(false, event.detail));
connection.addEventListener("text", (event) => kCalls[event.detail.type]?.(event.detail));

store.addEventListener("welcome", () => {
  const {control} = store.welcome;
  setShown(part("create"), control);
  setText(part("rights"), control ? "" : "read only");
});
store.addEventListener("state", () => {
  streams.renewEnded((name) => store.find(name) !== undefined);
  showHoped();
  showChosen();
});
store.addEventListener("shown", showChosen);

for (const [id, call] of Object.entries({
  pause: () => setPaused(!panels.settings.isPaused),
  peak: () => setPeak(!panels.settings.peak),
  picture: savePictures,
  theme: changeTheme,
  keys: () => shortcuts.show(),
  create: createObject,
  forget: () => store.hideMissing(),
  "save-set": saveObjects,
}))
  part(id).addEventListener("click", call);
part("hold").addEventListener("change", (event) => setHold(event.target.value));
setText(part("theme"), `Theme: ${theme()}`);
setInterval(() => setText(part("figures"), figures.text()), 1000);

// For measurements of this page by others.
globalThis.lumenar = {figures, panels, store};
connection.connect();
