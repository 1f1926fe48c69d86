// SPDX-License-Identifier: Apache-2.0
import {colour} from "./theme.js";

// How traces of one picture are told apart: by colour, and by the shape of a mark for those who do not see the colour.

const kShapes = 7;
const kTraceColours = 8;

/** Names get the lowest free number, and keep it while they are shown. */
export class Slots {
  #slots = new Map();

  of(name) {
    const known = this.#slots.get(name);
    if (known !== undefined) return known;
    const taken = new Set(this.#slots.values());
    let slot = 0;
    while (taken.has(slot)) ++slot;
    this.#slots.set(name, slot);
    return slot;
  }

  /** Only these names keep theirs. */
  keep(names) {
    for (const name of this.#slots.keys()) if (!names.includes(name)) this.#slots.delete(name);
  }
}

/** The colour of a slot in the present theme: --trace-0 to --trace-7 of the style sheet. */
export function colourOf(slot) {
  return colour(`--trace-${slot % kTraceColours}`);
}

/** Draws the mark of a slot: circle, square, triangle, diamond, triangle downwards, cross, plus. */
export function drawMark(context, slot, x, y, radius) {
  const shape = slot % kShapes;
  context.beginPath();
  if (shape === 0) context.arc(x, y, radius, 0, 2 * Math.PI);
  else if (shape < 5) polygon(context, kPolygons[shape - 1], x, y, radius);
  else strokes(context, shape === 5, x, y, radius);
  if (shape < 5) context.fill();
  else context.stroke();
}

const kPolygons = [
  [
    [-0.9, -0.9],
    [0.9, -0.9],
    [0.9, 0.9],
    [-0.9, 0.9],
  ],
  [
    [0, -1.15],
    [1.1, 0.85],
    [-1.1, 0.85],
  ],
  [
    [0, -1.25],
    [1.25, 0],
    [0, 1.25],
    [-1.25, 0],
  ],
  [
    [0, 1.15],
    [1.1, -0.85],
    [-1.1, -0.85],
  ],
];

function polygon(context, corners, x, y, radius) {
  for (const [dx, dy] of corners) context.lineTo(x + dx * radius, y + dy * radius);
  context.closePath();
}

function strokes(context, isCross, x, y, radius) {
  const [a, b] = isCross ? [radius, radius] : [1.2 * radius, 0];
  context.moveTo(x - a, y - b);
  context.lineTo(x + a, y + b);
  context.moveTo(x - b, y + a);
  context.lineTo(x + b, y - a);
}

/** Draws the mark of a slot into a small canvas of a legend. */
export function paintKey(canvas, slot) {
  const ratio = window.devicePixelRatio || 1;
  const [width, height] = [26, 14];
  canvas.width = width * ratio;
  canvas.height = height * ratio;
  const context = canvas.getContext("2d");
  context.scale(ratio, ratio);
  context.strokeStyle = context.fillStyle = colourOf(slot);
  context.lineWidth = 2;
  context.beginPath();
  context.moveTo(0, height / 2);
  context.lineTo(width, height / 2);
  context.stroke();
  drawMark(context, slot, width / 2, height / 2, 4);
}
