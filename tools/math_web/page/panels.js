// SPDX-License-Identifier: Apache-2.0
import {el, setShown} from "./dom.js";
import {Slots} from "./marks.js";
import {onTheme} from "./theme.js";
import {TracePanel} from "./trace_panel.js";
import {TraceView} from "./trace_view.js";
import {ValuePanel} from "./value_panel.js";
import {ValueView} from "./value_view.js";

const kHolds = ["none", "present", "extremes"];
const kFirstColumns = 1024;

/** The pictures: what is chosen, in panels by unit, drawn once a frame of the screen at most. */
export class Panels {
  settings = {hold: "none", peak: false, isPaused: false, scaleTo: (name) => this.#store.find(name)?.scale_to ?? null};
  #host;
  #streams;
  #store;
  #figures;
  #actions;
  #views = new Map();
  #panels = new Map();
  #slots = new Slots();
  #waiting = el("ul", {class: "waiting", "aria-label": "Waiting for a first sample"});
  #isAsked = false;
  #awaited = ""; // a name whose panel is to come into sight

  /** `actions`: onRemove(name), onCsv(name). */
  constructor(host, streams, store, figures, actions) {
    this.#host = host;
    this.#streams = streams;
    this.#store = store;
    this.#figures = figures;
    this.#actions = actions;
    host.append(this.#waiting);
    onTheme(() => this.#repaint());
    setInterval(() => this.#tell(), 1000);
  }

  /** Shows exactly `names`, as far as `items` ([{name, kind}]) tells what they are. What is shown already stays with
   *  its last values when nobody offers it any more. */
  show(names, items) {
    for (const [name, view] of this.#views) if (!names.includes(name)) this.#close(name, view);
    this.#slots.keep(names);
    for (const name of names) this.#slots.of(name); // colours in the order of the names, whatever comes first
    for (const {name, kind} of items) if (!this.#views.has(name)) this.#open(name, kind);
    setShown(this.#waiting, this.#waiting.children.length > 0);
  }

  /** In the order of what was chosen. */
  get panels() {
    return [...this.#panels.values()].sort((a, b) => a.views[0].slot - b.views[0].slot);
  }

  get views() {
    return [...this.#views.values()];
  }

  /** The panel that the keyboard means: the one with the focus, else the first with traces. */
  get focused() {
    const panels = this.panels;
    return (
      panels.find((panel) => panel.element.contains(document.activeElement)) ??
      panels.find((panel) => panel instanceof TracePanel) ??
      panels[0]
    );
  }

  setPaused(isPaused) {
    this.settings.isPaused = isPaused;
    this.#redraw();
  }

  setPeak(peak) {
    this.settings.peak = peak;
    this.#redraw();
    this.#tell();
  }

  /** none; present: the curves of now stay as shadows; extremes: the smallest and greatest since then do. */
  setHold(hold) {
    if (!kHolds.includes(hold)) return;
    this.settings.hold = hold;
    for (const view of this.#views.values()) {
      if (hold === "none") view.endHold?.();
      else view.beginHold?.();
    }
    this.#redraw();
  }

  /** Scrolls to where a name is shown, as soon as it is. */
  reveal(name) {
    const panel = this.#views.get(name)?.panel;
    this.#awaited = panel ? "" : name;
    panel?.element.scrollIntoView({block: "nearest"});
  }

  /** Draws and writes what waits to be, at once: picture and words are of one moment then. */
  settle() {
    this.#draw();
    for (const panel of this.panels) panel.tell();
  }

  toggleWaterfall(view) {
    view.panel?.toggleWaterfall?.(view, this.#streams);
  }

  #open(name, kind) {
    const actions = {
      describe: (of) => descriptionOf(this.#store.find(of)),
      onFrame: (view) => this.#place(view),
      onRemove: (view) => this.#actions.onRemove(view.name),
      onCsv: (view) => this.#actions.onCsv(view.name),
      onWaterfall: (view) => this.toggleWaterfall(view),
    };
    const slot = this.#slots.of(name);
    const view =
      kind === "trace"
        ? new TraceView(name, slot, this.#streams, this.#columns(), actions)
        : new ValueView(name, slot, this.#streams, actions);
    this.#views.set(name, view);
    this.#waiting.append(view.element);
    view.paintKey();
    view.tell(null, false);
  }

  #close(name, view) {
    this.#views.delete(name);
    view.close();
    if (view.panel) this.#leave(view);
  }

  // A panel for each unit over each axis: what has one unit can be compared by eye.
  #place(view) {
    if (view.sample) {
      const key = view.panelKey;
      if (view.panel?.key !== key) this.#move(view, key, view instanceof TraceView ? TracePanel : ValuePanel);
      setShown(this.#waiting, this.#waiting.children.length > 0);
    } else {
      view.tell(null, false);
    }
    this.#ask();
  }

  #move(view, key, Panel) {
    const waterfall = view.waterfall;
    if (view.panel) this.#leave(view);
    if (!this.#panels.has(key)) {
      const panel = new Panel(this.settings, () => this.#ask());
      panel.key = key;
      this.#host.append(panel.element);
      this.#panels.set(key, panel);
      panel.begin();
    }
    this.#panels.get(key).add(view);
    this.#order();
    if (waterfall) this.#panels.get(key).adopt(waterfall);
    if (this.#awaited === view.name) this.reveal(view.name);
  }

  // What stands in its place is not moved: it may have the focus.
  #order() {
    this.panels.forEach(({element}, i) => {
      const now = this.#host.children[i + 1]; // behind those that wait
      if (now !== element) this.#host.insertBefore(element, now);
    });
  }

  #leave(view) {
    const {panel} = view;
    panel.remove(view);
    view.panel = null;
    if (panel.views.length > 0) {
      this.#order();
      return;
    }
    this.#panels.delete(panel.key);
    panel.close();
  }

  #columns() {
    const panel = this.panels.find((one) => one instanceof TracePanel);
    const width = Math.round(this.#host.clientWidth * (window.devicePixelRatio || 1));
    return panel ? panel.plot.columns : Math.min(8192, width) || kFirstColumns;
  }

  #ask() {
    if (this.#isAsked) return;
    this.#isAsked = true;
    requestAnimationFrame(() => this.#draw());
  }

  #draw() {
    this.#isAsked = false;
    const begin = performance.now();
    const captures = this.panels.flatMap((panel) => panel.draw());
    this.#figures.drawn(performance.now() - begin, captures);
  }

  #redraw() {
    for (const panel of this.panels) panel.dirty();
  }

  #repaint() {
    for (const view of this.#views.values()) view.paintKey();
    this.#redraw();
  }

  #tell() {
    for (const panel of this.panels) panel.tell();
    for (const view of this.#views.values()) if (!view.panel) view.tell(null, false);
  }
}

/** "Average of PROBE/1/WAKEUP" of a math object, nothing of a reading. */
function descriptionOf(item) {
  return item?.math ? `${item.math} of ${item.inputs.join(", ")}` : "";
}
