// SPDX-License-Identifier: Apache-2.0
import {drawFrame, envelope, pixelOfX, pixelOfY, valueAt} from "./columns.js";
import {button, el, setShown, setText} from "./dom.js";
import {colourOf, drawMark} from "./marks.js";
import {indexAt, peakOf} from "./protocol.js";
import {numberText, withUnit} from "./units.js";
import {View} from "./view.js";

const kMarksAcross = 6;

/** One trace: what came last, what is held, its curve in a panel and its line in the panel's legend. */
export class TraceView extends View {
  scale = "as_is";
  waterfall = null;
  #held = null;
  #coming = null; // what came while the picture stands still
  #isAsked = false; // whether another view of it was asked for meanwhile

  constructor(name, slot, streams, columns, actions) {
    super(name, slot, actions);
    const {parts} = this;
    parts.value = el("span", {class: "legend-value"});
    parts.peak = el("span", {class: "legend-peak"});
    parts.waterfall = button("Waterfall", `Waterfall of ${name}`, () => actions.onWaterfall(this), "quiet");
    this.setWaterfallPressed(false);
    this.buildLine("", [parts.value, parts.peak], [parts.waterfall]);
    this.subscribe(streams, {columns, from: null, to: null, scale: this.scale});
  }

  get frame() {
    return this.sample;
  }

  get unit() {
    return this.frame ? this.frame.yUnit : "";
  }

  /** Traces with one key are shown in one panel. */
  get panelKey() {
    return `trace ${this.frame.yUnit} over ${this.frame.xUnit}`;
  }

  setScale(scale) {
    this.scale = scale;
    this.#held = null;
    this.ask({scale});
    this.waterfall?.setScale(scale);
  }

  /** Asks for another view: columns, from, to, scale. */
  ask(view) {
    this.#isAsked = this.stream.change(view) || this.#isAsked;
  }

  /** The picture moves again: what came meanwhile is what there is. */
  goOn() {
    this.sample = this.#coming ?? this.sample;
    this.#coming = null;
    this.#isAsked = false;
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
    if (hold === "extremes" && this.isFresh) this.#held = envelope(this.#held, this.frame);
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
    this.isFresh = false;
    this.stream.ready();
    return this.arrivals.isTimed ? this.frame.time : NaN;
  }

  /** Values that the vertical axis has to show. */
  get lists() {
    return [this.frame, this.#held].filter((one) => one).map((one) => one.values);
  }

  /** Writes the line of the legend. */
  tell(cursor, asPeak) {
    const peak = asPeak && this.frame && peakOf(this.frame);
    setText(this.parts.value, this.valueText(cursor));
    setText(this.parts.peak, peak ? `▼ ${this.#text(peak.y)} at ${this.panel.xText(peak.x)}` : "");
    setShown(this.parts.peak, Boolean(peak));
    this.tellLine();
  }

  /** The value at the cursor with its unit; empty without one. */
  valueText(cursor) {
    if (cursor === null || !this.frame) return "";
    const value = valueAt(this.frame, indexAt(this.frame, cursor));
    if (!value) return "no value here";
    if (value.low === value.high) return this.#text(value.low);
    return `${numberText(value.low / this.scaleOfAxis.divisor)} to ${this.#text(value.high)}`;
  }

  close() {
    this.waterfall?.close();
    this.waterfall = null;
    super.close();
  }

  /** Whether the button of the waterfall is shown as pressed. */
  setWaterfallPressed(pressed) {
    this.parts.waterfall.setAttribute("aria-pressed", String(pressed));
  }

  /** Takes what has come. In a pause, picture and values of the cursor stay those of one sample, until another part or
   *  form of it is asked for. */
  keep(frame) {
    const isStill = this.sample !== null && this.panel?.settings.isPaused;
    this.#coming = isStill && !this.#isAsked ? frame : null;
    if (this.#coming) return;
    this.sample = frame;
    if (isStill) this.panel.dirty();
  }

  #text(value) {
    const {divisor, unit} = this.scaleOfAxis;
    return withUnit(value / divisor, unit);
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
