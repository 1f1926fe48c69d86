// SPDX-License-Identifier: Apache-2.0
import {button, el, setShown, setText} from "./dom.js";
import {Panel} from "./panel.js";
import {finiteRange, fullRange} from "./protocol.js";
import {panned, union, zoomed} from "./ranges.js";
import {axisScale, numberText} from "./units.js";
import {WaterfallView} from "./waterfall_view.js";

const kNoValues = {min: 0, max: 1};

/** Traces of one unit over one axis: picture, legend, waterfalls. */
export class TracePanel extends Panel {
  withoutUnit = "Number without unit";
  #zoom = null;
  #fixed = null;

  constructor(settings, onDirty) {
    super(settings, onDirty);
    this.parts.falls = el("div", {class: "falls"});
    this.build({
      kind: "trace-panel",
      words: "Traces",
      plotWords: "Traces. Left and Right move the cursor, with Shift the picture; plus and minus zoom, 0 shows all.",
      tools: [this.#buildTools()],
      body: (plot, legend) => [plot, this.parts.falls, legend],
    });
  }

  begin() {
    super.begin({}, {onSelect: (x, y) => this.select(x, y), onSize: () => this.#askAgain()});
  }

  add(view) {
    super.add(view);
    this.#askAgain();
  }

  remove(view) {
    super.remove(view);
    view.waterfall?.element.remove();
  }

  /** x of all its traces. */
  get full() {
    return this.views.reduce((range, view) => (view.frame ? union(range, fullRange(view.frame)) : range), null);
  }

  /** x that is shown. */
  get shown() {
    return this.#zoom ?? this.full ?? {from: 0, to: 1};
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
    this.range.reset();
    this.#zoomTo(null);
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
    const {isPaused} = this.settings;
    const isFresh = this.views.some((view) => view.isFresh) && !isPaused;
    if (!this.takeDirty() && !isFresh) return [];
    if (!isPaused) for (const view of this.views) view.goOn();
    const frames = this.views.filter((view) => view.frame);
    if (frames.length > 0) this.#drawFrames(frames);
    for (const view of frames) view.waterfall?.draw(this.shown, isPaused);
    this.tellSometimes();
    return isPaused ? [] : frames.filter((view) => view.isFresh).map((view) => view.drawn());
  }

  tell() {
    super.tell();
    this.#tellScale();
  }

  toggleWaterfall(view, streams) {
    if (view.waterfall) {
      view.waterfall.close();
      view.waterfall = null;
    } else {
      view.waterfall = new WaterfallView(view, streams, () => this.dirty());
      this.parts.falls.append(view.waterfall.element);
    }
    view.setWaterfallPressed(view.waterfall !== null);
    this.dirty();
  }

  /** Takes a waterfall over from the panel where its trace was before its unit changed. */
  adopt(waterfall) {
    this.parts.falls.append(waterfall.element);
  }

  /** Switches between decibels and linear numbers, back to what was measured at the second time. */
  toggleScale() {
    const isNative = this.views.every((view) => view.scale === "as_is");
    for (const view of this.views) view.setScale(isNative ? (this.settings.scaleTo(view.name) ?? "as_is") : "as_is");
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
    this.range.reset();
    this.#askAgain();
    this.#tellZoom();
    this.dirty();
  }

  // The server thins to what is shown, so that zooming in brings the points.
  #askAgain() {
    if (!this.plot) return;
    const view = {columns: this.plot.columns, from: this.#zoom?.from ?? null, to: this.#zoom?.to ?? null};
    for (const one of this.views) one.ask(view);
    this.dirty();
  }

  #drawFrames(views) {
    const {plot} = this;
    const {xUnit, yUnit} = views[0].frame;
    plot.setUnits(xUnit, yUnit, this.#isOverPoints ? "Point" : "Axis without unit");
    plot.setRanges(this.shown, this.#fixed ?? this.#follow(views));
    plot.clear();
    const box = plot.box();
    for (const view of views) view.draw(plot.context, box, plot.ratio, this.settings.hold, this.settings.peak);
  }

  #follow(views) {
    let [low, high] = [Infinity, -Infinity];
    for (const values of views.flatMap((view) => view.lists)) {
      const range = finiteRange(values);
      if (range) [low, high] = [Math.min(low, range.low), Math.max(high, range.high)];
    }
    return low <= high ? this.range.follow(low, high, performance.now()) : kNoValues;
  }

  // The server says which units have another form.
  #tellScale() {
    const isNative = this.views.every((view) => view.scale === "as_is");
    const other = this.views.map((view) => this.settings.scaleTo(view.name)).find((one) => one) ?? null;
    setShown(this.parts.scale, other !== null || !isNative);
    const isLinearNext = isNative ? other === "linear" : other === "db";
    setText(this.parts.scale, isLinearNext ? "Show linear" : "Show in dB");
  }

  #tellZoom() {
    const {shown} = this;
    const text = this.#zoom
      ? `Zoomed: ${this.xText(shown.from)} to ${this.xText(shown.to)}`
      : this.#fixed
        ? "Zoomed in height"
        : "";
    setText(this.parts.zoom, text);
    this.parts.all.disabled = !this.isZoomed;
  }

  #buildTools() {
    const {parts} = this;
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
}
