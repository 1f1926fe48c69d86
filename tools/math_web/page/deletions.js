// SPDX-License-Identifier: Apache-2.0

const kUndo_ms = 5000;

/** Deleting math objects, with five seconds to think again: only then the server is asked. A page that is closed
 *  before deletes nothing. */
export class Deletions {
  #going = new Set();
  #connection;
  #notices;
  #onChange;

  constructor(connection, notices, onChange) {
    this.#connection = connection;
    this.#notices = notices;
    this.#onChange = onChange;
  }

  /** Whether an object is about to go. */
  has(name) {
    return this.#going.has(name);
  }

  begin(name) {
    if (this.#going.has(name)) return;
    this.#going.add(name);
    this.#notices.undoable(
      `${name} will be deleted`,
      kUndo_ms,
      () => this.#forget(name),
      () => this.#ask(name),
    );
    this.#onChange();
  }

  async #ask(name) {
    try {
      await this.#connection.request({type: "delete", name});
    } catch (error) {
      this.#notices.error(`${name} was not deleted: ${error.message}`);
    }
    // Until the next state, which does not have it any more, it goes on to be shown as going.
    setTimeout(() => this.#forget(name), 2000);
  }

  #forget(name) {
    this.#going.delete(name);
    this.#onChange();
  }
}
