// SPDX-License-Identifier: Apache-2.0

const kKey = "lumenar.shown";
const kMostShown = 12; // the server allows 16 streams, waterfalls among them
const kFirstShown = 2;

/** What the address behind # says: {wall: [names] or null, token}. Names stand as they are or percent-encoded. */
export function readAddress(hash) {
  const parts = new Map(
    hash
      .replace(/^#/, "")
      .split("&")
      .map((part) => {
        const [name, ...value] = part.split("=");
        return [name, decoded(value.join("="))];
      }),
  );
  const wall = parts.get("/wall") ?? parts.get("wall");
  return {
    wall: wall === undefined ? null : wall.split(",").filter((name) => name !== ""),
    token: parts.get("token") ?? parts.get("/token") ?? "",
  };
}

function decoded(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return text; // a lone percent sign stands for itself
  }
}

/** What the page knows: what the server offers and says, and what the user has chosen to see. Events: `welcome`,
 *  `state` when the server has said something, `shown` when the choice has changed. */
export class Store extends EventTarget {
  welcome = {control: false, math_types: [], unit_names: []};
  state = null;
  shown = [];
  #wall;
  #heard_ms = 0;
  #hasChosen = false;

  constructor(wall) {
    super();
    this.#wall = wall;
    this.shown = wall ?? this.#stored();
    this.#hasChosen = wall !== null || this.shown.length > 0;
  }

  get isWall() {
    return this.#wall !== null;
  }

  setWelcome(message) {
    this.welcome = message;
    this.dispatchEvent(new Event("welcome"));
  }

  setState(message) {
    this.state = message;
    this.#heard_ms = performance.now();
    if (!this.#hasChosen) this.#chooseFirst();
    this.dispatchEvent(new Event("state"));
  }

  /** Seconds since the server said its state: ages run on. */
  get sinceState_s() {
    return (performance.now() - this.#heard_ms) / 1000;
  }

  /** A math object or a reading by name; undefined where there is none. */
  find(name) {
    return (
      this.state?.objects.find((one) => one.name === name) ?? this.state?.readings.find((one) => one.name === name)
    );
  }

  /** What is chosen, as far as it is known what it is: [{name, kind}]. */
  get shownItems() {
    return this.shown.map((name) => ({name, kind: this.find(name)?.kind})).filter((item) => item.kind);
  }

  /** Chosen names that nobody offers. */
  get missing() {
    return this.state ? this.shown.filter((name) => !this.find(name)) : [];
  }

  isShown(name) {
    return this.shown.includes(name);
  }

  /** Shows or hides something. Errors   Error where more would be shown than can be told apart. */
  toggle(name) {
    const others = this.shown.filter((other) => other !== name);
    if (others.length === this.shown.length && others.length >= kMostShown)
      throw new Error(`no more than ${kMostShown} can be shown at a time: take one away first`);
    this.#setShown(others.length === this.shown.length ? [...this.shown, name] : others);
  }

  show(name) {
    if (!this.isShown(name)) this.toggle(name);
  }

  hide(name) {
    if (this.isShown(name)) this.toggle(name);
  }

  /** Takes away what nobody offers. */
  hideMissing() {
    this.#setShown(this.shown.filter((name) => this.find(name)));
  }

  #setShown(names) {
    this.shown = names;
    this.#hasChosen = true;
    if (!this.isWall) localStorage.setItem(kKey, JSON.stringify(names));
    this.dispatchEvent(new Event("shown"));
  }

  // Who opens the page for the first time sees something: results before readings, traces before scalars.
  #chooseFirst() {
    const offered = [...this.state.objects.filter((one) => one.state === "live"), ...this.state.readings];
    const names = ["trace", "scalar"].flatMap((kind) =>
      offered.filter((one) => one.kind === kind).slice(0, kFirstShown),
    );
    if (names.length === 0) return;
    this.shown = names.map((one) => one.name);
    this.#hasChosen = true;
    this.dispatchEvent(new Event("shown"));
  }

  #stored() {
    try {
      const names = JSON.parse(localStorage.getItem(kKey) ?? "[]");
      return names.filter((name) => typeof name === "string").slice(0, kMostShown);
    } catch {
      return []; // somebody else wrote there
    }
  }
}
