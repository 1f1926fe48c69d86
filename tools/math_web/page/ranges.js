// SPDX-License-Identifier: Apache-2.0
// Ranges of axes: which values a vertical axis shows, and what zoom and pan make of a horizontal one. Pure functions.

const kMargin = 0.08;
const kFilledLittle = 0.45;
const kShrinkAfter_ms = 3000;

/** 1, 2 or 5 times a power of ten, at least `step`. */
export function niceStep(step) {
  const power = 10 ** Math.floor(Math.log10(step));
  const of = step / power;
  return power * (of <= 1 ? 1 : of <= 2 ? 2 : of <= 5 ? 5 : 10);
}

/** A range with some room around `low` to `high`, between even numbers. */
export function roomAround(low, high) {
  let span = high - low;
  if (!(span > 0)) span = Math.abs(high) * 0.2 || 1;
  span = Math.max(span, Math.max(Math.abs(low), Math.abs(high)) * 1e-6);
  const step = niceStep(span / 10);
  return {min: Math.floor((low - kMargin * span) / step) * step, max: Math.ceil((high + kMargin * span) / step) * step};
}

/** A vertical axis that follows its values without trembling: it grows at once, and shrinks when the values have filled
 *  little of it for three seconds. */
export class FollowingRange {
  #range = null;
  #littleSince = NaN;

  /** The range for values from `low` to `high` at `now` (ms). */
  follow(low, high, now) {
    const wanted = roomAround(low, high);
    const range = this.#range;
    if (range && low >= range.min && high <= range.max && !this.#isTooWide(wanted, now)) return range;
    const grows = range && !this.#isLittle(wanted);
    this.#range = grows ? {min: Math.min(range.min, wanted.min), max: Math.max(range.max, wanted.max)} : wanted;
    this.#littleSince = NaN;
    return this.#range;
  }

  /** What was followed is forgotten, as after a change of units. */
  reset() {
    this.#range = null;
    this.#littleSince = NaN;
  }

  #isLittle(wanted) {
    return wanted.max - wanted.min < kFilledLittle * (this.#range.max - this.#range.min);
  }

  #isTooWide(wanted, now) {
    if (!this.#isLittle(wanted)) {
      this.#littleSince = NaN;
      return false;
    }
    if (Number.isNaN(this.#littleSince)) this.#littleSince = now;
    return now - this.#littleSince >= kShrinkAfter_ms;
  }
}

/** `range` made `factor` times as wide about `at`, within `full`; null where that is all of it. `full` bounds how far
 *  in it goes: to three steps of the trace. */
export function zoomed(range, full, factor, at, step) {
  const least = Math.min(3 * Math.abs(step || 0), full.to - full.from);
  const width = Math.max(least, (range.to - range.from) * factor);
  if (width >= full.to - full.from) return null;
  const share = (at - range.from) / (range.to - range.from);
  return within({from: at - share * width, to: at + (1 - share) * width}, full);
}

/** `range` moved by a share of its width, within `full`. */
export function panned(range, full, share) {
  const by = share * (range.to - range.from);
  return within({from: range.from + by, to: range.to + by}, full);
}

/** `range` pushed into `full`, as wide as it was. */
export function within(range, full) {
  const width = Math.min(range.to - range.from, full.to - full.from);
  const from = Math.min(Math.max(range.from, full.from), full.to - width);
  return {from, to: from + width};
}

/** What contains both; either may be null. */
export function union(a, b) {
  if (!a || !b) return a || b;
  return {from: Math.min(a.from, b.from), to: Math.max(a.to, b.to)};
}
