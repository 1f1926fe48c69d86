// SPDX-License-Identifier: Apache-2.0
import {el, setShown} from "./dom.js";
import {ageFacts, Row, unitFacts} from "./row.js";
import {rateText} from "./units.js";

const kShowable = new Set(["trace", "scalar", "long"]);
const kKindWords = {long: "number"};
// The server looks so often whether a sample has come.
const kLook_s = 1;

/** A reading of an instrument in the list. `actions` besides: onSet(name, attribute, value). */
export class ReadingRow extends Row {
  constructor(name, store, actions) {
    super(name, store, actions);
    const {parts} = this;
    parts.value = el("input", {
      type: "text",
      inputMode: "decimal",
      required: true,
      placeholder: "new value",
      "aria-label": `New value of ${name}`,
    });
    parts.form = this.form(parts.value, name, () => this.#set());
    parts.form.classList.add("row-buttons", "controls");
    this.build(parts.facts, parts.form);
  }

  /** Writes what `reading` is now. */
  tell(reading) {
    this.parts.pick.disabled = !kShowable.has(reading.kind);
    this.tellFacts(factsOf(reading, this.store.sinceState_s));
    setShown(this.parts.form, reading.writable && this.mayChange);
  }

  #set() {
    this.actions.onSet(this.name, "", this.parts.value.value);
    this.parts.value.value = "";
  }
}

/** "trace, 1001 points dBm, 20 /s, < 1 s old". */
function factsOf(reading, since_s) {
  const kind = kKindWords[reading.kind] ?? reading.kind;
  const age_s = reading.age === null || reading.age === undefined ? null : reading.age + (reading.rate ? 0 : since_s);
  return [
    reading.writable ? `${kind}, can be set` : kind,
    ...unitFacts(reading),
    ...(reading.rate ? [rateText(reading.rate)] : []),
    ...ageFacts(age_s, kLook_s),
  ];
}
