// SPDX-License-Identifier: Apache-2.0
// Drawing traces onto a canvas. A trace with more points than the picture has pixels is drawn as columns, each from its
// smallest to its greatest sample, joined to its neighbours: no peak is lost, and the cost is that of the picture's
// width, whatever the trace.

/** Where a picture puts values. `left`, `width`, `top`, `height` in pixels of the canvas; `from`, `to` of x, `min`,
 *  `max` of y.
 *  @typedef {{left: number, width: number, top: number, height: number, from: number, to: number, min: number,
 *             max: number}} Box */

/** Pixel of x. */
export function pixelOfX(box, x) {
  return box.left + ((x - box.from) / (box.to - box.from)) * box.width;
}

/** Pixel of y; what is outside, infinite values among it, comes just outside of the box. */
export function pixelOfY(box, y) {
  const pixel = box.top + ((box.max - y) / (box.max - box.min)) * box.height;
  return Math.min(Math.max(pixel, box.top - 4), box.top + box.height + 4);
}

/** Columns of a frame of points: `columns` of them side by side, from `from` to `to`. */
export function toColumns(frame, from, to, columns) {
  const pairs = new Float32Array(2 * columns).fill(NaN);
  const step = (to - from) / columns;
  for (let i = 0; i < frame.count; ++i) {
    const value = frame.values[i];
    const column = Math.floor((frame.x + i * frame.xStep - from) / step);
    if (value !== value || column < 0 || column >= columns) continue;
    if (!(pairs[2 * column] <= value)) pairs[2 * column] = value;
    if (!(pairs[2 * column + 1] >= value)) pairs[2 * column + 1] = value;
  }
  return {...frame, isColumns: true, count: columns, x: from + step / 2, xStep: step, values: pairs};
}

/** Rectangles of the columns of a frame: left, top, width, height, four numbers each, in `into` from `at` on; gives
 *  where the next would stand. `thick`: the least height. Neighbours are joined, so that a steep slope has no hole. */
export function columnRectangles(frame, box, thick, into) {
  let at = 0;
  let [lastTop, lastBottom] = [NaN, NaN];
  const scale = (frame.xStep / (box.to - box.from)) * box.width;
  const first = pixelOfX(box, frame.x - frame.xStep / 2);
  for (let i = 0; i < frame.count; ++i) {
    const low = frame.values[2 * i];
    const high = frame.values[2 * i + 1];
    if (low !== low || high !== high) {
      lastTop = lastBottom = NaN;
      continue;
    }
    const [ownTop, ownBottom] = [pixelOfY(box, high), pixelOfY(box, low)];
    const top = ownTop > lastBottom ? lastBottom : ownTop;
    const bottom = ownBottom < lastTop ? lastTop : ownBottom;
    const left = Math.round(first + i * scale);
    into[at++] = left;
    into[at++] = top - thick / 2;
    into[at++] = Math.max(1, Math.round(first + (i + 1) * scale) - left);
    into[at++] = bottom - top + thick;
    [lastTop, lastBottom] = [ownTop, ownBottom];
  }
  return at;
}

let rectangles = new Float64Array(0);

function drawColumns(context, frame, box, thick) {
  if (rectangles.length < 4 * frame.count) rectangles = new Float64Array(4 * frame.count);
  const end = columnRectangles(frame, box, thick, rectangles);
  for (let i = 0; i < end; i += 4)
    context.fillRect(rectangles[i], rectangles[i + 1], rectangles[i + 2], rectangles[i + 3]);
}

function drawLine(context, frame, box, thick) {
  context.lineWidth = thick;
  context.lineJoin = "bevel";
  context.beginPath();
  let isOpen = false;
  for (let i = 0; i < frame.count; ++i) {
    const value = frame.values[i];
    if (value !== value) {
      isOpen = false;
      continue;
    }
    const [x, y] = [pixelOfX(box, frame.x + i * frame.xStep), pixelOfY(box, value)];
    if (isOpen) context.lineTo(x, y);
    else context.moveTo(x, y);
    isOpen = true;
  }
  context.stroke();
}

function drawDots(context, frame, box, radius) {
  for (let i = 0; i < frame.count; ++i) {
    const value = frame.values[i];
    if (value !== value) continue;
    const [x, y] = [pixelOfX(box, frame.x + i * frame.xStep), pixelOfY(box, value)];
    context.fillRect(x - radius, y - radius, 2 * radius, 2 * radius);
  }
}

/** Draws a frame in one colour; the box clips it. `thick`: width of the line in pixels. */
export function drawFrame(context, frame, box, colour, thick) {
  context.fillStyle = context.strokeStyle = colour;
  const visible = frame.isColumns ? frame.count : ((box.to - box.from) / Math.abs(frame.xStep || 1)) | 0;
  if (frame.isColumns) drawColumns(context, frame, box, thick);
  else if (visible > box.width)
    drawColumns(context, toColumns(frame, box.from, box.to, Math.round(box.width)), box, thick);
  else {
    drawLine(context, frame, box, thick);
    if (visible < box.width / 12) drawDots(context, frame, box, 1.5 * thick);
  }
}

/** The value of a frame at `x`: {low, high}, equal where it is one sample; null outside and where there is none. */
export function valueAt(frame, index) {
  if (index < 0) return null;
  const low = frame.values[frame.isColumns ? 2 * index : index];
  const high = frame.isColumns ? frame.values[2 * index + 1] : low;
  return low === low ? {low, high} : null;
}

/** Pairs of smallest and greatest of a frame: of a point twice itself. */
function pairsOf(frame) {
  if (frame.isColumns) return frame.values.slice();
  const pairs = new Float32Array(2 * frame.count);
  for (let i = 0; i < frame.count; ++i) pairs[2 * i] = pairs[2 * i + 1] = frame.values[i];
  return pairs;
}

const isOverTheSame = (held, frame) =>
  held !== null &&
  held.count === frame.count &&
  held.x === frame.x &&
  held.xStep === frame.xStep &&
  held.yUnit === frame.yUnit;

/** What hold keeps: columns of the smallest and the greatest that each place of `held` and `frame` had. Where they
 *  stand over different places, or held is null, those of `frame` alone. */
export function envelope(held, frame) {
  const values = pairsOf(frame);
  const kept = {...frame, isColumns: true, values};
  if (!isOverTheSame(held, frame)) return kept;
  for (let i = 0; i < values.length; i += 2) {
    if (!(values[i] <= held.values[i]) && held.values[i] === held.values[i]) values[i] = held.values[i];
    if (!(values[i + 1] >= held.values[i + 1]) && held.values[i + 1] === held.values[i + 1])
      values[i + 1] = held.values[i + 1];
  }
  return kept;
}
