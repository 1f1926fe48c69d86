// SPDX-License-Identifier: Apache-2.0
// The picture that is saved: all panels with their legends and waterfalls, one below the other, and the time. It is put
// together of blocks, {height, paint(context, x, y)}, so that its height is known before it is painted.
import {paintKey} from "./marks.js";
import {colour} from "./theme.js";

const kMargin = 12;
const kKey = 34;
const kLeast = 300;
const kBar = {width: 140, height: 10};

/** The picture as a canvas. */
export function paintPicture(panels, date) {
  const ratio = window.devicePixelRatio || 1;
  const width = Math.max(kLeast * ratio, ...panels.map((panel) => panel.plot.size.width));
  const sheet = {ratio, width, measure: document.createElement("canvas").getContext("2d")};
  const blocks = [words(sheet, date.toLocaleString(), {name: "--muted", size: 12})];
  for (const panel of panels) blocks.push(...blocksOfPanel(sheet, panel));
  const canvas = document.createElement("canvas");
  canvas.width = width + 2 * kMargin * ratio;
  canvas.height = blocks.reduce((sum, block) => sum + block.height, 2 * kMargin * ratio);
  const context = canvas.getContext("2d");
  context.fillStyle = colour("--panel");
  context.fillRect(0, 0, canvas.width, canvas.height);
  let y = kMargin * ratio;
  for (const {height, paint} of blocks) {
    paint(context, kMargin * ratio, y);
    y += height;
  }
  return canvas;
}

function blocksOfPanel(sheet, panel) {
  const falls = panel.views.filter((view) => view.waterfall).map((view) => view.waterfall.picture);
  return [
    space(sheet, 8),
    words(sheet, panel.title, {size: 15, weight: "600"}),
    space(sheet, 4),
    {height: panel.plot.size.height, paint: (context, x, y) => panel.plot.paintInto(context, x, y)},
    ...falls.flatMap((fall) => [words(sheet, fall.words, {size: 12}), barOf(sheet, fall), fallOf(sheet, fall)]),
    space(sheet, 4),
    ...panel.views.map((view) => legendOf(sheet, view)),
  ];
}

const space = ({ratio}, height) => ({height: height * ratio, paint: () => {}});

/** Words in as many lines as they need, `indent` from the left. */
function words(sheet, text, {name = "--text", size = 13, weight = "", indent = 0} = {}) {
  const {ratio, width, measure} = sheet;
  const font = `${weight} ${size * ratio}px system-ui, sans-serif`;
  measure.font = font;
  const lines = linesOf(measure, text, width - indent * ratio);
  const line = 1.5 * size * ratio;
  const paint = (context, x, y) => {
    context.font = font;
    context.fillStyle = colour(name);
    lines.forEach((one, i) => context.fillText(one, x + indent * ratio, y + (i + 0.75) * line));
  };
  return {height: lines.length * line, paint};
}

/** `text` in lines no wider than `width` in the font of `context`, broken between words, and within those that are
 *  wider than a line. */
export function linesOf(context, text, width) {
  const fits = (one) => one.length <= 1 || context.measureText(one).width <= width;
  const lines = [];
  let line = "";
  for (const word of text.split(" ")) {
    if (line !== "" && fits(`${line} ${word}`)) {
      line = `${line} ${word}`;
      continue;
    }
    if (line !== "") lines.push(line);
    line = word;
    while (!fits(line)) {
      let end = line.length - 1;
      while (!fits(line.slice(0, end))) --end;
      lines.push(line.slice(0, end));
      line = line.slice(end);
    }
  }
  return [...lines, line];
}

function legendOf(sheet, view) {
  const told = ".legend-name, .legend-what, .digits, .band, .legend-value, .legend-peak";
  const parts = [...view.element.querySelectorAll(told)].filter((one) => !one.hidden && one.textContent !== "");
  const text = words(sheet, parts.map((one) => one.textContent).join(" · "), {indent: kKey});
  const paint = (context, x, y) => {
    const key = document.createElement("canvas");
    paintKey(key, view.slot);
    context.drawImage(key, x, y + 3 * sheet.ratio);
    text.paint(context, x, y);
  };
  return {height: text.height, paint};
}

// Least value, colours, greatest value.
function barOf(sheet, fall) {
  const {ratio, measure} = sheet;
  const [low, high] = [fall.low, fall.high].map((text) => words(sheet, text, {name: "--muted", size: 12}));
  const wide = measure.measureText(fall.low).width + 8 * ratio;
  const paint = (context, x, y) => {
    low.paint(context, x, y);
    context.drawImage(fall.bar, x + wide, y + 5 * ratio, kBar.width * ratio, kBar.height * ratio);
    high.paint(context, x + wide + (kBar.width + 8) * ratio, y);
  };
  return {height: low.height + 4 * ratio, paint};
}

function fallOf({ratio}, {canvas, times, gutter}) {
  const paint = (context, x, y) => {
    const left = x + gutter * ratio;
    context.fillStyle = colour("--raised");
    context.fillRect(left, y, canvas.width, canvas.height);
    context.drawImage(canvas, left, y);
    context.fillStyle = colour("--muted");
    context.font = `${12 * ratio}px system-ui, sans-serif`;
    for (const {text, share} of times)
      context.fillText(text, x + 4 * ratio, y + share * (canvas.height - 12 * ratio) + 10 * ratio);
  };
  return {height: canvas.height + 4 * ratio, paint};
}
