// SPDX-License-Identifier: Apache-2.0
import uPlot from "/vendor/uPlot.esm.js";
import {el} from "./dom.js";
import {colour, onTheme} from "./theme.js";
import {axisLabel, axisScale, tickText} from "./units.js";

const kFont = "12px system-ui, sans-serif";
const kLeft = 54;
const kLabel = 20;
const kLeastDrag = 8;
const clockText = (time) => new Date(1000 * time).toLocaleTimeString([], {hour12: false});

/** Room to the left of a picture, where its vertical axis stands, in CSS pixels. */
export const kGutter = kLeft + kLabel;
/** Room to its right. */
export const kRight = 26;
const kRightOfTime = 32; // half of a time of day

/** Axes, grid, cursor and the choice of a range by dragging, with a layer above for curves. The axes are drawn when
 *  they change; curves, on the layer, with each sample. `hooks`: onSelect({from, to} or null, {min, max} or null),
 *  onCursor(x or null), onSize(). */
export class Plot {
  #u;
  #host;
  #hooks;
  #layer = el("canvas", {class: "layer"});
  #units = {x: "", y: ""};
  #otherwise = "Point";
  #quietTheme;
  #observer;

  constructor(host, {time = false}, hooks) {
    this.#host = host;
    this.#hooks = hooks;
    this.#u = new uPlot(
      this.#options(time),
      [
        [0, 1],
        [null, null],
      ],
      host,
    );
    this.#u.over.prepend(this.#layer);
    this.#quietTheme = onTheme(() => this.#u.redraw(false, true));
    this.#observer = new ResizeObserver(() => this.#resize());
    this.#observer.observe(host);
    this.#placeLayer();
  }

  destroy() {
    this.#observer.disconnect();
    this.#quietTheme();
    this.#u.destroy();
  }

  get context() {
    return this.#layer.getContext("2d");
  }

  get ratio() {
    return window.devicePixelRatio || 1;
  }

  /** Width of the drawn area in pixels of the screen: how many columns are of use. */
  get columns() {
    return Math.max(16, Math.min(8192, this.#layer.width));
  }

  /** Size of the whole picture in pixels of the screen. */
  get size() {
    const {width, height} = this.#u.ctx.canvas;
    return {width, height};
  }

  /** Units of both axes; labels and numbers follow. `otherwise` labels a horizontal axis without unit. */
  setUnits(x, y, otherwise = "Point") {
    if (this.#units.x === x && this.#units.y === y && this.#otherwise === otherwise) return;
    this.#units = {x, y};
    this.#otherwise = otherwise;
    this.#u.redraw(false, true);
  }

  /** Shows this range of x and of y. Draws the axes again only where one differs. */
  setRanges({from, to}, {min, max}) {
    const {x, y} = this.#u.scales;
    if (x.min === from && x.max === to && y.min === min && y.max === max) return;
    this.#u.batch(() => {
      this.#u.setScale("x", {min: from, max: to});
      this.#u.setScale("y", {min, max});
    });
  }

  /** The layer as curves are drawn onto: see columns.js. */
  box() {
    const {x, y} = this.#u.scales;
    const {width, height} = this.#layer;
    return {left: 0, top: 0, width, height, from: x.min, to: x.max, min: y.min, max: y.max};
  }

  /** How the vertical axis writes its numbers: divided by `divisor`, in `unit`. */
  get yScale() {
    return this.#scaleOf("y");
  }

  clear() {
    this.context.clearRect(0, 0, this.#layer.width, this.#layer.height);
  }

  /** Puts the cursor at x; null takes it away. */
  setCursor(x) {
    this.#u.setCursor(x === null ? {left: -10, top: -10} : {left: this.#u.valToPos(x, "x"), top: 0}, false);
  }

  /** Where a place of the window is between the left and the right edge: 0 to 1. */
  shareAt(clientX) {
    const {left, width} = this.#u.over.getBoundingClientRect();
    return (clientX - left) / width;
  }

  /** Draws the picture as it is at `x`, `y` of another canvas, in pixels of the screen; gives its height. */
  paintInto(context, x, y) {
    const {left, top} = this.#u.bbox;
    context.drawImage(this.#u.ctx.canvas, x, y);
    context.drawImage(this.#layer, x + left, y + top);
    return this.#u.ctx.canvas.height;
  }

  #options(time) {
    const size = this.#size();
    return {
      ...size,
      padding: [10, time ? kRightOfTime : kRight, 0, 0],
      legend: {show: false},
      cursor: {
        y: false,
        points: {show: false},
        drag: {x: true, y: true, uni: 30, dist: kLeastDrag, setScale: false},
        bind: {dblclick: () => null},
      },
      scales: {
        x: {time, auto: false, range: (_, min, max) => [min, max]},
        y: {auto: false, range: (_, min, max) => [min, max]},
      },
      series: [{}, {scale: "y", paths: () => null, points: {show: false}}],
      axes: [this.#axis("x", time), this.#axis("y", false)],
      hooks: {setSelect: [() => this.#selected()], setCursor: [() => this.#moved()]},
    };
  }

  #axis(name, time) {
    const axis = {
      scale: name,
      stroke: () => colour("--muted"),
      grid: {stroke: () => colour("--grid"), width: 1},
      ticks: {stroke: () => colour("--line"), width: 1, size: 5},
      font: kFont,
      labelFont: kFont,
      labelSize: kLabel,
      labelGap: 2,
      size: name === "y" ? kLeft : 32,
      space: name === "y" ? 34 : 70,
    };
    if (time && name === "x") return {...axis, values: (_, splits) => splits.map(clockText), label: "Time of day"};
    axis.label = () =>
      axisLabel(this.#units[name], name === "x" ? this.#otherwise : "Value", this.#scaleOf(name).unit);
    axis.values = (_, splits) => {
      const {divisor} = this.#scaleOf(name);
      const increment = splits.length > 1 ? (splits[1] - splits[0]) / divisor : 1;
      return splits.map((value) => tickText(value / divisor, increment));
    };
    return axis;
  }

  #scaleOf(name) {
    const {min, max} = this.#u?.scales[name] ?? {min: 0, max: 1};
    return axisScale(this.#units[name], Math.max(Math.abs(min ?? 0), Math.abs(max ?? 0)));
  }

  #size() {
    return {width: Math.max(160, this.#host.clientWidth), height: Math.max(120, this.#host.clientHeight)};
  }

  #resize() {
    const size = this.#size();
    if (size.width === this.#u.width && size.height === this.#u.height) return;
    this.#u.setSize(size);
    queueMicrotask(() => {
      this.#placeLayer();
      this.#hooks.onSize();
    });
  }

  #placeLayer() {
    const {width, height} = this.#u.bbox;
    this.#layer.width = width;
    this.#layer.height = height;
    this.#layer.style.width = `${width / this.ratio}px`;
    this.#layer.style.height = `${height / this.ratio}px`;
  }

  #selected() {
    const {left, top, width, height} = this.#u.select;
    if (width === 0 && height === 0) return;
    const u = this.#u;
    const isWhole = (part, all) => part === 0 || part >= all - 1;
    const x = isWhole(width, u.over.clientWidth)
      ? null
      : {from: u.posToVal(left, "x"), to: u.posToVal(left + width, "x")};
    const y = isWhole(height, u.over.clientHeight)
      ? null
      : {min: u.posToVal(top + height, "y"), max: u.posToVal(top, "y")};
    u.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
    if (x || y) this.#hooks.onSelect(x, y);
  }

  #moved() {
    const {left} = this.#u.cursor;
    this.#hooks.onCursor(left >= 0 ? this.#u.posToVal(left, "x") : null);
  }
}
