// SPDX-License-Identifier: Apache-2.0
import {el} from "./dom.js";

const kKey = "lumenar.shortcuts";

/** Keys of the page: one table for what they do and for the list that "?" shows. They are not heard while something is
 *  typed, and can be switched off. `commands`: [{key, words, call}]. */
export class Shortcuts {
  #commands;
  #dialog;

  constructor(commands, dialog) {
    this.#commands = [...commands, {key: "?", words: "this list", call: () => this.show()}];
    this.#dialog = dialog;
    this.#build();
    document.addEventListener("keydown", (event) => this.#heard(event));
  }

  show() {
    this.#dialog.showModal();
  }

  get isOn() {
    return localStorage.getItem(kKey) !== "off";
  }

  #heard(event) {
    if (!this.isOn || event.ctrlKey || event.altKey || event.metaKey || event.defaultPrevented) return;
    if (event.target.closest("input, select, textarea, dialog")) return;
    const command = this.#commands.find((one) => one.key.toLowerCase() === event.key.toLowerCase());
    if (!command) return;
    event.preventDefault();
    command.call();
  }

  #build() {
    const row = (keys, words) => el("tr", {}, el("td", {}, el("kbd", {}, keys)), el("td", {}, words));
    const inPlot = [
      ["← →", "move the cursor (Page Up, Page Down: in large steps; Home, End: to the edges)"],
      ["Shift + ← →", "move what is shown; so does Shift with the wheel"],
      ["+ −", "zoom about the cursor; so does Ctrl with the wheel, dragging zooms to a part"],
      ["0", "show everything; so does a double click"],
      ["Esc", "take the cursor away"],
    ];
    const isOn = el("input", {
      type: "checkbox",
      id: "shortcuts-on",
      checked: this.isOn,
      on: {change: () => localStorage.setItem(kKey, isOn.checked ? "on" : "off")},
    });
    const close = el("button", {type: "button", class: "main", on: {click: () => this.#dialog.close()}}, "Close");
    this.#dialog.setAttribute("aria-labelledby", "shortcuts-title");
    this.#dialog.replaceChildren(
      el("h2", {id: "shortcuts-title"}, "Keys"),
      el(
        "table",
        {class: "keys"},
        el("tbody", {}, ...this.#commands.map(({key, words}) => row(key.toUpperCase(), words))),
      ),
      el("h3", {}, "In a plot that has the focus"),
      el("table", {class: "keys"}, el("tbody", {}, ...inPlot.map(([keys, words]) => row(keys, words)))),
      el("p", {class: "check-line"}, isOn, el("label", {for: "shortcuts-on"}, "Single keys do these things")),
      el("div", {class: "form-buttons"}, close),
    );
  }
}
