// SPDX-License-Identifier: Apache-2.0
import {el, setText} from "./dom.js";
import {Plot} from "./plot.js";
import {PlotFingers} from "./plot_fingers.js";
import {PlotKeys} from "./plot_keys.js";
import {FollowingRange} from "./ranges.js";
import {axisLabel} from "./units.js";

const kTell_ms = 200;
const kSay_ms = 500;

/** What stands in one picture: views of one unit, their plot with its cursor, their legend. `settings` is shared by all
 *  panels: hold, peak, isPaused, scaleTo(name) for the other form of a trace's numbers. `onDirty()` asks for a picture.
 *  A kind of panel has besides: shown, the range of x; zoomBy, panBy, zoomOut; draw(); xText(x); withoutUnit. */
export class Panel {
  views = [];
  parts = {};
  range = new FollowingRange();
  #onDirty;
  #cursor = null;
  #told = 0;
  #isDirty = true;
  #saying = 0;

  constructor(settings, onDirty) {
    this.settings = settings;
    this.#onDirty = onDirty;
  }

  /** To be called at the end of the construction. `tools` stand in the head; `body` gets plot and legend. */
  build({kind, words, plotWords, tools, body}) {
    const {parts} = this;
    const id = `panel-title-${++lastNumber}`;
    parts.title = el("h2", {id}, "Waiting for a first sample");
    parts.zoom = el("span", {class: "zoom-text"});
    parts.cursor = el("span", {class: "cursor-text"});
    parts.said = el("p", {class: "unseen", role: "status"});
    parts.legend = el("ul", {class: "legend", "aria-label": words});
    parts.plot = el("div", {
      class: "plot",
      tabIndex: 0,
      role: "group",
      "aria-roledescription": "plot",
      "aria-label": plotWords,
    });
    const head = el("div", {class: "panel-head"}, parts.title, parts.zoom, parts.cursor, ...tools);
    this.element = el(
      "section",
      {class: `panel ${kind}`, "aria-labelledby": id},
      head,
      ...body(parts.plot, parts.legend),
      parts.said,
    );
  }

  /** To be called when the element is in the page: a plot takes the size that it has there. */
  begin(options, hooks) {
    const {plot} = this.parts;
    this.plot = new Plot(plot, options, {onCursor: (x) => this.setCursor(x), ...hooks});
    new PlotKeys(plot, this);
    new PlotFingers(plot, this.plot, this);
  }

  add(view) {
    this.views = [...this.views, view].sort((a, b) => a.slot - b.slot);
    view.panel = this;
    view.paintKey();
    this.parts.legend.replaceChildren(...this.views.map((one) => one.element));
    this.range.reset();
    this.dirty();
  }

  remove(view) {
    this.views = this.views.filter((other) => other !== view);
    this.range.reset();
    this.dirty();
  }

  close() {
    clearTimeout(this.#saying);
    this.plot.destroy();
    this.element.remove();
  }

  dirty() {
    this.#isDirty = true;
    this.#onDirty();
  }

  /** Whether a picture was asked for since the last time. */
  takeDirty() {
    const isDirty = this.#isDirty;
    this.#isDirty = false;
    return isDirty;
  }

  /** What its numbers are: quantity, and unit as the axis writes it. */
  get title() {
    const view = this.views.find((one) => one.sample);
    return view ? axisLabel(view.unit, this.withoutUnit, this.plot.yScale.unit) : "Waiting for a first sample";
  }

  get cursor() {
    return this.#cursor;
  }

  /** Puts the cursor at x, or takes it away; values show in the legend. */
  setCursor(x) {
    if (this.#cursor === x) return;
    this.#cursor = x;
    this.tell();
  }

  /** The same, and the line of the plot with it. */
  putCursor(x) {
    this.plot.setCursor(x);
    this.setCursor(x);
  }

  /** Says place and values of the cursor to those who do not see it, when it has come to rest. */
  sayCursor() {
    clearTimeout(this.#saying);
    this.#saying = setTimeout(() => setText(this.parts.said, this.#cursorInWords()), kSay_ms);
  }

  /** x under a place of the window. */
  xAt(clientX) {
    const {from, to} = this.shown;
    return from + this.plot.shareAt(clientX) * (to - from);
  }

  /** Says values, rates and ages again. */
  tell() {
    this.#told = performance.now();
    for (const view of this.views) view.tell(this.#cursor, this.settings.peak);
    setText(this.parts.title, this.title);
    setText(this.parts.cursor, this.#cursor === null ? "" : `Cursor at ${this.xText(this.#cursor)}`);
  }

  /** The same, where the last time is long enough ago to be read. */
  tellSometimes() {
    if (performance.now() - this.#told >= kTell_ms) this.tell();
  }

  #cursorInWords() {
    if (this.#cursor === null) return "No cursor";
    const values = this.views.map((view) => `${view.name}: ${view.valueText(this.#cursor) || "no value here"}`);
    return `${this.xText(this.#cursor)}. ${values.join(". ")}`;
  }
}

let lastNumber = 0;
