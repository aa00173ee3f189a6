// SPDX-License-Identifier: Apache-2.0
const RETRY_MS = 1000;

/**
 * The TV host beside the page: its verbs, its state and its journal.
 * Events: "line" (detail: {line, time}, a journal line and when it came, null for one that is older than the connection),
 * "note" (detail: what there is to say about the journal itself), "connection" (detail: whether the journal is connected).
 */
export class Host extends EventTarget {
  #next = 1; // number of the first journal line that hasn't come
  #last = ""; // the line before it, as JSON

  /**
   * Connects the journal, and again whenever it is lost: first come the lines that the host has kept, each once. The promise
   * resolves at the first connection or failure.
   */
  async connect() {
    try {
      await this.#catchUp();
      await this.#listen();
    } catch {
      this.#lost();
    }
  }

  /** Runs a verb; gives the line out, or {error}. */
  async do(verb) {
    try {
      const response = await fetch("/tv", { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(verb) });
      return await response.json();
    } catch {
      return { error: "The TV host can't be reached." };
    }
  }

  /** The TV as it stands, or null. */
  async state() {
    try {
      const response = await fetch("/tv/state");
      return response.ok ? await response.json() : null;
    } catch {
      return null;
    }
  }

  /** Where a real TV comes in, or null. */
  async relayAddress() {
    try {
      const response = await fetch("/tv/relay");
      return response.ok ? (await response.json()).address : null;
    } catch {
      return null;
    }
  }

  // Brings the lines from the next one on. The line before it comes once more, to tell whether this is still the same journal.
  async #catchUp() {
    const known = this.#next - 1;
    let { first, next, lines } = await this.#kept(Math.max(1, known));
    if (known > 0 && (next <= known || (first === known && JSON.stringify(lines[0]) !== this.#last))) {
      this.#next = 1;
      this.#emit("note", "The TV host was started anew");
      ({ first, next, lines } = await this.#kept(1));
    }
    if (first > this.#next) this.#emit("note", `${first - this.#next} earlier lines are no longer kept`);
    for (const line of lines.slice(Math.max(0, this.#next - first))) this.#receive(line, null);
    this.#next = next;
  }

  async #kept(since) {
    return (await fetch(`/journal?since=${since}`)).json();
  }

  #listen() {
    const url = new URL(`/journal?since=${this.#next}`, location.href);
    url.protocol = url.protocol === "https:" ? "wss:" : "ws:";
    const socket = new WebSocket(url);
    return new Promise((resolve) => {
      socket.onopen = () => {
        this.#emit("connection", true);
        resolve();
      };
      socket.onmessage = ({ data }) => {
        this.#receive(JSON.parse(data), new Date());
        this.#next += 1;
      };
      socket.onclose = () => {
        this.#lost();
        resolve();
      };
    });
  }

  #lost() {
    this.#emit("connection", false);
    setTimeout(() => this.connect(), RETRY_MS);
  }

  #receive(line, time) {
    this.#last = JSON.stringify(line);
    this.#emit("line", { line, time });
  }

  #emit(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }
}
