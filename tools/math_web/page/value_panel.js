// SPDX-License-Identifier: Apache-2.0
import {el, setText} from "./dom.js";
import {Plot} from "./plot.js";
import {FollowingRange} from "./ranges.js";
import {axisLabel} from "./units.js";
import {kTrail_s} from "./trail.js";

const kTell_ms = 200;
const kShortest_s = 60;

/** Scalars and numbers of one unit: large digits, and their values over time with the band of their errors. */
export class ValuePanel {
  views = [];
  #settings;
  #onDirty;
  #range = new FollowingRange();
  #cursor = null;
  #told = 0;
  #isDirty = true;
  #began = Date.now() / 1000;
  #parts = {};

  constructor(settings, onDirty) {
    this.#settings = settings;
    this.#onDirty = onDirty;
    this.element = this.#build();
  }

  begin() {
    this.plot = new Plot(
      this.#parts.plot,
      {time: true},
      {
        onSelect: () => {},
        onCursor: (time) => this.#setCursor(time),
        onSize: () => this.dirty(),
      },
    );
  }

  add(view) {
    this.views = [...this.views, view].sort((a, b) => a.slot - b.slot);
    view.panel = this;
    view.paintKey();
    this.#parts.legend.replaceChildren(...this.views.map((one) => one.element));
    this.dirty();
  }

  remove(view) {
    this.views = this.views.filter((other) => other !== view);
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

  draw() {
    const fresh = this.#settings.isPaused ? [] : this.views.filter((view) => view.isFresh);
    if (!this.#isDirty && fresh.length === 0) return [];
    this.#isDirty = false;
    if (!this.#settings.isPaused || !this.plot.box().to) this.#place();
    this.plot.clear();
    for (const view of this.views) view.draw(this.plot.context, this.plot.box(), this.plot.ratio);
    this.#tell(false);
    for (const view of fresh) view.drawn();
    return [];
  }

  tell() {
    this.#tell(true);
  }

  /** There is nothing to zoom here. */
  zoomOut() {}

  get title() {
    const sampled = this.views.find((view) => view.sample);
    if (!sampled) return "Waiting for a first sample";
    return axisLabel(sampled.unit, sampled.sample.type === "long" ? "Number" : "Number without unit");
  }

  #place() {
    const to = Math.ceil(Date.now() / 1000);
    const from = to - Math.min(kTrail_s, Math.max(kShortest_s, Math.ceil((to - this.#began) / 30) * 30));
    const ranges = this.views.map((view) => view.trail.range(from)).filter((range) => range);
    const low = Math.min(...ranges.map((range) => range.low));
    const high = Math.max(...ranges.map((range) => range.high));
    const y = ranges.length > 0 ? this.#range.follow(low, high, performance.now()) : {min: 0, max: 1};
    this.plot.setUnits("", this.views.find((view) => view.sample)?.unit ?? "");
    this.plot.setRanges({from, to}, y);
  }

  #setCursor(time) {
    this.#cursor = time;
    setText(this.#parts.cursor, time === null ? "" : `Cursor at ${new Date(1000 * time).toLocaleTimeString()}`);
    this.#tell(true);
  }

  #tell(isUrgent) {
    const now = performance.now();
    if (!isUrgent && now - this.#told < kTell_ms) return;
    this.#told = now;
    for (const view of this.views) view.tell(this.#cursor);
    setText(this.#parts.title, this.title);
  }

  #build() {
    const parts = this.#parts;
    parts.title = el("h2", {}, "Waiting for a first sample");
    parts.legend = el("ul", {class: "legend values"});
    parts.plot = el("div", {
      class: "plot small",
      role: "img",
      "aria-label": "Values over time, with the band of their errors",
    });
    parts.cursor = el("span", {class: "cursor-text", role: "status"});
    return el(
      "section",
      {class: "panel value-panel", "aria-label": "Values"},
      el("div", {class: "panel-head"}, parts.title, parts.cursor),
      parts.legend,
      parts.plot,
    );
  }
}
