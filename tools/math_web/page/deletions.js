// SPDX-License-Identifier: Apache-2.0

const kUndo_ms = 5000;

/** Deleting math objects, with five seconds to think again: only then the server is asked. A page that is closed
 *  before deletes nothing. */
export class Deletions {
  #going = new Map(); // names, and what takes each back; null when it is too late
  #connection;
  #notices;
  #actions;

  /** `actions`: onChange(), onDeleted(name). */
  constructor(connection, notices, actions) {
    this.#connection = connection;
    this.#notices = notices;
    this.#actions = actions;
  }

  /** Whether an object is about to go. */
  has(name) {
    return this.#going.has(name);
  }

  begin(name) {
    if (this.#going.has(name)) return;
    const undo = this.#notices.undoable(
      `${name} will be deleted`,
      kUndo_ms,
      () => this.#forget(name),
      () => this.#ask(name),
    );
    this.#going.set(name, undo);
    this.#actions.onChange();
  }

  /** Takes it back, where it is not too late. */
  undo(name) {
    this.#going.get(name)?.();
  }

  async #ask(name) {
    this.#going.set(name, null);
    try {
      await this.#connection.request({type: "delete", name});
      this.#actions.onDeleted(name);
    } catch (error) {
      this.#notices.error(`${name} was not deleted: ${error.message}`);
    }
    // Until the next state, which does not have it any more, it goes on to be shown as going.
    setTimeout(() => this.#forget(name), 2000);
  }

  #forget(name) {
    this.#going.delete(name);
    this.#actions.onChange();
  }
}
