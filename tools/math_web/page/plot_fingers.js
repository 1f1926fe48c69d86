// SPDX-License-Identifier: Apache-2.0

const kStill_px = 8;

/** Fingers on a plot: one moves what is zoomed, and the cursor where all is shown; two zoom. Up and down the page is
 *  scrolled, as everywhere. A tap is not heard here: to the plot browsers tell it as a click of the mouse. */
export class PlotFingers {
  #plot;
  #panel;
  #fingers = new Map();
  #rest = null; // where the only finger went down, while it stays there

  constructor(element, plot, panel) {
    this.#plot = plot;
    this.#panel = panel;
    element.addEventListener("pointerdown", (event) => event.pointerType === "touch" && this.#down(event));
    element.addEventListener("pointermove", (event) => this.#fingers.has(event.pointerId) && this.#move(event));
    for (const end of ["pointerup", "pointercancel"]) // cancelled: the page is scrolled
      element.addEventListener(end, (event) => this.#end(event));
  }

  #down({pointerId, clientX}) {
    this.#fingers.set(pointerId, clientX);
    this.#rest = this.#fingers.size === 1 ? clientX : null;
  }

  #move({pointerId, clientX}) {
    if (this.#rest !== null && Math.abs(clientX - this.#rest) <= kStill_px) return;
    this.#rest = null;
    const before = this.#fingers.get(pointerId);
    this.#fingers.set(pointerId, clientX);
    if (this.#fingers.size > 1) this.#zoom(pointerId, before, clientX);
    else if (this.#panel.isZoomed) this.#panel.panBy(this.#plot.shareAt(before) - this.#plot.shareAt(clientX));
    else this.#panel.putCursor(this.#panel.xAt(clientX));
  }

  // What is under the other finger stays there.
  #zoom(moved, before, now) {
    const other = [...this.#fingers].find(([id]) => id !== moved)[1];
    const factor = Math.abs(before - other) / Math.max(10, Math.abs(now - other));
    this.#panel.zoomBy(Math.min(1.5, Math.max(0.67, factor)), this.#panel.xAt(other));
  }

  #end({pointerId}) {
    this.#fingers.delete(pointerId);
    this.#rest = null;
  }
}
