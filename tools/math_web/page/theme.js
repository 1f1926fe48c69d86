// SPDX-License-Identifier: Apache-2.0
// Dark and light: as the system says, or as the user chose.

const kKey = "lumenar.theme";
const kThemes = ["auto", "light", "dark"];
const listeners = new Set();
let colours = new Map();

function stored() {
  const theme = localStorage.getItem(kKey);
  return kThemes.includes(theme) ? theme : "auto";
}

function apply(theme) {
  document.documentElement.dataset.theme = theme;
  colours = new Map();
  for (const listener of listeners) listener();
}

/** The theme as chosen: auto, light or dark. */
export function theme() {
  return document.documentElement.dataset.theme;
}

/** The next of auto, light, dark; it is remembered. */
export function nextTheme() {
  const next = kThemes[(kThemes.indexOf(theme()) + 1) % kThemes.length];
  localStorage.setItem(kKey, next);
  apply(next);
  return next;
}

/** Calls `listener` whenever colours may have changed. */
export function onTheme(listener) {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

/** A colour of the style sheet, as "--text"; kept until the theme changes. */
export function colour(name) {
  if (!colours.has(name)) colours.set(name, getComputedStyle(document.documentElement).getPropertyValue(name).trim());
  return colours.get(name);
}

/** Begins with the theme that was chosen last. */
export function beginTheme() {
  apply(stored());
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => apply(theme()));
}
