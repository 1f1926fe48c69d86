// SPDX-License-Identifier: Apache-2.0
import {Arrivals} from "./arrivals.js";
import {colourOf, drawMark, paintKey} from "./marks.js";
import {el, setText} from "./dom.js";
import {numberText, withUnit} from "./units.js";
import {pixelOfX, pixelOfY} from "./columns.js";
import {Trail} from "./trail.js";

// So many columns without a value are a gap; fewer are the time between two samples.
const kGap = 60;

/** One scalar with its error band, or one number: large digits, and what it was for the last ten minutes. */
export class ValueView {
  panel = null;
  sample = null;
  trail = new Trail();
  #fresh = false;
  #shown = null; // the sample whose digits are shown: not the newest in a pause
  #arrivals = new Arrivals();
  #ended = "";
  #parts = {};

  /** `actions`: onFrame(view), onRemove(view), onCsv(view). */
  constructor(name, slot, streams, actions) {
    this.name = name;
    this.slot = slot;
    this.actions = actions;
    this.element = this.#build();
    this.stream = streams.open(
      name,
      {columns: 0, from: null, to: null, scale: "as_is"},
      {
        onSample: (sample) => this.#took(sample),
        onEnd: (reason) => this.#end(reason),
      },
    );
  }

  get isFresh() {
    return this.#fresh;
  }

  get unit() {
    return this.sample?.unit ?? "";
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
    this.#fresh = false;
    this.#shown = this.sample;
    this.stream.ready();
  }

  tell(cursor) {
    setText(this.#parts.digits, this.#shown ? this.#digits(this.#shown) : "–");
    setText(this.#parts.band, this.#bandText());
    setText(this.#parts.arrivals, this.#ended || this.#arrivals.text());
    const at = cursor === null ? null : this.trail.at(cursor);
    setText(this.#parts.value, at === null ? "" : `at the cursor ${withUnit(at, this.unit)}`);
  }

  paintKey() {
    paintKey(this.#parts.key, this.slot);
  }

  close() {
    this.stream.close();
    this.element.remove();
  }

  #took(sample) {
    if (this.sample && this.unit !== (sample.unit ?? "")) this.trail.clear();
    this.sample = sample;
    this.#fresh = true;
    this.#ended = "";
    this.#arrivals.took(sample.time, sample.skipped);
    const value = sample.value ?? NaN;
    this.trail.add(sample.time > 0 ? sample.time : Date.now() / 1000, value, sample.minus ?? 0, sample.plus ?? 0);
    this.actions.onFrame(this);
  }

  #end(reason) {
    this.#ended = reason;
    this.actions.onFrame(this);
  }

  #digits({value, not_finite: notFinite, type, unit}) {
    if (notFinite) return `${numberText({inf: Infinity, "-inf": -Infinity}[notFinite] ?? NaN)} ${unit ?? ""}`;
    return type === "long" ? numberText(value, 10) : withUnit(value, unit ?? "", 6);
  }

  #bandText() {
    const {minus, plus} = this.#shown ?? {};
    if (!Number.isFinite(minus) || !Number.isFinite(plus) || (minus === 0 && plus === 0)) return "";
    const signed = (value) => `${value > 0 ? "+" : ""}${numberText(value, 3)}`;
    return `${signed(minus)} / ${signed(plus)} ${this.unit}`;
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

  #build() {
    const button = (text, label, call) =>
      el("button", {type: "button", class: "quiet", "aria-label": label, title: label, on: {click: call}}, text);
    const parts = this.#parts;
    parts.key = el("canvas", {class: "key", "aria-hidden": "true"});
    parts.digits = el("span", {class: "digits"}, "–");
    parts.band = el("span", {class: "band"});
    parts.value = el("span", {class: "legend-value"});
    parts.arrivals = el("span", {class: "legend-arrivals"});
    const name = el("span", {class: "legend-name"}, this.name);
    parts.what = el("span", {class: "legend-what"}, this.actions.describe(this.name));
    const csv = button("CSV", `Save the data of ${this.name} as CSV`, () => this.actions.onCsv(this));
    const remove = button("×", `Take ${this.name} out of the picture`, () => this.actions.onRemove(this));
    return el(
      "li",
      {class: "legend-line value-line", data: {name: this.name}},
      parts.key,
      name,
      parts.what,
      parts.digits,
      parts.band,
      parts.value,
      parts.arrivals,
      el("span", {class: "legend-buttons controls"}, csv, remove),
    );
  }
}
