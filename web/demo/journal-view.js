// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";

const KEEP = 3000;
const KINDS = [
  ["request", "Requests", "What the page sends"],
  ["reply", "Replies", "What the plug-in answers"],
  ["message", "Messages", "What the plug-in posts"],
  ["tv", "TV", "What the TV does"],
  ["call", "Calls", "The plug-in's calls to the platform"],
  ["log", "Log", "The plug-in's log lines"],
];

export function kindOf(line) {
  if ("await" in line || "post" in line) return "request";
  if ("tv" in line || "did" in line || "error" in line) return "tv";
  return ["reply", "message", "call", "log", "note"].find((kind) => kind in line) ?? "tv";
}

function word(line) {
  return ["await", "post", "tv", "did", "error", "reply", "message", "call", "log", "note"].find((key) => key in line) ?? "line";
}

// What a line says, in short.
function summary(line) {
  if ("log" in line) return line.log;
  if ("note" in line) return line.note;
  if ("call" in line) {
    const result = line.result === null || line.result === undefined ? "" : ` = ${JSON.stringify(line.result)}`;
    const out = line.out?.length ? `, out ${JSON.stringify(line.out)}` : "";
    return `${line.call}(${(line.args ?? []).map((a) => JSON.stringify(a)).join(", ")})${result}${out}`;
  }
  const key = word(line);
  const value = line[key];
  if (key === "tv" || key === "did") {
    const { [key]: verb, ...rest } = line;
    return `${verb} ${Object.keys(rest).length ? JSON.stringify(rest) : ""}`;
  }
  if (value && typeof value === "object" && typeof value.command === "string") {
    const { command, ...rest } = value;
    return `${command || "(no name)"} ${Object.keys(rest).length ? JSON.stringify(rest) : ""}`;
  }
  return JSON.stringify(value);
}

const failed = (line) =>
  (line.reply && typeof line.reply === "object" && line.reply.code > 0) || "error" in line;

/** All that passes between page, plug-in and platform. */
class JournalView extends HTMLElement {
  #entries = []; // {line, text, time}, oldest first; time is null where it isn't known
  #waiting = []; // came while paused, or since the last frame
  #paused = false;
  #frame = 0;
  // The log says in many lines what the other kinds say in one: it is there when it is asked for.
  #shown = new Set(KINDS.map(([kind]) => kind).filter((kind) => kind !== "log"));
  #words = "";
  #opened = null; // the row whose detail was opened last

  start(host) {
    const toggle = (kind) => {
      if (!this.#shown.delete(kind)) this.#shown.add(kind);
      this.#filter();
    };
    this.list = h("ol", { class: "lines", tabIndex: 0, "aria-label": "Journal", role: "log" });
    this.count = h("span", { class: "count", title: "Lines that are shown, of all" });
    this.pauseButton = h("button", { type: "button", class: "quiet", "aria-pressed": "false", onclick: () => this.#pause() }, "Pause");
    this.append(
      h(
        "div",
        { class: "toolbar" },
        h("h2", {}, "Journal"),
        h(
          "div",
          { class: "kinds", role: "group", "aria-label": "Kinds" },
          KINDS.map(([kind, label, about]) =>
            h(
              "button",
              {
                type: "button",
                class: `kind ${kind}`,
                title: about,
                "aria-pressed": String(this.#shown.has(kind)),
                onclick: ({ currentTarget }) => {
                  toggle(kind);
                  currentTarget.setAttribute("aria-pressed", String(this.#shown.has(kind)));
                },
              },
              label,
            ),
          ),
        ),
        h("input", {
          type: "search",
          placeholder: "Search",
          "aria-label": "Search the journal",
          oninput: ({ currentTarget }) => {
            this.#words = currentTarget.value.toLowerCase();
            this.#filter();
          },
        }),
        this.count,
        h(
          "div",
          { class: "buttons" },
          this.pauseButton,
          h("button", { type: "button", class: "quiet", onclick: () => this.clear() }, "Clear"),
          h("button", { type: "button", class: "quiet", title: "Saves the lines that are shown as a script", onclick: () => this.#save() }, "Save"),
        ),
      ),
      this.list,
    );
    host.addEventListener("line", ({ detail: { line, time } }) => this.add(line, time));
    host.addEventListener("note", ({ detail }) => this.add({ note: detail }, null));
    this.#draw();
  }

  add(line, time) {
    this.#waiting.push({ line, text: JSON.stringify(line).toLowerCase(), time });
    if (this.#waiting.length > KEEP) this.#waiting.shift();
    this.#frame ||= requestAnimationFrame(() => {
      this.#frame = 0;
      this.#draw();
    });
  }

  clear() {
    this.#entries = [];
    this.#waiting = [];
    this.list.replaceChildren();
    this.#draw();
  }

  /** The shown lines, as a script. */
  script() {
    return this.#entries.filter((entry) => !("note" in entry.line) && this.#matches(entry)).map(({ line }) => `${JSON.stringify(line)}\n`).join("");
  }

  #matches({ line, text }) {
    return ("note" in line || this.#shown.has(kindOf(line))) && (!this.#words || text.includes(this.#words));
  }

  #draw() {
    if (!this.#paused && this.#waiting.length) {
      const follows = this.list.scrollTop + this.list.clientHeight >= this.list.scrollHeight - 30 && !this.#reading();
      const rows = this.#waiting.slice(-KEEP).map((entry) => this.#row(entry));
      this.#entries.push(...this.#waiting);
      this.#waiting = [];
      const extra = Math.max(0, this.#entries.length - KEEP);
      this.#entries.splice(0, extra);
      while (this.list.childElementCount + rows.length > KEEP) this.list.firstChild.remove();
      this.list.append(...rows);
      if (follows) this.list.scrollTop = this.list.scrollHeight;
    }
    const shown = this.#entries.filter((entry) => this.#matches(entry)).length;
    const waiting = this.#paused && this.#waiting.length ? `, ${this.#waiting.length} waiting` : "";
    this.count.textContent = `${shown === this.#entries.length ? shown : `${shown} of ${this.#entries.length}`}${waiting}`;
  }

  // Whether the detail that was opened last is still open and in sight: then new lines don't push it away.
  #reading() {
    if (!this.#opened?.isConnected || this.#opened.hidden || !this.#opened.querySelector("pre:not([hidden])")) return false;
    const [row, list] = [this.#opened, this.list].map((element) => element.getBoundingClientRect());
    return row.bottom > list.top && row.top < list.bottom;
  }

  #row(entry) {
    const { line, time } = entry;
    const two = (n, width = 2) => String(n).padStart(width, "0");
    const stamp = time ? `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}.${two(time.getMilliseconds(), 3)}` : "";
    const text = h("button", { type: "button", class: "text", "aria-expanded": "false" }, summary(line));
    const row = h(
      "li",
      { class: `${kindOf(line)}${failed(line) ? " bad" : ""}`, hidden: !this.#matches(entry) },
      h("time", { title: time ? null : "Before this window was connected" }, stamp || "earlier"),
      h("span", { class: "word" }, word(line)),
      text,
    );
    text.addEventListener("click", () => {
      let detail = row.querySelector("pre");
      if (detail) detail.hidden = !detail.hidden;
      else row.append((detail = h("pre", {}, JSON.stringify(line, null, 2))));
      text.setAttribute("aria-expanded", String(!detail.hidden));
      if (detail.hidden) return;
      this.#opened = row;
      row.scrollIntoView({ block: "nearest" });
    });
    return row;
  }

  #filter() {
    this.#entries.forEach((entry, i) => (this.list.children[i].hidden = !this.#matches(entry)));
    this.list.scrollTop = this.list.scrollHeight;
    this.#draw();
  }

  #pause() {
    this.#paused = !this.#paused;
    this.pauseButton.textContent = this.#paused ? "Go on" : "Pause";
    this.pauseButton.setAttribute("aria-pressed", String(this.#paused));
    this.#draw();
  }

  #save() {
    const url = URL.createObjectURL(new Blob([this.script()], { type: "application/jsonl" }));
    h("a", { href: url, download: "zelumo-journal.jsonl" }).click();
    setTimeout(() => URL.revokeObjectURL(url), 10_000);
  }
}

customElements.define("journal-view", JournalView);
