// SPDX-License-Identifier: Apache-2.0
import {Arrivals} from "./arrivals.js";
import {button, el, setText} from "./dom.js";
import {paintKey} from "./marks.js";
import {axisScale} from "./units.js";

/** One name that is shown: its subscription, what came last, and its line in the legend of the panel where it is.
 *  `actions`: describe(name), onFrame(view), onRemove(view), onCsv(view), onWaterfall(view). */
export class View {
  panel = null;
  /** What came last, null before. */
  sample = null;
  /** Whether it waits to be drawn. */
  isFresh = false;
  arrivals = new Arrivals();
  parts = {};
  #ended = "";

  constructor(name, slot, actions) {
    this.name = name;
    this.slot = slot;
    this.actions = actions;
  }

  /** To be called at the end of the construction. `view`: columns, from, to, scale, as the server is to thin. */
  subscribe(streams, view) {
    this.stream = streams.open(this.name, view, {
      onSample: (sample) => this.#took(sample),
      onEnd: (reason) => this.#end(reason),
    });
  }

  /** The line of the legend: `middle` stands behind the name, `buttons` before those that all have. */
  buildLine(kind, middle, buttons) {
    const {parts, name} = this;
    parts.key = el("canvas", {class: "key", "aria-hidden": "true"});
    parts.what = el("span", {class: "legend-what"});
    parts.arrivals = el("span", {class: "legend-arrivals"});
    const csv = button("CSV", `Save the data of ${name} as CSV`, () => this.actions.onCsv(this), "quiet");
    const remove = button("×", `Take ${name} out of the picture`, () => this.actions.onRemove(this), "quiet");
    this.element = el(
      "li",
      {class: `legend-line ${kind}`.trim(), data: {name}},
      parts.key,
      el(
        "span",
        {class: "legend-words"},
        el("span", {class: "legend-name"}, name),
        parts.what,
        ...middle,
        parts.arrivals,
      ),
      el("span", {class: "legend-buttons controls"}, ...buttons, csv, remove),
    );
  }

  /** How numbers of its unit are written beside the axis of its panel: {divisor, unit}. */
  get scaleOfAxis() {
    return this.panel?.plot?.yScale ?? axisScale(this.unit, 0);
  }

  /** Its mark in the present theme. */
  paintKey() {
    paintKey(this.parts.key, this.slot);
  }

  /** Writes what it is, and how it comes. */
  tellLine() {
    const what = this.actions.describe(this.name);
    if (what !== "") setText(this.parts.what, what); // what has gone is still called what it was
    setText(this.parts.arrivals, this.#ended || this.arrivals.text());
  }

  close() {
    this.stream.close();
    this.element.remove();
  }

  #took(sample) {
    this.keep(sample);
    this.isFresh = true;
    this.#ended = "";
    this.arrivals.took(sample.time, sample.skipped);
    this.actions.onFrame(this);
  }

  #end(reason) {
    this.#ended = reason;
    this.actions.onFrame(this);
  }
}
