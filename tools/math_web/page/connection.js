// SPDX-License-Identifier: Apache-2.0

const kSubProtocol = "lumenar.1";
const kFirstPause_ms = 250;
const kLongestPause_ms = 2000;
// The server says its state every five seconds at least.
const kSilence_ms = 12000;

/** The WebSocket to the server. It connects again by itself, always. Events: `open`, `away` (detail: what is known of
 *  why), `text` (detail: the message, decoded), `bytes` (detail: an ArrayBuffer).
 *  Requests that wait when the connection goes are refused with a sentence. */
export class Connection extends EventTarget {
  #token;
  #socket = null;
  #waiting = new Map();
  #lastRequest = 0;
  #pause_ms = kFirstPause_ms;
  #heard = 0;
  #isOpen = false;

  constructor(token) {
    super();
    this.#token = token;
    setInterval(() => this.#lookForSilence(), 1000);
    window.addEventListener("online", () => this.#isOpen || this.#socket?.close());
  }

  get isOpen() {
    return this.#isOpen;
  }

  connect() {
    const protocols = this.#token ? [kSubProtocol, `lumenar.token.${this.#token}`] : [kSubProtocol];
    const address = new URL("/live", location.href);
    address.protocol = location.protocol === "https:" ? "wss:" : "ws:";
    address.hash = "";
    const socket = new WebSocket(address, protocols);
    socket.binaryType = "arraybuffer";
    socket.addEventListener("open", () => this.#opened());
    socket.addEventListener("message", (event) => this.#took(event.data));
    socket.addEventListener("close", (event) => this.#closed(event.reason));
    this.#socket = socket;
    this.#heard = performance.now();
  }

  /** Sends a message; nothing while the connection is away. */
  send(message) {
    if (this.#isOpen) this.#socket.send(JSON.stringify(message));
  }

  /** Sends a message and gives the answer. Errors   Error with the server's sentence. */
  request(message) {
    if (!this.#isOpen) return Promise.reject(new Error("the connection is away"));
    const request = ++this.#lastRequest;
    return new Promise((resolve, reject) => {
      this.#waiting.set(request, {resolve, reject});
      this.send({...message, request});
    });
  }

  #opened() {
    this.#isOpen = true;
    this.#pause_ms = kFirstPause_ms;
    this.dispatchEvent(new Event("open"));
  }

  #took(data) {
    this.#heard = performance.now();
    if (data instanceof ArrayBuffer) {
      this.dispatchEvent(new CustomEvent("bytes", {detail: data}));
      return;
    }
    const message = JSON.parse(data);
    if (message.type === "answer") this.#answered(message);
    else this.dispatchEvent(new CustomEvent("text", {detail: message}));
  }

  #answered(message) {
    const waiting = this.#waiting.get(message.request);
    this.#waiting.delete(message.request);
    if (message.ok) waiting?.resolve(message);
    else waiting?.reject(new Error(message.error || "refused without a reason"));
  }

  #closed(reason) {
    this.#isOpen = false;
    for (const {reject} of this.#waiting.values()) reject(new Error("the connection went away before the answer"));
    this.#waiting.clear();
    this.dispatchEvent(new CustomEvent("away", {detail: reason || ""}));
    setTimeout(() => this.connect(), this.#pause_ms);
    this.#pause_ms = Math.min(2 * this.#pause_ms, kLongestPause_ms);
  }

  // A cable that is pulled tells nobody.
  #lookForSilence() {
    if (this.#isOpen && performance.now() - this.#heard > kSilence_ms) this.#socket.close();
  }
}
