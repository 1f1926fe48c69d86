// SPDX-License-Identifier: Apache-2.0

const kFine = 1 / 200;
const kCoarse = 1 / 20;

/** Keyboard and wheel on a plot: the cursor by the arrow keys, zoom by plus, minus, 0 and Ctrl with the wheel,
 *  moving by Shift with the arrows or the wheel. */
export class PlotKeys {
  #panel;

  constructor(element, panel) {
    this.#panel = panel;
    element.addEventListener("keydown", (event) => this.#key(event));
    element.addEventListener("wheel", (event) => this.#wheel(event), {passive: false});
    element.addEventListener("dblclick", () => panel.zoomOut());
  }

  #key(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const call = this.#callOf(event);
    if (!call) return;
    call();
    event.preventDefault();
    event.stopPropagation();
  }

  #callOf({key, shiftKey}) {
    const panel = this.#panel;
    const at = panel.cursor ?? undefined;
    const direction = key === "ArrowRight" ? 1 : -1;
    if (key === "ArrowLeft" || key === "ArrowRight")
      return shiftKey ? () => panel.panBy(0.1 * direction) : () => this.#moveCursor(kFine * direction);
    if (key === "PageUp" || key === "PageDown") return () => this.#moveCursor(key === "PageUp" ? -kCoarse : kCoarse);
    if (key === "Home" || key === "End") return () => this.#moveCursor(key === "Home" ? -1 : 1);
    if (key === "+" || key === "=") return () => panel.zoomBy(0.5, at);
    if (key === "-") return () => panel.zoomBy(2, at);
    if (key === "0") return () => panel.zoomOut();
    if (key === "Escape" && panel.cursor !== null) return () => this.#putCursor(null);
    return null;
  }

  #moveCursor(share) {
    const {from, to} = this.#panel.shown;
    const now = this.#panel.cursor ?? (from + to) / 2;
    this.#putCursor(Math.min(to, Math.max(from, now + share * (to - from))));
  }

  #putCursor(x) {
    this.#panel.putCursor(x);
    this.#panel.sayCursor();
  }

  // Without Ctrl or Shift the wheel moves the page, as everywhere.
  #wheel(event) {
    if (!event.ctrlKey && !event.shiftKey) return;
    event.preventDefault();
    const by = event.deltaY || event.deltaX;
    if (event.ctrlKey) this.#panel.zoomBy(by > 0 ? 1.25 : 0.8, this.#panel.xAt(event.clientX));
    else this.#panel.panBy(by > 0 ? 0.1 : -0.1);
  }
}
