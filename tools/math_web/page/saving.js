// SPDX-License-Identifier: Apache-2.0
import {download} from "./dom.js";
import {colour} from "./theme.js";
import {paintKey} from "./marks.js";

const kHead = 34;
const kLine = 20;
const kMargin = 12;

/** A name that all systems take for a file. */
export function fileName(text, ending) {
  return `${text.replace(/[^A-Za-z0-9._-]+/g, "-").replace(/^[-.]+|-+$/g, "") || "data"}.${ending}`;
}

/** Local time as it can stand in a file's name. */
export function timeForFile(date) {
  const two = (number) => String(number).padStart(2, "0");
  const day = [date.getFullYear(), two(date.getMonth() + 1), two(date.getDate())].join("-");
  return `${day}_${two(date.getHours())}${two(date.getMinutes())}${two(date.getSeconds())}`;
}

/** Paints all panels, their legends and waterfalls with the time into one picture, and gives it as a file. */
export async function savePicture(panels) {
  const canvas = paintPicture(panels, new Date());
  const blob = await new Promise((resolve) => canvas.toBlob(resolve, "image/png"));
  if (!blob) throw new Error("the browser could not make the picture");
  download(blob, `measurement_${timeForFile(new Date())}.png`);
}

/** The picture as a canvas. */
export function paintPicture(panels, date) {
  const ratio = window.devicePixelRatio || 1;
  const sizes = panels.map((panel) => sizeOf(panel, ratio));
  const canvas = document.createElement("canvas");
  canvas.width = Math.max(300 * ratio, ...sizes.map((size) => size.width)) + 2 * kMargin * ratio;
  canvas.height = sizes.reduce((sum, size) => sum + size.height, 0) + kHead * ratio;
  const context = canvas.getContext("2d");
  context.fillStyle = colour("--panel");
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.textBaseline = "alphabetic";
  let y = kHead * ratio;
  text(context, `${date.toLocaleString()}`, kMargin * ratio, y - 12 * ratio, ratio, "--muted", 12);
  for (const panel of panels) y = paintPanel(context, panel, kMargin * ratio, y, ratio);
  return canvas;
}

function sizeOf(panel, ratio) {
  const falls = [...panel.element.querySelectorAll("canvas.fall")];
  const height = falls.reduce((sum, fall) => sum + fall.height + kLine * ratio, 0);
  const lines = panel.views.length;
  const plot = panel.plot.size;
  return {width: plot.width, height: plot.height + height + (kHead + lines * kLine + kMargin) * ratio};
}

function text(context, words, x, y, ratio, name, size, weight = "") {
  context.fillStyle = colour(name);
  context.font = `${weight} ${size * ratio}px system-ui, sans-serif`;
  context.fillText(words, x, y);
}

function paintPanel(context, panel, x, top, ratio) {
  let y = top + 18 * ratio;
  text(context, panel.title, x, y, ratio, "--text", 15, "600");
  y += (kHead - 18) * ratio;
  y += panel.plot.paintInto(context, x, y);
  for (const view of panel.views) if (view.waterfall) y = paintFall(context, view.waterfall, x, y, ratio);
  for (const view of panel.views) {
    y += kLine * ratio;
    paintLegend(context, view, x, y, ratio);
  }
  return y + kMargin * ratio;
}

function paintFall(context, waterfall, x, top, ratio) {
  const y = top + kLine * ratio;
  text(context, waterfall.legend, x, y - 6 * ratio, ratio, "--muted", 12);
  return y + waterfall.paintInto(context, x, y, ratio);
}

function paintLegend(context, view, x, y, ratio) {
  const key = document.createElement("canvas");
  paintKey(key, view.slot);
  context.drawImage(key, x, y - 12 * ratio);
  const told = ".legend-name, .legend-what, .digits, .band, .legend-value, .legend-peak";
  const words = [...view.element.querySelectorAll(told)];
  const shown = words.filter((one) => !one.hidden && one.textContent !== "").map((one) => one.textContent);
  text(context, shown.join("   "), x + 34 * ratio, y, ratio, "--text", 13);
}

/** Asks for the newest sample of a reading or result in full, and gives it as a file. */
export async function saveCsv(connection, name) {
  const answer = await connection.request({type: "csv", name});
  download(new Blob([answer.csv], {type: "text/csv"}), answer.file ?? fileName(name, "csv"));
}

/** Asks for the set of math objects, and gives it as a file that `mathctl apply` takes; gives what had to be left out.
 *  */
export async function saveSet(connection) {
  const answer = await connection.request({type: "save"});
  download(new Blob([`${JSON.stringify(answer.set, null, 2)}\n`], {type: "application/json"}), "math_objects.json");
  return answer.left_out ?? [];
}
