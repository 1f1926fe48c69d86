// SPDX-License-Identifier: Apache-2.0
import {pixelOfX, pixelOfY} from "./columns.js";
import {el, setText} from "./dom.js";
import {colourOf, drawMark} from "./marks.js";
import {Trail} from "./trail.js";
import {numberText, withUnit} from "./units.js";
import {View} from "./view.js";

// So many columns without a value are a gap; fewer are the time between two samples.
const kGap = 60;

/** One scalar with its error band, or one number: large digits, and what it was for the last ten minutes. */
export class ValueView extends View {
  trail = new Trail();
  #shown = null; // the sample whose digits are shown: not the newest in a pause

  constructor(name, slot, streams, actions) {
    super(name, slot, actions);
    const {parts} = this;
    parts.digits = el("span", {class: "digits"}, "–");
    parts.band = el("span", {class: "band"});
    parts.value = el("span", {class: "legend-value"});
    this.buildLine("value-line", [parts.digits, parts.band, parts.value], []);
    this.subscribe(streams, {columns: 0, from: null, to: null, scale: "as_is"});
  }

  get unit() {
    return this.sample?.unit ?? "";
  }

  /** Values with one key are shown in one panel. */
  get panelKey() {
    return `value ${this.unit}`;
  }

  /** Draws value over time and its band into a box whose x is in seconds since the epoch. */
  draw(context, box, ratio) {
    const columns = this.trail.columns(box.from, box.to, Math.max(1, Math.round(box.width / ratio)));
    const colour = colourOf(this.slot);
    context.fillStyle = context.strokeStyle = colour;
    context.globalAlpha = 0.28;
    this.#drawBand(context, box, columns);
    context.globalAlpha = 1;
    context.lineWidth = 1.5 * ratio;
    this.#drawLine(context, box, columns);
    context.lineWidth = 2 * ratio;
    const last = this.trail.last;
    if (last) drawMark(context, this.slot, pixelOfX(box, last.time), pixelOfY(box, last.value), 4 * ratio);
  }

  drawn() {
    this.isFresh = false;
    this.#shown = this.sample;
    this.stream.ready();
  }

  /** Writes the line of the legend. */
  tell(cursor) {
    setText(this.parts.digits, this.#shown ? this.#digits(this.#shown) : "–");
    setText(this.parts.band, this.#bandText());
    const at = this.valueText(cursor);
    setText(this.parts.value, at === "" ? "" : `at the cursor ${at}`);
    this.tellLine();
  }

  /** The value at the cursor with its unit; empty without one. */
  valueText(cursor) {
    const at = cursor === null ? null : this.trail.at(cursor);
    return at === null ? "" : this.#text(at);
  }

  /** Takes what has come. */
  keep(sample) {
    if (this.sample && this.unit !== (sample.unit ?? "")) this.trail.clear();
    this.sample = sample;
    const value = sample.value ?? NaN;
    this.trail.add(sample.time > 0 ? sample.time : Date.now() / 1000, value, sample.minus ?? 0, sample.plus ?? 0);
  }

  #text(value, digits) {
    const {divisor, unit} = this.sample?.type === "long" ? {divisor: 1, unit: ""} : this.scaleOfAxis;
    return withUnit(value / divisor, unit, digits);
  }

  #digits({value, not_finite: notFinite, type}) {
    if (notFinite) return this.#text({inf: Infinity, "-inf": -Infinity}[notFinite] ?? NaN);
    return type === "long" ? numberText(value, 10) : this.#text(value, 6);
  }

  #bandText() {
    const {minus, plus} = this.#shown ?? {};
    if (!Number.isFinite(minus) || !Number.isFinite(plus) || (minus === 0 && plus === 0)) return "";
    const {divisor, unit} = this.scaleOfAxis;
    const signed = (value) => `${value > 0 ? "+" : ""}${numberText(value / divisor, 3)}`;
    return `${signed(minus)} / ${signed(plus)} ${unit}`.trimEnd();
  }

  #drawBand(context, box, {values, low, high, x}) {
    for (let i = 0; i < values.length; ++i) {
      if (values[i] !== values[i]) continue;
      const [left, right] = [pixelOfX(box, x(i)), pixelOfX(box, x(this.#next(values, i)))];
      const [top, bottom] = [pixelOfY(box, high[i]), pixelOfY(box, low[i])];
      if (bottom > top) context.fillRect(left, top, Math.max(1, right - left), bottom - top);
    }
  }

  #next(values, i) {
    let next = i + 1;
    while (next < values.length && values[next] !== values[next] && next < i + kGap) ++next;
    return next < i + kGap && next < values.length ? next : i + 1;
  }

  #drawLine(context, box, {values, x}) {
    context.beginPath();
    let last = -Infinity;
    for (let i = 0; i < values.length; ++i) {
      if (values[i] !== values[i]) continue;
      const [left, y] = [pixelOfX(box, x(i)), pixelOfY(box, values[i])];
      if (i - last >= kGap) context.moveTo(left, y);
      else context.lineTo(left, y);
      last = i;
    }
    context.stroke();
  }
}
