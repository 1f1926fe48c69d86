// SPDX-License-Identifier: Apache-2.0
import {el} from "./dom.js";

const kShown_ms = 8000;

/** Short notices at the edge of the page, said to screen readers, too. */
export class Notices {
  #host;

  constructor(host) {
    this.#host = host;
  }

  /** Something that went wrong, in a sentence. */
  error(text) {
    const notice = this.#add(text, "notice error");
    setTimeout(() => notice.remove(), kShown_ms);
  }

  /** Something that can be undone within `time_ms`: `undo()` on the button, else `done()` at the end. */
  undoable(text, time_ms, undo, done) {
    const finish = (call) => {
      clearTimeout(timer);
      clearInterval(ticks);
      notice.remove();
      call();
    };
    const left = el("span", {class: "notice-left", "aria-hidden": "true"}, `${time_ms / 1000} s`);
    const button = el("button", {type: "button", on: {click: () => finish(undo)}}, "Undo");
    const notice = this.#add(text, "notice", left, button);
    const end = performance.now() + time_ms;
    const timer = setTimeout(() => finish(done), time_ms);
    const ticks = setInterval(() => {
      left.textContent = `${Math.max(1, Math.ceil((end - performance.now()) / 1000))} s`;
    }, 250);
    return notice;
  }

  #add(text, kind, ...more) {
    const notice = el("div", {class: kind, role: "status"}, el("span", {}, text), ...more);
    this.#host.append(notice);
    while (this.#host.children.length > 5)
      this.#host.querySelector(".error")?.remove() ?? this.#host.firstChild.remove();
    return notice;
  }
}
