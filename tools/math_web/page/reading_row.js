// SPDX-License-Identifier: Apache-2.0
import {el, setShown, setText} from "./dom.js";
import {durationText, rateText} from "./units.js";

const kShowable = new Set(["trace", "scalar", "long"]);

/** A reading of an instrument in the list. `actions`: onToggle(name), onSet(name, attribute, value). */
export class ReadingRow {
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

  /** Writes what `reading` is now. */
  tell(reading) {
    const parts = this.#parts;
    parts.pick.checked = this.#store.isShown(this.#name);
    parts.pick.disabled = !kShowable.has(reading.kind);
    setText(parts.facts, factsOf(reading, this.#store.sinceState_s));
    setShown(parts.form, reading.writable && this.#store.welcome.control && !this.#store.isWall);
  }

  #build() {
    const parts = this.#parts;
    const name = this.#name;
    parts.pick = el("input", {type: "checkbox", on: {change: () => this.#actions.onToggle(name)}});
    parts.facts = el("span", {class: "row-facts"});
    parts.value = el("input", {
      type: "text",
      inputMode: "decimal",
      required: true,
      "aria-label": `New value of ${name}`,
    });
    parts.form = el(
      "form",
      {class: "size-form row-buttons controls", on: {submit: (event) => this.#set(event)}},
      parts.value,
      el("button", {"aria-label": `Set ${name}`}, "Set"),
    );
    const pick = el("label", {class: "row-pick"}, parts.pick, el("span", {class: "row-name"}, name));
    return el("li", {class: "row"}, pick, parts.facts, parts.form);
  }

  #set(event) {
    event.preventDefault();
    this.#actions.onSet(this.#name, "", this.#parts.value.value);
    this.#parts.value.value = "";
  }
}

/** "trace, 1001 points dBm, 20 /s, 50 ms old". */
function factsOf(reading, since_s) {
  const facts = [reading.writable ? `${reading.kind}, can be set` : reading.kind];
  if (reading.kind === "trace" && reading.points > 0) facts.push(`${reading.points} points ${reading.unit}`.trim());
  else if (reading.unit) facts.push(reading.unit);
  if (reading.rate) facts.push(rateText(reading.rate));
  if (reading.age !== null && reading.age !== undefined)
    facts.push(`${durationText(reading.age + (reading.rate ? 0 : since_s))} old`);
  return facts.join(", ");
}
