// SPDX-License-Identifier: Apache-2.0
import {download} from "./dom.js";
import {paintPicture} from "./picture.js";

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

/** Gives the picture of all panels as a file. Errors   Error where there is nothing to see yet. */
export async function savePicture(panels) {
  if (panels.length === 0) throw new Error("nothing is shown that could be saved");
  const canvas = paintPicture(panels, new Date());
  const blob = await new Promise((resolve) => canvas.toBlob(resolve, "image/png"));
  if (!blob) throw new Error("the browser could not make the picture");
  download(blob, `measurement_${timeForFile(new Date())}.png`);
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
