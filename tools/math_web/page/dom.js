// SPDX-License-Identifier: Apache-2.0
// Making and changing elements of the page.

/** An element with properties and children. `props` are properties of the element, but for: `class`, `data` (an object
 *  of data attributes), `on` (an object of listeners) and names with a hyphen or `role`, which are attributes.
 *  Texts become text nodes: nothing that a server says is ever read as HTML. */
export function el(tag, props = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(props)) setProperty(element, name, value);
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

/** A button with a name for those who do not see it, which others see as a hint. */
export function button(text, label, call, kind = "") {
  return el("button", {type: "button", class: kind, "aria-label": label, title: label, on: {click: call}}, text);
}

function setProperty(element, name, value) {
  if (value === undefined || value === null) return;
  if (name === "class") element.className = value;
  else if (name === "data") Object.assign(element.dataset, value);
  else if (name === "on") for (const [type, call] of Object.entries(value)) element.addEventListener(type, call);
  else if (name.includes("-") || name === "role" || name === "for") element.setAttribute(name, value);
  else element[name] = value;
}

/** Changes the text of an element where it differs: a text that stays costs no layout. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Shows or hides an element. */
export function setShown(element, shown) {
  if (element.hidden === shown) element.hidden = !shown;
}

/** Children of `parent` that follow `keys`: those that are there stay (with what is typed into them), those that are
 *  missing are made by `make(key)`, others go. */
export function keepChildren(parent, keys, make) {
  const present = new Map([...parent.children].map((child) => [child.dataset.key, child]));
  let before = parent.firstElementChild;
  for (const key of keys) {
    let child = present.get(key);
    present.delete(key);
    if (!child) {
      child = make(key);
      child.dataset.key = key;
    }
    if (child === before) before = before.nextElementSibling;
    else parent.insertBefore(child, before);
  }
  for (const child of present.values()) child.remove();
}

/** Gives `blob` to the user as a file. */
export function download(blob, name) {
  const link = el("a", {href: URL.createObjectURL(blob), download: name});
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}
