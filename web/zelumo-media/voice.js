// SPDX-License-Identifier: Apache-2.0
// What the TV host is told of a player.
import { BUFFERING } from "./reports.js";

export class Voice {
  seq = 0; // of the last command that was carried out
  reports = 0; // how many have been told
  detail = ""; // to be said with the next report
  isSilent = false; // nothing is told any more
  #id;
  #tell;
  #status;

  /** Of the player `id`; tell(line) tells the host, status() says how the player stands. */
  constructor(id, tell, status) {
    this.#id = id;
    this.#tell = tell;
    this.#status = status;
  }

  tellStatus(more) {
    if (!this.isSilent) this.#tell({ tv: "media", player: this.#id, status: this.#status(), seq: this.seq, ...more });
  }

  report(type, ...values) {
    this.reports += 1;
    const more = { type, ...Object.fromEntries(values.map((value, i) => [`value${i + 1}`, value])) };
    // What there is to say waits for a report that isn't only of buffering.
    if (this.detail && type !== BUFFERING) {
      more.detail = this.detail;
      this.detail = "";
    }
    this.tellStatus(more);
  }
}
