/**
 * The TV host beside the page: its verbs, its state and its journal.
 * Events: "line" (detail: a journal line), "connection" (detail: whether the journal is connected).
 */
export class Host extends EventTarget {
  #requests = []; // lines in of this page that the journal hasn't shown yet
  #showsRequests = false; // whether the journal shows lines in by itself

  /** Connects the journal, and again whenever it is lost. The promise resolves at the first connection or failure. */
  connect() {
    return new Promise((resolve) => {
      const url = new URL("/journal", location.href);
      url.protocol = url.protocol === "https:" ? "wss:" : "ws:";
      const socket = new WebSocket(url);
      socket.onopen = () => {
        this.#requests = [];
        this.#emit("connection", true);
        resolve();
      };
      socket.onmessage = ({ data }) => this.#receive(JSON.parse(data));
      socket.onclose = () => {
        this.#emit("connection", false);
        setTimeout(() => this.connect(), 1000);
        resolve();
      };
    });
  }

  /** Tells of a line in that this page is about to send. */
  expect(line) {
    if (!this.#showsRequests) this.#requests.push(line);
  }

  /** Runs a verb; gives the line out, or {error}. */
  async do(verb) {
    this.expect(verb);
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

  #emit(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }

  #receive(line) {
    if ("await" in line || "post" in line || "tv" in line) {
      this.#showsRequests = true;
      this.#requests = [];
    } else if (!this.#showsRequests) {
      // A journal of lines out only: this page's own lines in go before what ends them.
      const answered = "reply" in line ? "await" : "did" in line ? "tv" : "message" in line && line.message?.code === 9 ? "post" : "";
      const at = answered ? this.#requests.findIndex((request) => answered in request) : -1;
      if (at >= 0) this.#emit("line", this.#requests.splice(at, 1)[0]);
    }
    this.#emit("line", line);
  }
}
