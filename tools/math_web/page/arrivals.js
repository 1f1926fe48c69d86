// SPDX-License-Identifier: Apache-2.0
import {durationText, rateText} from "./units.js";

/** How a stream does: how often samples come, those that were passed over counted in, and how old the last one is: by
 *  its time of capture, or from its arrival where that stands still, as that of an Average does, or is not told. */
export class Arrivals {
  #interval_s = NaN;
  #lastArrival_s = NaN;
  #capture_s = NaN;
  #since_s = NaN;
  #skipped = 0;
  #firstSkipped = NaN;
  /** Whether the last sample told a time of capture of its own. */
  isTimed = false;

  /** A sample that was captured at `capture_s` (NaN: not told), and `skipped` of its stream in all. */
  took(capture_s, skipped) {
    const now_s = performance.now() / 1000;
    const passed = 1 + Math.max(0, skipped - (Number.isNaN(this.#firstSkipped) ? skipped : this.#skipped));
    if (Number.isNaN(this.#firstSkipped)) this.#firstSkipped = skipped;
    const interval_s = (now_s - this.#lastArrival_s) / passed;
    if (interval_s > 0)
      this.#interval_s = this.#interval_s > 0 ? 0.9 * this.#interval_s + 0.1 * interval_s : interval_s;
    this.#lastArrival_s = now_s;
    this.isTimed = capture_s > 0 && capture_s !== this.#capture_s;
    this.#since_s = this.isTimed ? capture_s : Date.now() / 1000;
    this.#capture_s = capture_s;
    this.#skipped = skipped;
  }

  get age_s() {
    return Math.max(0, Date.now() / 1000 - this.#since_s);
  }

  get skipped() {
    return this.#skipped;
  }

  /** "20 /s, 50 ms old, 3 skipped". */
  text() {
    if (Number.isNaN(this.#lastArrival_s)) return "no sample yet";
    const age = `${durationText(this.age_s)} old`;
    const isLate = performance.now() / 1000 - this.#lastArrival_s > Math.max(3, 5 * (this.#interval_s || 0));
    const rate = isLate ? "no new sample" : rateText(1 / this.#interval_s);
    return `${rate}, ${age}, ${this.#skipped} skipped`;
  }
}
