// SPDX-License-Identifier: Apache-2.0
import {el, setShown, setText} from "./dom.js";
import {durationText, rateText} from "./units.js";

const kSigns = {live: "●", waiting: "○", stale: "◌", away: "✕", refusing: "!"};

/** A math object in the list: what it is, how it does, and what can be done with it. `actions`: onToggle(name),
 *  onSet(name, attribute, value), onReset(name), onDelete(name), isGoing(name). */
export class ObjectRow {
  #name;
  #store;
  #actions;
  #parts = {};

  constructor(name, store, actions) {
    this.#name = name;
    this.#store = store;
    this.#actions = actions;
    this.element = this.#build();
  }

  /** Writes what `object` is now. */
  tell(object) {
    const parts = this.#parts;
    const isGoing = this.#actions.isGoing(this.#name);
    this.element.classList.toggle("going", isGoing);
    this.element.dataset.state = object.state;
    parts.pick.checked = this.#store.isShown(this.#name);
    setText(parts.what, `${object.math} of ${object.inputs.join(", ")}`);
    setText(parts.state, isGoing ? "✕ will be deleted" : `${kSigns[object.state] ?? ""} ${object.words}`);
    setText(parts.facts, factsOf(object, this.#store.sinceState_s));
    const mayControl = this.#store.welcome.control && !isGoing;
    setShown(parts.buttons, mayControl && !this.#store.isWall);
    setShown(parts.sizeForm, object.size !== null);
    if (object.size !== null && document.activeElement !== parts.size && !parts.size.dataset.typed)
      parts.size.value = String(object.size);
  }

  #build() {
    const name = this.#name;
    const parts = this.#parts;
    parts.pick = el("input", {type: "checkbox", on: {change: () => this.#actions.onToggle(name)}});
    parts.what = el("span", {class: "row-what"});
    parts.state = el("span", {class: "row-state"});
    parts.facts = el("span", {class: "row-facts"});
    parts.sizeForm = this.#buildSizeForm();
    const button = (text, call) =>
      el("button", {type: "button", "aria-label": `${text} ${name}`, on: {click: call}}, text);
    parts.buttons = el(
      "div",
      {class: "row-buttons controls"},
      parts.sizeForm,
      button("Reset", () => this.#actions.onReset(name)),
      button("Delete", () => this.#actions.onDelete(name)),
    );
    const pick = el("label", {class: "row-pick"}, parts.pick, el("span", {class: "row-name"}, name));
    return el("li", {class: "row"}, pick, parts.state, parts.what, parts.facts, parts.buttons);
  }

  #buildSizeForm() {
    const label = `SIZE of ${this.#name}`;
    const size = el("input", {type: "number", min: "1", step: "1", required: true, "aria-label": label});
    size.addEventListener("input", () => {
      size.dataset.typed = "yes"; // what is typed is not written over by what comes
    });
    this.#parts.size = size;
    return el(
      "form",
      {class: "size-form", on: {submit: (event) => this.#setSize(event)}},
      el("span", {"aria-hidden": "true"}, "SIZE"),
      size,
      el("button", {"aria-label": `Set ${label}`}, "Set"),
    );
  }

  #setSize(event) {
    event.preventDefault();
    const {size} = this.#parts;
    delete size.dataset.typed;
    this.#actions.onSet(this.#name, "SIZE", size.value);
    size.blur();
  }
}

/** "3 of 10, 1001 points dBm, 20.1 /s, 50 ms old, 2 refused". */
function factsOf(object, since_s) {
  const facts = [];
  if (object.size !== null) facts.push(`${object.filled ?? 0} of ${object.size}`);
  if (object.kind === "trace" && object.points > 0) facts.push(`${object.points} points ${object.unit}`.trim());
  else if (object.unit !== "") facts.push(object.unit);
  facts.push(rateText(object.state === "live" ? object.rate : null));
  if (object.age !== null) facts.push(`${durationText(object.age + (object.state === "live" ? 0 : since_s))} old`);
  if (object.refused > 0) facts.push(`${object.refused} refused`);
  return facts.join(", ");
}
