// SPDX-License-Identifier: Apache-2.0
// What happened at a TV: the host's journal, line by line.
import { checkCall } from "./api.js";
import { messageFilter } from "./match.js";
import { listen } from "./web.js";

/** What a line is. A verb may be about a call. */
export const is = {
  call: (line) => "call" in line && !("tv" in line),
  message: (line) => "message" in line,
  reply: (line) => "reply" in line,
  sent: (line) => "await" in line || "post" in line,
};

/**
 * Keeps the journal. Lines come by a WebSocket, and what has not come yet is asked for whenever somebody looks, so that what
 * is seen is what happened until then.
 */
export class JournalKeeper {
  lines = [];
  begin = 0; // where the test began
  #host;
  #received = 0;
  #listeners = new Set();
  #stop;
  #ended = false;

  constructor(host) {
    this.#host = host;
  }

  async connect() {
    this.#stop = await listen(this.#host.url, "/journal?since=1", (text) => {
      if (++this.#received > this.lines.length) this.#add([JSON.parse(text)]);
    }).catch(this.#host.explain);
  }

  /** No more lines come. */
  end() {
    this.#ended = true;
    this.#stop?.();
    for (const listener of [...this.#listeners]) listener();
  }

  get ended() {
    return this.#ended;
  }

  #add(lines) {
    if (!lines.length) return;
    this.lines.push(...lines);
    for (const listener of [...this.#listeners]) listener();
  }

  // Where the host has forgotten some of them, all come by the WebSocket.
  #take({ first, lines }) {
    const had = this.lines.length + 1 - first;
    if (had >= 0) this.#add(lines.slice(had));
  }

  /** All that happened until now is there; this thread stands still meanwhile. */
  catchUp() {
    if (!this.#ended) this.#take(JSON.parse(this.#host.getNow(`/journal?since=${this.lines.length + 1}`)));
  }

  async caughtUp() {
    this.#host.checkRuns();
    if (this.#ended) return;
    const { json } = await this.#host.request("GET", `/journal?since=${this.lines.length + 1}`);
    this.#take(json);
  }

  /** Calls `listener` after each change; gives what ends that. */
  listen(listener) {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  sinceBegin() {
    return this.lines.slice(this.begin);
  }
}

/** The journal as a test reads it: since the test began, each line as the host writes it. */
export class Journal {
  #keeper;

  constructor(keeper) {
    this.#keeper = keeper;
  }

  all() {
    this.#keeper.catchUp();
    return this.#keeper.sinceBegin();
  }

  filter(predicate) {
    return this.all().filter(predicate);
  }

  calls(name) {
    if (name !== undefined) checkCall(name);
    return this.filter((line) => is.call(line) && (name === undefined || line.call === name));
  }

  messages(filter) {
    const fits = messageFilter(filter);
    return this.filter((line) => is.message(line) && fits(line.message));
  }

  replies() {
    return this.filter(is.reply);
  }
}
