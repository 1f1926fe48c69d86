// SPDX-License-Identifier: Apache-2.0
// How long the page takes, measured by itself while it runs.

const kKept = 2400;

/** The newest values of one quantity. */
class Kept {
  #values = new Float64Array(kKept);
  #count = 0;

  add(value) {
    this.#values[this.#count++ % kKept] = value;
  }

  clear() {
    this.#count = 0;
  }

  /** Median and 95 % of what is kept; null while there is nothing. */
  summary() {
    const values = this.#values.slice(0, Math.min(this.#count, kKept)).sort();
    if (values.length === 0) return null;
    const at = (share) => values[Math.min(values.length - 1, Math.floor(share * values.length))];
    return {count: this.#count, median: at(0.5), p95: at(0.95), most: values[values.length - 1]};
  }
}

/** Update: decoding what came since the last picture, and drawing it. Whole: the same and what the browser does with
 *  it, layout and pixels. Picture: from a trace's capture to the frame of the screen after the one that it was drawn
 *  in, by the clocks of both machines. All in milliseconds. */
export class Figures {
  update = new Kept();
  whole = new Kept();
  picture = new Kept();
  frames = 0;
  firstPicture = NaN; // since the page was opened
  #decoding = 0;
  #afterwards = new MessageChannel();
  #begins = [];

  constructor() {
    // A message comes when the frame of the screen that it was sent in is done.
    this.#afterwards.port1.onmessage = () => this.whole.add(performance.now() - this.#begins.shift());
  }

  decoded(time) {
    this.#decoding += time;
    ++this.frames;
  }

  /** A picture took `time` to draw; `captures` are the times of what is new in it, in seconds since the epoch. */
  drawn(time, captures) {
    this.update.add(time + this.#decoding);
    this.#begins.push(performance.now() - time - this.#decoding);
    this.#afterwards.port2.postMessage(null);
    this.#decoding = 0;
    if (captures.length > 0) requestAnimationFrame(() => this.#shown(captures));
  }

  #shown(captures) {
    if (Number.isNaN(this.firstPicture)) this.firstPicture = performance.now();
    const now = performance.timeOrigin + performance.now();
    for (const capture of captures) if (capture > 0) this.picture.add(now - 1000 * capture);
  }

  clear() {
    this.update.clear();
    this.whole.clear();
    this.picture.clear();
    this.frames = 0;
  }

  summary() {
    return {
      update: this.update.summary(),
      whole: this.whole.summary(),
      picture: this.picture.summary(),
      frames: this.frames,
      firstPicture: this.firstPicture,
    };
  }

  /** For people, in a line. */
  text() {
    const update = this.update.summary();
    const picture = this.picture.summary();
    if (!update) return "";
    const parts = [`drawing ${update.median.toFixed(1)} ms (95 %: ${update.p95.toFixed(1)} ms)`];
    if (picture) parts.push(`capture to picture ${picture.median.toFixed(0)} ms`);
    return parts.join(", ");
  }
}
