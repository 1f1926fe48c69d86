// SPDX-License-Identifier: Apache-2.0

/** How far back the values of a scalar are kept. */
export const kTrail_s = 600;
const kMost = 24000;

/** What a scalar was: time, value and both errors, the newest 24,000 of them, less than a megabyte. */
export class Trail {
  #samples = new Float64Array(4 * kMost).fill(NaN);
  #count = 0;

  /** `minus` and `plus` are relative to the value, as the engine gives them; what is not finite bounds nothing. */
  add(time, value, minus, plus) {
    const low = Number.isFinite(minus) ? value + minus : value;
    const high = Number.isFinite(plus) ? value + plus : value;
    this.#samples.set([time, value, low, high], 4 * (this.#count++ % kMost));
  }

  clear() {
    this.#count = 0;
  }

  get last() {
    if (this.#count === 0) return null;
    const at = 4 * ((this.#count - 1) % kMost);
    return {time: this.#samples[at], value: this.#samples[at + 1]};
  }

  /** The value at a time: the last before it; null where there is none. */
  at(time) {
    let found = null;
    this.#each((at, value) => {
      if (at <= time) found = value;
    });
    return found;
  }

  /** Smallest and greatest of values and bands since `from`; null where there is none. */
  range(from) {
    let [low, high] = [Infinity, -Infinity];
    this.#each((time, value, least, greatest) => {
      if (time < from || !Number.isFinite(value)) return;
      low = Math.min(low, least, value);
      high = Math.max(high, greatest, value);
    });
    return low <= high ? {low, high} : null;
  }

  /** The trail between two times in so many columns: of each the last value, and the widest band; NaN where nothing
   *  was. `x(i)` is the time of column i. */
  columns(from, to, count) {
    const [values, low, high] = [0, 0, 0].map(() => new Float64Array(count).fill(NaN));
    this.#each((time, value, least, greatest) => {
      const i = Math.floor(((time - from) / (to - from)) * count);
      if (i < 0 || i >= count || !Number.isFinite(value)) return;
      values[i] = value;
      if (!(low[i] <= least)) low[i] = least;
      if (!(high[i] >= greatest)) high[i] = greatest;
    });
    return {values, low, high, x: (i) => from + ((to - from) * i) / count};
  }

  #each(call) {
    const held = Math.min(this.#count, kMost);
    for (let i = this.#count - held; i < this.#count; ++i) {
      const at = 4 * (i % kMost);
      call(this.#samples[at], this.#samples[at + 1], this.#samples[at + 2], this.#samples[at + 3]);
    }
  }
}
