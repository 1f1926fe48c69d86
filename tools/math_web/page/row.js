// SPDX-License-Identifier: Apache-2.0
import {el, setText} from "./dom.js";
import {durationText} from "./units.js";

/** A line of the lists: a tick that shows it, its name, and facts of it in words. `actions`: onToggle(name), and what
 *  the kind of line needs besides. */
export class Row {
  parts = {};

  constructor(name, store, actions) {
    this.name = name;
    this.store = store;
    this.actions = actions;
    this.parts.pick = el("input", {type: "checkbox", on: {change: () => actions.onToggle(name)}});
    this.parts.facts = el("span", {class: "row-facts"});
  }

  /** To be called at the end of the construction: the name, and what stands behind it. */
  build(...parts) {
    const label = el("label", {class: "row-pick"}, this.parts.pick, el("span", {class: "row-name"}, this.name));
    this.element = el("li", {class: "row"}, label, ...parts);
  }

  /** Whether it may be changed by who looks at it. */
  get mayChange() {
    return this.store.welcome.control && !this.store.isWall;
  }

  /** Writes whether it is shown, and facts. */
  tellFacts(facts) {
    this.parts.pick.checked = this.store.isShown(this.name);
    setText(this.parts.facts, facts.join(", "));
  }

  /** A field with the button that sets its value: `set()`. */
  form(field, label, set, ...before) {
    const submit = (event) => {
      event.preventDefault();
      set();
    };
    return el(
      "form",
      {class: "size-form", on: {submit}},
      ...before,
      field,
      el("button", {"aria-label": `Set ${label}`}, "Set"),
    );
  }
}

/** "1001 points dBm" of a trace, "V" of a scalar; nothing where there is neither. */
export function unitFacts({kind, points, unit}) {
  const text = kind === "trace" && points > 0 ? `${points} points ${unit}`.trim() : (unit ?? "");
  return text === "" ? [] : [text];
}

/** "3.2 s old"; what is not told is left out. `least`: below that many seconds it is not known more exactly. */
export function ageFacts(age_s, least = 0) {
  if (age_s === null || age_s === undefined) return [];
  return [age_s < least ? `< ${least} s old` : `${durationText(age_s)} old`];
}
