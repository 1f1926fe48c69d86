// SPDX-License-Identifier: Apache-2.0

const kFine = 1 / 200;
const kCoarse = 1 / 20;

/** Keyboard, wheel and fingers on a plot: the cursor by the arrow keys, zoom by plus, minus, 0, Ctrl with the wheel and
 *  two fingers, moving by Shift with the arrows or the wheel, and one finger where it is zoomed. */
export class PlotKeys {
  #plot;
  #panel;
  #fingers = new Map();

  constructor(element, plot, panel) {
    this.#plot = plot;
    this.#panel = panel;
    element.addEventListener("keydown", (event) => this.#key(event));
    element.addEventListener("wheel", (event) => this.#wheel(event), {passive: false});
    element.addEventListener("dblclick", () => panel.zoomOut());
    element.addEventListener("pointerdown", (event) => this.#down(event), {capture: true});
    element.addEventListener("pointermove", (event) => this.#move(event));
    for (const end of ["pointerup", "pointercancel", "pointerleave"])
      element.addEventListener(end, (event) => this.#fingers.delete(event.pointerId));
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
    this.#plot.setCursor(x);
    this.#panel.setCursor(x);
  }

  // Without Ctrl or Shift the wheel moves the page, as everywhere.
  #wheel(event) {
    if (!event.ctrlKey && !event.shiftKey) return;
    event.preventDefault();
    const by = event.deltaY || event.deltaX;
    if (event.ctrlKey) this.#panel.zoomBy(by > 0 ? 1.25 : 0.8, this.#plot.xAt(event.clientX));
    else this.#panel.panBy(by > 0 ? 0.1 : -0.1);
  }

  #down(event) {
    if (event.pointerType !== "touch") return;
    this.#fingers.set(event.pointerId, event.clientX);
    this.#panel.setCursor(this.#plot.xAt(event.clientX));
  }

  #move(event) {
    const before = this.#fingers.get(event.pointerId);
    if (before === undefined) return;
    const {from, to} = this.#panel.shown;
    if (this.#fingers.size === 1) {
      const moved = this.#plot.xAt(before) - this.#plot.xAt(event.clientX);
      this.#panel.panBy(moved / (to - from));
    } else {
      const other = [...this.#fingers].find(([id]) => id !== event.pointerId)[1];
      const factor = Math.abs(before - other) / Math.max(10, Math.abs(event.clientX - other));
      this.#panel.zoomBy(Math.min(1.5, Math.max(0.67, factor)), this.#plot.xAt(other));
    }
    this.#fingers.set(event.pointerId, event.clientX);
  }
}
