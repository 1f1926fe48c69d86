// SPDX-License-Identifier: Apache-2.0
import {el, setShown, setText} from "./dom.js";
import {wordsOf} from "./operations.js";

/** The form that makes a math object: a type, then its inputs one by one, each among those that fit with what was
 *  chosen before, as the server says; SIZE where the type takes one. `onCreated(name)`. */
export class CreateDialog {
  #connection;
  #store;
  #onCreated;
  #dialog;
  #parts = {};
  #inputs = [];
  #asked = 0;

  constructor(dialog, connection, store, onCreated) {
    this.#connection = connection;
    this.#store = store;
    this.#onCreated = onCreated;
    this.#dialog = dialog;
    this.#build();
  }

  open() {
    const types = this.#store.welcome.math_types;
    this.#parts.type.replaceChildren(...types.map((type) => el("option", {value: type.name}, type.name)));
    setText(this.#parts.error, "");
    this.#dialog.showModal();
    this.#chooseType();
  }

  get #type() {
    return this.#store.welcome.math_types.find((type) => type.name === this.#parts.type.value);
  }

  #build() {
    const parts = this.#parts;
    parts.type = el("select", {id: "create-type", on: {change: () => this.#chooseType()}});
    parts.words = el("p", {class: "note", id: "create-words"});
    parts.type.setAttribute("aria-describedby", "create-words");
    parts.inputs = el("div", {class: "form-rows"});
    parts.size = el("input", {id: "create-size", type: "number", min: "1", step: "1", value: "10"});
    parts.sizeRow = el("div", {class: "form-row"}, el("label", {for: "create-size"}, "SIZE, samples"), parts.size);
    parts.error = el("p", {class: "form-error", role: "alert"});
    parts.create = el("button", {class: "main"}, "Create");
    const close = el("button", {type: "button", on: {click: () => this.#dialog.close()}}, "Cancel");
    const form = el(
      "form",
      {on: {submit: (event) => this.#submit(event)}},
      el("h2", {id: "create-title"}, "New math object"),
      el("div", {class: "form-row"}, el("label", {for: "create-type"}, "Operation"), parts.type),
      parts.words,
      parts.inputs,
      parts.sizeRow,
      parts.error,
      el("div", {class: "form-buttons"}, close, parts.create),
    );
    this.#dialog.setAttribute("aria-labelledby", "create-title");
    this.#dialog.replaceChildren(form);
  }

  #chooseType() {
    const type = this.#type;
    setText(this.#parts.words, wordsOf(type?.name));
    setText(this.#parts.error, "");
    setShown(this.#parts.sizeRow, type?.name === "Average");
    this.#inputs = (type?.inputs ?? []).map((input, i) => this.#inputRow(input.name, i));
    this.#parts.inputs.replaceChildren(...this.#inputs.map((input) => input.row));
    this.#offer(0);
  }

  #inputRow(name, i) {
    const id = `create-input-${i}`;
    const select = el("select", {id, required: true, disabled: true, on: {change: () => this.#offer(i + 1)}});
    return {select, row: el("div", {class: "form-row"}, el("label", {for: id}, name), select)};
  }

  // Those behind depend on it, so they are offered anew.
  async #offer(i) {
    for (const {select} of this.#inputs.slice(i)) {
      select.disabled = true;
      select.replaceChildren(el("option", {value: ""}, "after the one above"));
    }
    this.#parts.create.disabled = i < this.#inputs.length;
    if (i >= this.#inputs.length) return;
    const asked = ++this.#asked;
    try {
      const names = await this.#fitting(i);
      if (asked !== this.#asked) return;
      this.#fill(this.#inputs[i], names);
    } catch (error) {
      setText(this.#parts.error, error.message);
    }
  }

  async #fitting(i) {
    const inputs = this.#inputs.map(({select}, place) => (place < i ? select.value : null));
    const answer = await this.#connection.request({type: "fits", math: this.#type.name, inputs});
    return answer.names;
  }

  #fill(input, names) {
    const {select} = input;
    const units = (name) => this.#store.find(name)?.unit ?? "";
    const texts = names.map((name) => (units(name) === "" ? name : `${name}, in ${units(name)}`));
    const first = el(
      "option",
      {value: "", disabled: true, selected: true},
      names.length > 0 ? "Choose…" : "Nothing fits",
    );
    select.replaceChildren(first, ...names.map((name, n) => el("option", {value: name}, texts[n])));
    select.disabled = names.length === 0;
    setText(this.#parts.error, names.length > 0 ? "" : nothingFits(this.#inputs.indexOf(input)));
  }

  async #submit(event) {
    event.preventDefault();
    const inputs = this.#inputs.map(({select}) => select.value);
    const size = this.#type.name === "Average" ? Number(this.#parts.size.value) : null;
    this.#parts.create.disabled = true;
    try {
      const {name} = await this.#connection.request({type: "create", math: this.#type.name, inputs, size});
      this.#dialog.close();
      this.#onCreated(name);
    } catch (error) {
      setText(this.#parts.error, error.message);
    }
    this.#parts.create.disabled = false;
  }
}

function nothingFits(place) {
  if (place === 0) return "No reading or result fits here.";
  return "No reading or result fits with the one above: choose another.";
}
