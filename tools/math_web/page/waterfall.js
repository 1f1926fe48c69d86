// SPDX-License-Identifier: Apache-2.0
import {fullRange} from "./protocol.js";

/** How far back a waterfall goes. */
export const kSpan_s = 600;
const kRow_s = 0.5;
const kRows = kSpan_s / kRow_s;
/** Columns of a waterfall: what it subscribes to. With all rows they take 5 MB, whatever comes and for however long. */
export const kHistoryColumns = 1024;

/** What a trace was for the last ten minutes: for each half second the greatest of each column. Rows without a sample
 *  are not a number. It begins anew when the trace's axis, unit or length changes. */
export class History {
  #rows = null;
  #columns = 0;
  #newest = -1;
  #oldest = -1;
  #form = null;

  /** Takes a frame over the whole trace that came at `now_s`, a clock that only runs forward. */
  add(frame, now_s) {
    this.#beginAnewWhereOther(frame);
    this.#advance(Math.floor(now_s / kRow_s));
    const row = this.#row(this.#newest);
    const each = frame.isColumns ? 2 : 1;
    for (let i = 0; i < this.#columns; ++i) this.#keepGreatest(row, i, frame, each);
  }

  /** Over which x; null before the first frame. */
  get range() {
    return this.#form && fullRange(this.#form);
  }

  get unit() {
    return this.#form ? this.#form.yUnit : "";
  }

  get columns() {
    return this.#columns;
  }

  /** Bytes that the rows take. */
  get bytes() {
    return this.#rows ? this.#rows.byteLength : 0;
  }

  /** The greatest of each column between two times of the clock, into `into`; NaN where nothing was. */
  greatest(begin_s, end_s, into) {
    into.fill(NaN);
    const begin = Math.floor(begin_s / kRow_s);
    const last = Math.min(Math.max(begin, Math.ceil(end_s / kRow_s) - 1), this.#newest);
    for (let number = Math.max(begin, this.#oldest, this.#newest - kRows + 1, 0); number <= last; ++number) {
      const row = this.#row(number);
      for (let i = 0; i < this.#columns; ++i) if (!(into[i] >= row[i])) into[i] = row[i];
    }
  }

  #keepGreatest(row, column, frame, each) {
    const begin = Math.floor((column * frame.count) / this.#columns);
    const end = Math.max(begin + 1, Math.floor(((column + 1) * frame.count) / this.#columns));
    for (let i = begin; i < end; ++i) {
      const value = frame.values[each * i + each - 1];
      if (!(row[column] >= value) && value === value) row[column] = value;
    }
  }

  #beginAnewWhereOther(frame) {
    const form = this.#form;
    const isSame =
      form &&
      form.total === frame.total &&
      form.firstX === frame.firstX &&
      form.traceStep === frame.traceStep &&
      form.yUnit === frame.yUnit;
    if (isSame) return;
    this.#form = {...frame, values: null};
    this.#columns = Math.max(1, Math.min(frame.count, kHistoryColumns));
    this.#rows = new Float32Array(kRows * this.#columns).fill(NaN); // all of its memory at once, not bit by bit
    this.#newest = this.#oldest = -1;
  }

  // Rows that are stepped over had no sample.
  #advance(number) {
    if (this.#oldest < 0) this.#oldest = number;
    const first = this.#newest < 0 ? number : Math.max(this.#newest + 1, number - kRows + 1);
    for (let i = first; i <= number; ++i) this.#row(i).fill(NaN);
    this.#newest = Math.max(this.#newest, number);
  }

  #row(number) {
    const at = (number % kRows) * this.#columns;
    return this.#rows.subarray(at, at + this.#columns);
  }
}

/** For each pixel of a picture over `view` the columns of a history over `range` that it shows: begin and end, two
 *  numbers a pixel; -1 where it has none. */
export function columnsOfPixels(range, columns, view, pixels) {
  const places = new Int32Array(2 * pixels);
  const at = (x) => ((x - range.from) / (range.to - range.from)) * columns;
  for (let i = 0; i < pixels; ++i) {
    const begin = at(view.from + ((view.to - view.from) * i) / pixels);
    const end = at(view.from + ((view.to - view.from) * (i + 1)) / pixels);
    const isOutside = end <= 0 || begin >= columns;
    places[2 * i] = isOutside ? -1 : Math.max(0, Math.floor(begin));
    places[2 * i + 1] = Math.max(places[2 * i] + 1, Math.min(columns, Math.ceil(end - 1e-6)));
  }
  return places;
}

/** The greatest of the columns of each pixel. */
export function pixelValues(row, places, into) {
  for (let i = 0; i < into.length; ++i) {
    let greatest = NaN;
    for (let j = places[2 * i]; j >= 0 && j < places[2 * i + 1]; ++j) if (!(greatest >= row[j])) greatest = row[j];
    into[i] = greatest;
  }
}
