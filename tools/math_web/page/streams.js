// SPDX-License-Identifier: Apache-2.0
import {decodeFrame} from "./protocol.js";

/** What the page has subscribed to. Each stream gives its newest sample to `onSample(sample)`: a decoded frame of a
 *  trace, or the message of a scalar or a number; the server sends the next one after `ready`. Streams outlive the
 *  connection: they are made again when it is back. */
export class Streams {
  #connection;
  #figures;
  #streams = new Map();
  #last = 0;

  constructor(connection, figures) {
    this.#connection = connection;
    this.#figures = figures;
    connection.addEventListener("bytes", (event) => this.#tookBytes(event.detail));
    connection.addEventListener("text", (event) => this.#tookText(event.detail));
  }

  /** `view`: columns, from, to, scale, as the server is to thin. `handlers`: onSample, and onEnd(reason). */
  open(name, view, handlers) {
    const stream = new Stream(++this.#last, name, view, handlers, this.#connection, () =>
      this.#streams.delete(stream.number),
    );
    this.#streams.set(stream.number, stream);
    stream.subscribe();
    return stream;
  }

  /** Subscribes to everything again. */
  renew() {
    for (const stream of this.#streams.values()) stream.subscribe();
  }

  /** Tries again what had ended and is there now. */
  renewEnded(isThere) {
    for (const stream of this.#streams.values()) if (stream.ended && isThere(stream.name)) stream.subscribe();
  }

  #tookBytes(buffer) {
    const begin = performance.now();
    const frame = decodeFrame(buffer);
    const stream = this.#streams.get(frame.stream);
    stream?.took(stream.withUnits(frame));
    this.#figures.decoded(performance.now() - begin);
  }

  #tookText(message) {
    const stream = this.#streams.get(message.stream);
    if (!stream) return;
    if (message.type === "scalar" || message.type === "long") stream.took(message);
    if (message.type === "units") stream.units = {yUnit: message.y, xUnit: message.x};
    if (message.type === "ended") stream.end(message.reason);
  }
}

/** One subscription. */
class Stream {
  #connection;
  #handlers;
  #forget;
  #view;
  #owesReady = false;
  ended = "";
  units = null;

  constructor(number, name, view, handlers, connection, forget) {
    this.number = number;
    this.name = name;
    this.#view = view;
    this.#handlers = handlers;
    this.#connection = connection;
    this.#forget = forget;
  }

  get view() {
    return this.#view;
  }

  subscribe() {
    this.ended = "";
    if (!this.#connection.isOpen) return;
    const message = {type: "subscribe", stream: this.number, name: this.name, ...this.#view};
    this.#connection.request(message).catch((error) => this.end(error.message));
  }

  /** Other columns, another range or scale; asks the server, and says so, only where something differs. */
  change(view) {
    const changed = {...this.#view, ...view};
    if (Object.keys(changed).every((key) => changed[key] === this.#view[key])) return false;
    this.#view = changed;
    this.subscribe();
    return true;
  }

  took(sample) {
    this.#owesReady = true;
    this.ended = "";
    this.#handlers.onSample(sample);
  }

  /** Long units come in a message before the frame, whose field is empty then. */
  withUnits(frame) {
    if (!this.units) return frame;
    const full = {...frame, yUnit: frame.yUnit || this.units.yUnit, xUnit: frame.xUnit || this.units.xUnit};
    if (frame.yUnit && frame.xUnit) this.units = null;
    return full;
  }

  /** The last sample is drawn: the next may come. */
  ready() {
    if (!this.#owesReady) return;
    this.#owesReady = false;
    this.#connection.send({type: "ready", stream: this.number});
  }

  end(reason) {
    this.ended = reason || "ended";
    this.#handlers.onEnd(this.ended);
  }

  close() {
    this.#forget();
    this.#connection.send({type: "unsubscribe", stream: this.number});
  }
}
