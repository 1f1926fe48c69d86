// SPDX-License-Identifier: Apache-2.0
import {Panel} from "./panel.js";
import {kTrail_s} from "./trail.js";

const kShortest_s = 60;

/** Scalars and numbers of one unit: large digits, and their values over time with the band of their errors. */
export class ValuePanel extends Panel {
  #began = Date.now() / 1000;

  constructor(settings, onDirty) {
    super(settings, onDirty);
    this.build({
      kind: "value-panel",
      words: "Values",
      plotWords: "Values over time, with the band of their errors. Left and Right move the cursor.",
      tools: [],
      body: (plot, legend) => [legend, plot],
    });
    this.parts.plot.classList.add("small");
    this.parts.legend.classList.add("values");
  }

  begin() {
    super.begin({time: true}, {onSelect: () => {}, onSize: () => this.dirty()});
  }

  get withoutUnit() {
    return this.views.find((view) => view.sample).sample.type === "long" ? "Number" : "Number without unit";
  }

  /** The time that is shown. */
  get shown() {
    const {from, to} = this.plot.box();
    return {from, to};
  }

  /** There is nothing to zoom or to move here: the newest is always at the right. */
  isZoomed = false;
  zoomBy() {}
  panBy() {}
  zoomOut() {}

  xText(time) {
    return new Date(1000 * time).toLocaleTimeString();
  }

  draw() {
    const {isPaused} = this.settings;
    const fresh = isPaused ? [] : this.views.filter((view) => view.isFresh);
    if (!this.takeDirty() && fresh.length === 0) return [];
    if (!isPaused || !this.plot.box().to) this.#place();
    this.plot.clear();
    for (const view of this.views) view.draw(this.plot.context, this.plot.box(), this.plot.ratio);
    for (const view of fresh) view.drawn();
    this.tellSometimes();
    return [];
  }

  #place() {
    const to = Math.ceil(Date.now() / 1000);
    const from = to - Math.min(kTrail_s, Math.max(kShortest_s, Math.ceil((to - this.#began) / 30) * 30));
    const ranges = this.views.map((view) => view.trail.range(from)).filter((range) => range);
    const low = Math.min(...ranges.map((range) => range.low));
    const high = Math.max(...ranges.map((range) => range.high));
    const y = ranges.length > 0 ? this.range.follow(low, high, performance.now()) : {min: 0, max: 1};
    this.plot.setUnits("", this.views.find((view) => view.sample)?.unit ?? "");
    this.plot.setRanges({from, to}, y);
  }
}
