// SPDX-License-Identifier: Apache-2.0
import {kColourMap, kColours, paint} from "./colourmap.js";
import {el, setText} from "./dom.js";
import {kGutter, kRight} from "./plot.js";
import {finiteRange} from "./protocol.js";
import {FollowingRange} from "./ranges.js";
import {axisScale, durationText, tickText} from "./units.js";
import {columnsOfPixels, History, kHistoryColumns, kSpan_s, pixelValues} from "./waterfall.js";

const kMostPixels = 2048;
const kTimeLabels = 6;
const kSpans_s = [60, 300, kSpan_s];

/** The waterfall of one trace under its picture: the newest line on top, ten minutes back, colours from the least to
 *  the greatest value, which the bar names. Has a subscription of its own, over the whole trace, so that what was is
 *  there when one zooms out. */
export class WaterfallView {
  #history = new History();
  #range = new FollowingRange();
  #stream;
  #view = null;
  #shownRange = null;
  #span_s = kSpans_s[0];
  #clock_s = 0; // when the newest sample came
  #lastRow = -1;
  #places = null;
  #row = new Float32Array(0);
  #pixels = new Float32Array(0);
  #image = null;
  #canvas = el("canvas", {class: "fall", role: "img"});
  #labels = el("div", {class: "fall-times", "aria-hidden": "true"});
  #low = el("span");
  #high = el("span");
  #bar = el("canvas", {class: "fall-bar", width: kColours, height: 1});
  #fresh = null;

  constructor(view, streams, onDirty) {
    this.name = view.name;
    this.element = this.#build();
    const onSample = (frame) => {
      this.#fresh = frame;
      onDirty();
    };
    const whole = {columns: kHistoryColumns, from: null, to: null, scale: view.scale};
    this.#stream = streams.open(view.name, whole, {onSample, onEnd: () => {}});
  }

  setScale(scale) {
    this.#stream.change({scale});
  }

  close() {
    this.#stream.close();
    this.element.remove();
  }

  /** Draws what is new under a picture over `view`; with `isPaused` nothing moves. */
  draw(view, isPaused) {
    if (!this.#fresh || isPaused) {
      if (this.#history.range && !sameView(this.#view, view)) this.#drawAll(view);
      return;
    }
    this.#clock_s = performance.now() / 1000;
    this.#history.add(this.#fresh, this.#clock_s);
    this.#followRange();
    this.#fresh = null;
    this.#drawNew(view);
    this.#stream.ready();
  }

  /** What it shows, its colour bar with the values at its ends, its times of the past with the share of the height
   *  where each stands, and the waterfall itself: for the picture that is saved. */
  get picture() {
    const times = [...this.#labels.children].map((one) => ({text: one.textContent, share: Number(one.dataset.share)}));
    const words = `${this.name}, ${durationText(this.#span_s)} back`;
    return {
      words,
      low: this.#low.textContent,
      bar: this.#bar,
      high: this.#high.textContent,
      times,
      canvas: this.#canvas,
      gutter: kGutter,
    };
  }

  #build() {
    const change = () => this.#setSpan(Number(span.value));
    const span = el(
      "select",
      {"aria-label": `Time that the waterfall of ${this.name} shows`, on: {change}},
      ...kSpans_s.map((s) => el("option", {value: s, selected: s === kSpans_s[0]}, durationText(s))),
    );
    const bar = this.#bar.getContext("2d");
    const pixels = bar.createImageData(kColours, 1);
    for (let i = 0; i < kColours; ++i) pixels.data.set([...kColourMap.subarray(3 * i, 3 * i + 3), 255], 4 * i);
    bar.putImageData(pixels, 0, 0);
    const head = el(
      "div",
      {class: "fall-head"},
      el("span", {class: "fall-name"}, `Waterfall of ${this.name}`),
      span,
      el("span", {class: "fall-scale"}, this.#low, this.#bar, this.#high),
    );
    this.#labels.append(
      ...Array.from({length: kTimeLabels}, (_, i) => el("span", {data: {share: i / (kTimeLabels - 1)}})),
    );
    this.#canvas.setAttribute("aria-label", `Waterfall of ${this.name}: its values over time, the newest on top`);
    this.#labelTimes();
    return el("div", {class: "fall-frame"}, head, el("div", {class: "fall-body"}, this.#labels, this.#canvas));
  }

  #setSpan(span_s) {
    this.#span_s = span_s;
    this.#labelTimes();
    if (this.#view) this.#drawAll(this.#view);
  }

  #labelTimes() {
    [...this.#labels.children].forEach((label, i) => {
      const seconds = (this.#span_s * i) / (kTimeLabels - 1);
      setText(label, i === 0 ? "now" : this.#span_s > 60 ? `−${seconds / 60} min` : `−${seconds} s`);
    });
  }

  #followRange() {
    const found = finiteRange(this.#fresh.values);
    if (!found) return;
    const unit = this.#history.unit;
    const shown = this.#shownRange;
    if (shown && shown.unit !== unit) this.#range.reset();
    const {min, max} = this.#range.follow(found.low, found.high, performance.now());
    if (shown && shown.min === min && shown.max === max && shown.unit === unit) return;
    this.#shownRange = {min, max, unit};
    const scale = axisScale(unit, Math.max(Math.abs(min), Math.abs(max)));
    const words = (value) => `${tickText(value / scale.divisor, (max - min) / scale.divisor / 10)} ${scale.unit}`;
    setText(this.#low, words(min));
    setText(this.#high, words(max));
    this.#view = null; // all in other colours
  }

  #drawNew(view) {
    const row_s = this.#span_s / this.#canvas.height;
    const row = Math.floor(this.#clock_s / row_s);
    const advanced = row - this.#lastRow;
    if (
      !sameView(this.#view, view) ||
      this.#canvas.width !== this.#widthWanted() ||
      advanced > this.#canvas.height / 2
    ) {
      this.#drawAll(view);
      return;
    }
    const context = this.#canvas.getContext("2d");
    if (advanced > 0) {
      context.globalCompositeOperation = "copy";
      context.drawImage(this.#canvas, 0, advanced);
      context.globalCompositeOperation = "source-over";
    }
    for (let i = 0; i <= advanced; ++i) this.#paintRow(context, row, i, row_s);
    this.#lastRow = row;
  }

  #drawAll(view) {
    this.#view = {...view};
    this.#fit(view);
    const row_s = this.#span_s / this.#canvas.height;
    this.#lastRow = Math.floor(this.#clock_s / row_s);
    const context = this.#canvas.getContext("2d");
    for (let i = 0; i < this.#canvas.height; ++i) this.#paintRow(context, this.#lastRow, i, row_s);
  }

  #paintRow(context, newest, i, row_s) {
    const {min, max} = this.#shownRange ?? {min: 0, max: 1};
    this.#history.greatest((newest - i) * row_s, (newest - i + 1) * row_s, this.#row);
    pixelValues(this.#row, this.#places, this.#pixels);
    paint(this.#pixels, min, max, new Uint32Array(this.#image.data.buffer));
    context.putImageData(this.#image, 0, i);
  }

  #widthWanted() {
    const ratio = window.devicePixelRatio || 1;
    const width = this.element.clientWidth - kGutter - kRight;
    return Math.max(16, Math.min(kMostPixels, Math.round(width * ratio)));
  }

  #fit(view) {
    const width = this.#widthWanted();
    if (this.#canvas.width !== width || this.#image === null) {
      this.#canvas.width = width;
      this.#canvas.height = Math.round(this.#canvas.clientHeight * (window.devicePixelRatio || 1)) || 240;
      this.#image = this.#canvas.getContext("2d").createImageData(width, 1);
      this.#pixels = new Float32Array(width);
    }
    this.#row = new Float32Array(this.#history.columns);
    this.#places = columnsOfPixels(this.#history.range, this.#history.columns, view, width);
  }
}

const sameView = (a, b) => a !== null && a.from === b.from && a.to === b.to;
