// SPDX-License-Identifier: Apache-2.0
// Binary frames: a trace, whole or thinned to columns, behind a header of 96 bytes, all little-endian.

export const kMagic = 0x314d554c; // "LUM1"
export const kHeaderBytes = 96;
const kPoints = 1;
const kColumns = 2;
const kMostColumns = 8192;

/** A trace as it came: `values` holds `count` samples, or where `isColumns` `count` pairs of smallest and greatest.
 *  `x`, `xStep`: of the first of them (of a column the middle) and between them, rising; `firstX`, `traceStep`,
 *  `total`: of the whole trace; `time` in seconds since the epoch, NaN where the trace tells none; `skipped`: frames
 *  that were passed over so far. Errors Error with a sentence for anything that is no such frame. */
export function decodeFrame(buffer) {
  if (buffer.byteLength < kHeaderBytes) throw new Error(`a frame of ${buffer.byteLength} bytes is too short`);
  const view = new DataView(buffer);
  if (view.getUint32(0, true) !== kMagic) throw new Error("a frame does not begin as frames do");
  const kind = view.getUint32(8, true);
  if (kind !== kPoints && kind !== kColumns) throw new Error(`a frame is of the unknown kind ${kind}`);
  const count = view.getUint32(12, true);
  const values = valuesOf(buffer, count, kind === kColumns ? 2 : 1);
  return rising({
    stream: view.getUint32(4, true),
    isColumns: kind === kColumns,
    count,
    skipped: view.getUint32(16, true),
    total: view.getUint32(20, true),
    time: view.getFloat64(24, true),
    x: view.getFloat64(32, true),
    xStep: view.getFloat64(40, true),
    firstX: view.getFloat64(48, true),
    traceStep: view.getFloat64(56, true),
    yUnit: textAt(buffer, 64),
    xUnit: textAt(buffer, 80),
    values,
  });
}

// An axis may fall; pictures are drawn from the left.
function rising(frame) {
  if (frame.xStep >= 0) return frame;
  const each = frame.isColumns ? 2 : 1;
  const values = new Float32Array(frame.values.length);
  for (let i = 0; i < frame.count; ++i)
    values.set(frame.values.subarray(each * i, each * (i + 1)), each * (frame.count - 1 - i));
  return {...frame, values, x: frame.x + frame.xStep * (frame.count - 1), xStep: -frame.xStep};
}

function valuesOf(buffer, count, each) {
  if (count > 2 * kMostColumns) throw new Error(`a frame claims ${count} points`);
  if (buffer.byteLength !== kHeaderBytes + 4 * each * count)
    throw new Error(`a frame of ${count} has ${buffer.byteLength} bytes`);
  return new Float32Array(buffer, kHeaderBytes, each * count);
}

function textAt(buffer, offset) {
  const bytes = new Uint8Array(buffer, offset, 16);
  const end = bytes.indexOf(0);
  return new TextDecoder().decode(bytes.subarray(0, end < 0 ? 16 : end));
}

/** The x range that the whole trace of a frame covers: from its first point to its last; of a single point one step. */
export function fullRange(frame) {
  const first = frame.firstX;
  const last = first + frame.traceStep * Math.max(frame.total - 1, 0);
  if (first === last) return {from: first - 0.5, to: first + 0.5};
  return {from: Math.min(first, last), to: Math.max(first, last)};
}

/** Number of the sample or column of a frame that is nearest to `x`; -1 outside of it. */
export function indexAt(frame, x) {
  const index = Math.round((x - frame.x) / (frame.xStep || 1));
  return index >= 0 && index < frame.count ? index : -1;
}

/** x of a sample, of a column its middle. */
export function xOf(frame, index) {
  return frame.x + frame.xStep * index;
}

/** Place and value of the greatest finite sample of a frame; null where there is none. */
export function peakOf(frame) {
  const each = frame.isColumns ? 2 : 1;
  let best = -1;
  let greatest = -Infinity;
  for (let i = each - 1; i < frame.values.length; i += each) {
    const value = frame.values[i];
    if (value > greatest && value < Infinity) {
      greatest = value;
      best = i;
    }
  }
  if (best < 0) return null;
  return {x: xOf(frame, Math.floor(best / each)), y: greatest};
}

/** Smallest and greatest finite value of a list; null where there is none. */
export function finiteRange(values) {
  let low = Infinity;
  let high = -Infinity;
  for (let i = 0; i < values.length; ++i) {
    const value = values[i];
    if (value < low && value > -Infinity) low = value;
    if (value > high && value < Infinity) high = value;
  }
  return low <= high ? {low, high} : null;
}
