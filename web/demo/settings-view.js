// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";

const LANGUAGES = ["en", "de", "fr", "ja", "sv", "ar"];
const VOLUME = "db/menu/volume";
const ROWS = [
  { key: "db/menu/language", label: "Language", kind: "String", next: (value, by) => LANGUAGES.at((LANGUAGES.indexOf(value) + by) % LANGUAGES.length) },
  { key: VOLUME, label: "Volume", kind: "Integer", next: (value, by) => Math.min(100, Math.max(0, value + by)) },
  { key: "db/menu/subtitles", label: "Subtitles", kind: "Boolean", next: (value) => 1 - value },
  { key: "memory/zelumo/launches", label: "Launches of the app", kind: "Integer", next: (value, by) => Math.max(0, value + by) },
];

/** Settings of the TV: read, written and watched through the plug-in. */
export class SettingsView {
  #chosen = 0;
  #values = new Map();
  #watched = new Set();

  constructor(app) {
    this.app = app;
    this.rows = h("div", { class: "setting-rows", role: "listbox", "aria-label": "Settings" });
    this.element = h(
      "section",
      { class: "view settings", "aria-label": "Settings" },
      h("h2", {}, "Settings"),
      this.rows,
      h("p", { class: "hint" }, "Left and right change a value. A change from elsewhere shows at once."),
    );
  }

  /** Watches the keys and counts this start of the app. */
  watch() {
    const { plugin } = this.app;
    this.#watched.clear();
    for (const { key } of ROWS) if (plugin.ask("AddVconfCallbackWithKey", { key }).code === 0) this.#watched.add(key);
    const launches = plugin.ask("GetIntegerFromVconfWithKey", { key: "memory/zelumo/launches" });
    if (launches.code === 0) plugin.ask("SetIntegerToVconfWithKey", { key: "memory/zelumo/launches", input: launches.data + 1 });
  }

  show() {
    for (const row of ROWS) this.#read(row);
    this.#draw();
  }

  hide() {}

  key(key) {
    if (key === "up" || key === "down") this.#chosen = (this.#chosen + (key === "down" ? 1 : -1) + ROWS.length) % ROWS.length;
    else if (key === "left" || key === "right" || key === "ok") return this.#change(ROWS[this.#chosen], key === "left" ? -1 : 1);
    else return false;
    this.#draw();
    return true;
  }

  /** Changes the volume, from anywhere on the TV. */
  volume(by) {
    const row = ROWS.find(({ key }) => key === VOLUME);
    this.#read(row);
    this.#change(row, by);
    this.app.tell(`Volume ${this.#values.get(VOLUME)}`);
  }

  /** A watched key changed. */
  changed(key) {
    const row = ROWS.find((r) => r.key === key);
    if (!row) return;
    this.#read(row);
    this.#draw();
    const element = this.rows.children[ROWS.indexOf(row)];
    element.classList.add("fresh");
    setTimeout(() => element.classList.remove("fresh"), 1500);
  }

  #read({ key, kind }) {
    const reply = this.app.plugin.ask(`Get${kind}FromVconfWithKey`, { key });
    this.#values.set(key, reply.code === 0 ? reply.data : null);
  }

  #change(row, by) {
    const value = this.#values.get(row.key);
    if (value === null || value === undefined) return true;
    const input = row.next(value, by);
    const reply = this.app.plugin.ask(`Set${row.kind}ToVconfWithKey`, { key: row.key, input });
    if (reply.code !== 0) this.app.tell(`${row.label} can't be written`);
    this.#read(row);
    this.#draw();
    return true;
  }

  #draw() {
    const shown = ({ key, kind }) => {
      const value = this.#values.get(key);
      if (value === null || value === undefined) return "not readable";
      return kind === "Boolean" ? (value ? "On" : "Off") : String(value);
    };
    if (!this.rows.childElementCount) {
      this.rows.append(
        ...ROWS.map((row, i) =>
          h(
            "div",
            { class: "setting", role: "option", onclick: () => this.#pick(i) },
            h("div", {}, h("b", {}, row.label), h("code", {}, row.key)),
            h("span", { class: "watched" }),
            h("button", { type: "button", tabIndex: -1, "aria-label": `${row.label}: less`, onclick: () => this.#pick(i, -1) }, "◀"),
            h("span", { class: "value" }),
            h("button", { type: "button", tabIndex: -1, "aria-label": `${row.label}: more`, onclick: () => this.#pick(i, 1) }, "▶"),
          ),
        ),
      );
    }
    ROWS.forEach((row, i) => {
      const element = this.rows.children[i];
      element.setAttribute("aria-selected", String(i === this.#chosen));
      element.querySelector(".value").textContent = shown(row);
      element.querySelector(".watched").textContent = this.#watched.has(row.key) ? "watched" : "";
    });
  }

  #pick(i, by = 0) {
    this.#chosen = i;
    if (by) this.#change(ROWS[i], by);
    else this.#draw();
    this.app.focus();
  }
}
