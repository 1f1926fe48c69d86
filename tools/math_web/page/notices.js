// SPDX-License-Identifier: Apache-2.0
import {el} from "./dom.js";

const kShown_ms = 8000;
const kDone_ms = 4000;
const kMost = 5;

/** Short notices at the edge of the page, said to screen readers, too: `host` is a live region. */
export class Notices {
  #host;

  constructor(host) {
    this.#host = host;
  }

  /** Something that went wrong, in a sentence. */
  error(text) {
    this.#show(text, "notice error", kShown_ms);
  }

  /** Something that was asked for and is done. */
  done(text) {
    this.#show(text, "notice done", kDone_ms);
  }

  /** Something that can be undone within `time_ms`: by the button or by the function that is returned, `undo()`; else
   *  `done()` at the end. */
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
    return () => finish(undo);
  }

  #show(text, kind, time_ms) {
    const notice = this.#add(text, kind);
    setTimeout(() => notice.remove(), time_ms);
  }

  #add(text, kind, ...more) {
    const notice = el("div", {class: kind}, el("span", {}, text), ...more);
    this.#host.append(notice);
    // What can be undone stays: it goes by itself.
    const short = [...this.#host.querySelectorAll(".error, .done")];
    while (this.#host.children.length > kMost && short.length > 0) short.shift().remove();
    return notice;
  }
}
