// SPDX-License-Identifier: Apache-2.0
import {Arrivals} from "./arrivals.js";
import {drawFrame, envelope, pixelOfX, pixelOfY, valueAt} from "./columns.js";
import {colourOf, drawMark, paintKey} from "./marks.js";
import {el, setShown, setText} from "./dom.js";
import {indexAt, peakOf} from "./protocol.js";
import {numberText, withUnit} from "./units.js";

const kMarksAcross = 6;

/** One trace: what came last, what is held, its curve in a panel and its line in the panel's legend. */
export class TraceView {
  frame = null;
  scale = "as_is";
  panel = null;
  waterfall = null;
  #streams;
  #fresh = false;
  #held = null;
  #arrivals = new Arrivals();
  #parts = {};
  #ended = "";

  /** `actions`: onFrame(view), onRemove(view), onCsv(view), onWaterfall(view). */
  constructor(name, slot, streams, columns, actions) {
    this.name = name;
    this.slot = slot;
    this.#streams = streams;
    this.actions = actions;
    this.element = this.#build();
    this.stream = streams.open(
      name,
      {columns, from: null, to: null, scale: this.scale},
      {
        onSample: (frame) => this.#took(frame),
        onEnd: (reason) => this.#end(reason),
      },
    );
  }

  get streams() {
    return this.#streams;
  }

  /** Whether a frame waits to be drawn. */
  get isFresh() {
    return this.#fresh;
  }

  get unit() {
    return this.frame ? this.frame.yUnit : "";
  }

  setScale(scale) {
    this.scale = scale;
    this.#held = null;
    this.stream.change({scale});
    this.waterfall?.setScale(scale);
  }

  /** Forgets what is held; the present curve is held from now on. */
  beginHold() {
    this.#held = this.frame && envelope(null, this.frame);
  }

  endHold() {
    this.#held = null;
  }

  /** Draws held and present curve into a box. `hold`: none, present or extremes. */
  draw(context, box, ratio, hold, asPeak) {
    if (!this.frame) return;
    if (hold === "extremes" && this.#fresh) this.#held = envelope(this.#held, this.frame);
    const colour = colourOf(this.slot);
    if (this.#held && hold !== "none") {
      context.globalAlpha = 0.38;
      drawFrame(context, this.#held, box, colour, ratio);
      context.globalAlpha = 1;
    }
    drawFrame(context, this.frame, box, colour, 1.25 * ratio);
    this.#drawMarks(context, box, ratio);
    if (asPeak) this.#drawPeak(context, box, ratio);
  }

  /** The frame is on the screen: the next may come. Gives its time of capture, NaN where it tells none of its own. */
  drawn() {
    this.#fresh = false;
    this.stream.ready();
    return this.#arrivals.isTimed ? this.frame.time : NaN;
  }

  /** Values that the vertical axis has to show. */
  get lists() {
    return [this.frame, this.#held].filter((one) => one).map((one) => one.values);
  }

  /** Writes the line of the legend. */
  tell(cursor, asPeak) {
    setText(this.#parts.value, cursor === null || !this.frame ? "" : this.#valueText(cursor));
    const peak = asPeak && this.frame && peakOf(this.frame);
    setText(this.#parts.peak, peak ? `▲ ${withUnit(peak.y, this.unit)} at ${this.panel.xText(peak.x)}` : "");
    setText(this.#parts.arrivals, this.#ended || this.#arrivals.text());
    setShown(this.#parts.peak, Boolean(peak));
  }

  /** Its mark in the present theme. */
  paintKey() {
    paintKey(this.#parts.key, this.slot);
  }

  close() {
    this.waterfall?.close();
    this.waterfall = null;
    this.stream.close();
    this.element.remove();
  }

  #took(frame) {
    this.frame = frame;
    this.#fresh = true;
    this.#ended = "";
    this.#arrivals.took(frame.time, frame.skipped);
    this.actions.onFrame(this);
  }

  #end(reason) {
    this.#ended = reason;
    this.actions.onFrame(this);
  }

  #build() {
    const button = (text, label, call) =>
      el("button", {type: "button", class: "quiet", "aria-label": label, title: label, on: {click: call}}, text);
    const waterfall = button("Waterfall", `Waterfall of ${this.name}`, () => this.actions.onWaterfall(this));
    waterfall.setAttribute("aria-pressed", "false");
    this.#parts = {
      key: el("canvas", {class: "key", "aria-hidden": "true"}),
      value: el("span", {class: "legend-value"}),
      peak: el("span", {class: "legend-peak"}),
      arrivals: el("span", {class: "legend-arrivals"}),
      waterfall,
    };
    const parts = this.#parts;
    const name = el("span", {class: "legend-name"}, this.name);
    parts.what = el("span", {class: "legend-what"}, this.actions.describe(this.name));
    const csv = button("CSV", `Save the data of ${this.name} as CSV`, () => this.actions.onCsv(this));
    const remove = button("×", `Take ${this.name} out of the picture`, () => this.actions.onRemove(this));
    return el(
      "li",
      {class: "legend-line", data: {name: this.name}},
      parts.key,
      name,
      parts.what,
      parts.value,
      parts.peak,
      parts.arrivals,
      el("span", {class: "legend-buttons controls"}, waterfall, csv, remove),
    );
  }

  /** Whether the button of the waterfall is shown as pressed. */
  setWaterfallPressed(pressed) {
    this.#parts.waterfall.setAttribute("aria-pressed", String(pressed));
  }

  #valueText(x) {
    const value = valueAt(this.frame, indexAt(this.frame, x));
    if (!value) return "no value here";
    if (value.low === value.high) return withUnit(value.low, this.unit);
    return `${numberText(value.low)} to ${withUnit(value.high, this.unit)}`;
  }

  // Marks stand on the curve, those of each trace at other places.
  #drawMarks(context, box, ratio) {
    context.lineWidth = 2 * ratio;
    for (let i = 0; i < kMarksAcross; ++i) {
      const share = (i + ((this.slot * 0.31 + 0.35) % 1)) / kMarksAcross;
      const x = box.from + share * (box.to - box.from);
      const value = valueAt(this.frame, indexAt(this.frame, x));
      if (value) drawMark(context, this.slot, pixelOfX(box, x), pixelOfY(box, (value.low + value.high) / 2), 4 * ratio);
    }
  }

  #drawPeak(context, box, ratio) {
    const peak = peakOf(this.frame);
    if (!peak) return;
    const [x, y] = [pixelOfX(box, peak.x), pixelOfY(box, peak.y)];
    context.beginPath();
    context.moveTo(x, y - 2 * ratio);
    context.lineTo(x - 5 * ratio, y - 11 * ratio);
    context.lineTo(x + 5 * ratio, y - 11 * ratio);
    context.closePath();
    context.fill();
  }
}
