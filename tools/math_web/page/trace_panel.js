// SPDX-License-Identifier: Apache-2.0
import {el, setShown, setText} from "./dom.js";
import {Plot} from "./plot.js";
import {PlotKeys} from "./plot_keys.js";
import {finiteRange, fullRange} from "./protocol.js";
import {FollowingRange, panned, union, zoomed} from "./ranges.js";
import {axisLabel, axisScale, numberText} from "./units.js";
import {WaterfallView} from "./waterfall_view.js";

const kTell_ms = 200;
const kNoValues = {min: 0, max: 1};

/** Traces of one unit over one axis: picture, legend, waterfalls. `settings` is shared by all panels: hold, peak,
 *  isPaused, scaleTo(name) for the other form of a trace's numbers. `onDirty()` asks for a picture. */
export class TracePanel {
  views = [];
  #settings;
  #onDirty;
  #range = new FollowingRange();
  #zoom = null;
  #fixed = null;
  #cursor = null;
  #told = 0;
  #isDirty = true;
  #parts = {};

  constructor(settings, onDirty) {
    this.#settings = settings;
    this.#onDirty = onDirty;
    this.element = this.#build();
  }

  /** To be called when the element is in the page: a plot takes the size that it has there. */
  begin() {
    this.plot = new Plot(
      this.#parts.plot,
      {},
      {
        onSelect: (x, y) => this.select(x, y),
        onCursor: (x) => this.setCursor(x),
        onSize: () => this.#askAgain(),
      },
    );
    new PlotKeys(this.#parts.plot, this.plot, this);
  }

  add(view) {
    this.views = [...this.views, view].sort((a, b) => a.slot - b.slot);
    view.panel = this;
    view.paintKey();
    this.#parts.legend.replaceChildren(...this.views.map((one) => one.element));
    this.#range.reset();
    this.#askAgain();
    this.dirty();
  }

  remove(view) {
    this.views = this.views.filter((other) => other !== view);
    view.waterfall?.element.remove();
    this.#range.reset();
    this.dirty();
  }

  close() {
    this.plot.destroy();
    this.element.remove();
  }

  dirty() {
    this.#isDirty = true;
    this.#onDirty();
  }

  /** x of all its traces. */
  get full() {
    return this.views.reduce((range, view) => (view.frame ? union(range, fullRange(view.frame)) : range), null);
  }

  /** x that is shown. */
  get shown() {
    return this.#zoom ?? this.full ?? {from: 0, to: 1};
  }

  get cursor() {
    return this.#cursor;
  }

  get isZoomed() {
    return this.#zoom !== null || this.#fixed !== null;
  }

  /** Shows a range of x, of y, or both; null leaves that one as it is. */
  select(x, y) {
    if (y) this.#fixed = y;
    if (x) this.#zoomTo(zoomed(x, this.full, 1, x.from, this.#step));
    else this.dirty();
    this.#tellZoom();
  }

  /** Zooms by a factor about a place, or moves by a share of the width. */
  zoomBy(factor, at = this.#middle) {
    if (this.full) this.#zoomTo(zoomed(this.shown, this.full, factor, at, this.#step));
  }

  panBy(share) {
    if (this.#zoom) this.#zoomTo(panned(this.#zoom, this.full, share));
  }

  zoomOut() {
    this.#fixed = null;
    this.#range.reset();
    this.#zoomTo(null);
  }

  /** Puts the cursor at x, or takes it away; values show in the legend. */
  setCursor(x) {
    if (this.#cursor === x) return;
    this.#cursor = x;
    this.#tell(true);
  }

  /** A value of x with its unit, as the axis shows it, and as many digits as tell neighbours apart. */
  xText(x) {
    const unit = this.views[0]?.frame?.xUnit ?? "";
    const {from, to} = this.shown;
    const scale = axisScale(unit, Math.max(Math.abs(from), Math.abs(to)));
    const digits = Math.min(12, Math.max(4, Math.ceil(Math.log10(Math.abs(x) / ((to - from) / 2000) || 1)) + 1));
    if (unit !== "") return `${numberText(x / scale.divisor, digits)} ${scale.unit}`;
    return this.#isOverPoints ? `point ${numberText(x, digits)}` : numberText(x, digits);
  }

  /** Draws what is new; gives the capture times of what has been drawn. */
  draw() {
    const isFresh = this.views.some((view) => view.isFresh) && !this.#settings.isPaused;
    if (!this.#isDirty && !isFresh) return [];
    this.#isDirty = false;
    const frames = this.views.filter((view) => view.frame);
    if (frames.length > 0) this.#drawFrames(frames);
    for (const view of frames) view.waterfall?.draw(this.shown, this.#settings.isPaused);
    this.#tell(false);
    return this.#settings.isPaused ? [] : frames.filter((view) => view.isFresh).map((view) => view.drawn());
  }

  /** Says values, rates and ages again. */
  tell() {
    this.#tell(true);
  }

  toggleWaterfall(view, streams) {
    if (view.waterfall) {
      view.waterfall.close();
      view.waterfall = null;
    } else {
      view.waterfall = new WaterfallView(view, streams, () => this.dirty());
      this.#parts.falls.append(view.waterfall.element);
    }
    view.setWaterfallPressed(view.waterfall !== null);
    this.dirty();
  }

  /** Takes a waterfall over from the panel where its trace was before its unit changed. */
  adopt(waterfall) {
    this.#parts.falls.append(waterfall.element);
  }

  /** Switches between decibels and linear numbers, back to what was measured at the second time. */
  toggleScale() {
    const isNative = this.views.every((view) => view.scale === "as_is");
    for (const view of this.views) view.setScale(isNative ? (this.#settings.scaleTo(view.name) ?? "as_is") : "as_is");
  }

  get title() {
    const frame = this.views.find((view) => view.frame)?.frame;
    return frame ? axisLabel(frame.yUnit, "Number without unit") : "Waiting for a first sample";
  }

  // A trace that tells no axis of its own is shown over the number of the point.
  get #isOverPoints() {
    return this.views.every(({frame}) => !frame || (frame.firstX === 0 && frame.traceStep === 1));
  }

  get #middle() {
    const {from, to} = this.shown;
    return (from + to) / 2;
  }

  get #step() {
    return Math.min(...this.views.filter((view) => view.frame).map((view) => Math.abs(view.frame.traceStep) || 1));
  }

  #zoomTo(range) {
    this.#zoom = range;
    this.#range.reset();
    this.#askAgain();
    this.#tellZoom();
    this.dirty();
  }

  // The server thins to what is shown, so that zooming in brings the points.
  #askAgain() {
    if (!this.plot) return;
    const view = {columns: this.plot.columns, from: this.#zoom?.from ?? null, to: this.#zoom?.to ?? null};
    for (const one of this.views) one.stream.change(view);
    this.dirty();
  }

  #drawFrames(views) {
    const {plot} = this;
    const {xUnit, yUnit} = views[0].frame;
    plot.setUnits(xUnit, yUnit, this.#isOverPoints ? "Point" : "Axis without unit");
    plot.setRanges(this.shown, this.#fixed ?? this.#follow(views));
    plot.clear();
    const box = plot.box();
    for (const view of views) view.draw(plot.context, box, plot.ratio, this.#settings.hold, this.#settings.peak);
  }

  #follow(views) {
    let [low, high] = [Infinity, -Infinity];
    for (const values of views.flatMap((view) => view.lists)) {
      const range = finiteRange(values);
      if (range) [low, high] = [Math.min(low, range.low), Math.max(high, range.high)];
    }
    return low <= high ? this.#range.follow(low, high, performance.now()) : kNoValues;
  }

  #tell(isUrgent) {
    const now = performance.now();
    if (!isUrgent && now - this.#told < kTell_ms) return;
    this.#told = now;
    for (const view of this.views) view.tell(this.#cursor, this.#settings.peak);
    setText(this.#parts.title, this.title);
    setText(this.#parts.cursor, this.#cursor === null ? "" : `Cursor at ${this.xText(this.#cursor)}`);
    this.#tellScale();
  }

  // The server says which units have another form.
  #tellScale() {
    const isNative = this.views.every((view) => view.scale === "as_is");
    const other = this.views.map((view) => this.#settings.scaleTo(view.name)).find((one) => one) ?? null;
    setShown(this.#parts.scale, other !== null || !isNative);
    const isLinearNext = isNative ? other === "linear" : other === "db";
    setText(this.#parts.scale, isLinearNext ? "Show linear" : "Show in dB");
  }

  #tellZoom() {
    const {shown} = this;
    const text = this.#zoom
      ? `Zoomed: ${this.xText(shown.from)} to ${this.xText(shown.to)}`
      : this.#fixed
        ? "Zoomed in height"
        : "";
    setText(this.#parts.zoom, text);
    this.#parts.all.disabled = !this.isZoomed;
  }

  #buildTools() {
    const button = (text, label, call) =>
      el("button", {type: "button", "aria-label": label, title: label, on: {click: call}}, text);
    const parts = this.#parts;
    parts.scale = button("Show in dB", "Switch between decibels and linear numbers (L)", () => this.toggleScale());
    parts.all = button("All", "Show everything (0)", () => this.zoomOut());
    parts.all.disabled = true;
    return el(
      "div",
      {class: "panel-tools controls"},
      parts.scale,
      button("◀", "Move left (Shift+Left)", () => this.panBy(-0.25)),
      button("▶", "Move right (Shift+Right)", () => this.panBy(0.25)),
      button("+", "Zoom in (+)", () => this.zoomBy(0.5)),
      button("−", "Zoom out (−)", () => this.zoomBy(2)),
      parts.all,
    );
  }

  #build() {
    const parts = this.#parts;
    const tools = this.#buildTools();
    parts.title = el("h2", {}, "Waiting for a first sample");
    parts.zoom = el("span", {class: "zoom-text"});
    parts.plot = el("div", {
      class: "plot",
      tabIndex: 0,
      role: "group",
      "aria-roledescription": "plot",
      "aria-label": "Plot. Left and Right move the cursor, with Shift the picture; plus and minus zoom, 0 shows all.",
    });
    parts.cursor = el("span", {class: "cursor-text", role: "status"});
    parts.legend = el("ul", {class: "legend"});
    parts.falls = el("div", {class: "falls"});
    const head = el("div", {class: "panel-head"}, parts.title, parts.zoom, parts.cursor, tools);
    return el(
      "section",
      {class: "panel trace-panel", "aria-label": "Traces"},
      head,
      parts.plot,
      parts.falls,
      parts.legend,
    );
  }
}
