// SPDX-License-Identifier: Apache-2.0
import {button, el, setShown, setText} from "./dom.js";
import {ageFacts, Row, unitFacts} from "./row.js";
import {rateText} from "./units.js";

const kSigns = {live: "●", waiting: "○", stale: "◌", away: "✕", refusing: "!"};

/** A math object in the list: what it is, how it does, and what can be done with it. `actions` besides: onSet(name,
 *  attribute, value), onReset(name), onDelete(name), onUndo(name), isGoing(name). */
export class ObjectRow extends Row {
  constructor(name, store, actions) {
    super(name, store, actions);
    const {parts} = this;
    parts.what = el("span", {class: "row-what"});
    parts.state = el("span", {class: "row-state"});
    parts.sizeForm = this.#buildSizeForm();
    parts.reset = button("Reset", `Reset ${name}`, () => actions.onReset(name));
    // The same button takes it back: the focus stays where it is.
    const removeOrKeep = () => (actions.isGoing(name) ? actions.onUndo(name) : actions.onDelete(name));
    parts.remove = button("Delete", `Delete ${name}`, removeOrKeep);
    parts.buttons = el("div", {class: "row-buttons controls"}, parts.sizeForm, parts.reset, parts.remove);
    this.build(parts.state, parts.what, parts.facts, parts.buttons);
  }

  /** Writes what `object` is now. */
  tell(object) {
    const {parts} = this;
    const isGoing = this.actions.isGoing(this.name);
    this.element.classList.toggle("going", isGoing);
    this.element.dataset.state = object.state;
    setText(parts.what, `${object.math} of ${object.inputs.join(", ")}`);
    setText(parts.state, isGoing ? "✕ will be deleted" : `${kSigns[object.state] ?? ""} ${object.words}`);
    this.tellFacts(factsOf(object, this.store.sinceState_s));
    setShown(parts.buttons, this.mayChange);
    setShown(parts.sizeForm, object.size !== null && !isGoing);
    setShown(parts.reset, !isGoing);
    if (isGoing) this.#tellRemove("Undo", `Undo: do not delete ${this.name}`);
    else this.#tellRemove("Delete", `Delete ${this.name}`);
    if (object.size !== null && document.activeElement !== parts.size && !parts.size.dataset.typed)
      parts.size.value = String(object.size);
  }

  #tellRemove(text, label) {
    const {remove} = this.parts;
    if (remove.textContent === text) return;
    setText(remove, text);
    remove.title = label;
    remove.setAttribute("aria-label", label);
  }

  #buildSizeForm() {
    const label = `SIZE of ${this.name}`;
    const size = el("input", {type: "number", min: "1", step: "1", required: true, "aria-label": label});
    size.addEventListener("input", () => {
      size.dataset.typed = "yes"; // what is typed is not written over by what comes
    });
    this.parts.size = size;
    return this.form(size, label, () => this.#setSize(), el("span", {"aria-hidden": "true"}, "SIZE"));
  }

  #setSize() {
    const {size} = this.parts;
    delete size.dataset.typed;
    this.actions.onSet(this.name, "SIZE", size.value);
    size.blur();
  }
}

/** "3 of 10, 1001 points dBm, 20.1 /s, 50 ms old, 2 refused". */
function factsOf(object, since_s) {
  const isLive = object.state === "live";
  return [
    ...(object.size === null ? [] : [`${object.filled ?? 0} of ${object.size}`]),
    ...unitFacts(object),
    ...(isLive ? [rateText(object.rate)] : []),
    ...ageFacts(object.age === null ? null : object.age + (isLive ? 0 : since_s)),
    ...(object.refused > 0 ? [`${object.refused} refused`] : []),
  ];
}
