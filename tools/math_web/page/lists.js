// SPDX-License-Identifier: Apache-2.0
import {el, keepChildren, setShown, setText} from "./dom.js";
import {ObjectRow} from "./object_row.js";
import {ReadingRow} from "./reading_row.js";
import {bytesText, durationText} from "./units.js";

const kMostRows = 200;

/** The lists beside the pictures: engines, math objects, readings, as the server says them. */
export class Lists {
  #store;
  #parts;
  #rows = new Map();
  #makers;
  #filter = "";

  /** `parts`: elements engines, objects, readings, filter, manager, problems, counts. `actions` go to the rows. */
  constructor(store, parts, actions) {
    this.#store = store;
    this.#parts = parts;
    this.#makers = {
      objects: (name) => new ObjectRow(name, store, actions),
      readings: (name) => new ReadingRow(name, store, actions),
    };
    parts.filter.addEventListener("input", () => this.#setFilter(parts.filter.value));
    for (const type of ["state", "shown", "welcome"]) store.addEventListener(type, () => this.tell());
    setInterval(() => this.tell(), 1000);
  }

  /** Writes everything that differs. */
  tell() {
    const {state} = this.#store;
    if (!state) return;
    this.#tellEngines(state);
    this.#tellRows("objects", state.objects, state.more_objects ?? 0, "No math objects yet");
    this.#tellRows("readings", state.readings, state.more_readings ?? 0, "No readings: no instrument answers");
  }

  #setFilter(text) {
    this.#filter = text.trim().toLowerCase();
    this.tell();
  }

  #fits(item) {
    if (this.#filter === "") return true;
    const words = [item.name, item.math ?? "", item.unit, ...(item.inputs ?? [])];
    return words.some((word) => word.toLowerCase().includes(this.#filter));
  }

  #tellRows(part, items, more, none) {
    const fitting = items.filter((item) => this.#fits(item));
    const shown = fitting.slice(0, kMostRows);
    keepChildren(
      this.#parts[part],
      shown.map((item) => item.name),
      (name) => {
        const row = this.#makers[part](name);
        this.#rows.set(row.element, row);
        return row.element;
      },
    );
    [...this.#parts[part].children].forEach((element, i) => this.#rows.get(element)?.tell(shown[i]));
    for (const element of this.#rows.keys()) if (!element.isConnected) this.#rows.delete(element);
    const hidden = more + fitting.length - shown.length;
    const note = this.#parts[`${part}Note`];
    setShown(note, fitting.length === 0 || hidden > 0);
    setText(
      note,
      hidden > 0 ? `and ${hidden} more: type a part of a name above` : this.#filter === "" ? none : "Nothing fits",
    );
  }

  #tellEngines(state) {
    const rows = this.#parts.engines;
    keepChildren(
      rows,
      state.engines.map((engine) => engine.name),
      (name) => {
        const parts = [["row-name", name], ["row-state"], ["row-facts"]];
        return el("li", {class: "row"}, ...parts.map(([kind, text]) => el("span", {class: kind}, text)));
      },
    );
    [...rows.children].forEach((row, i) => this.#tellEngine(row, state.engines[i], state));
    const {manager, problems} = state;
    setText(
      this.#parts.manager,
      manager.alive
        ? `Topic manager: ${manager.topics} topics, ${manager.queued} samples wait, ${manager.lost} lost`
        : "The topic manager is away: no samples come",
    );
    this.#parts.manager.classList.toggle("bad", !manager.alive);
    keepChildren(this.#parts.problems, problems, (text) => el("li", {}, text));
    setShown(this.#parts.problems, problems.length > 0);
  }

  #tellEngine(row, engine, {objects}) {
    const isAway = engine.state === "away";
    row.dataset.state = engine.state;
    const item = objects.some((object) => object.engine === engine.name) ? "math object" : "reading";
    const facts = isAway ? [] : [`${engine.readings} ${item}${engine.readings === 1 ? "" : "s"}`];
    if (engine.memory !== null) facts.push(bytesText(engine.memory));
    if (engine.cpu !== null) facts.push(`processor ${durationText(engine.cpu)}`);
    if (engine.lost !== null) facts.push(`${engine.lost} samples lost`);
    [isAway ? "✕ away" : "● live", facts.join(", ")].forEach((text, i) => setText(row.children[i + 1], text));
  }
}
