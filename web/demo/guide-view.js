// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { channelNumber, clock } from "./format.js";

const ROWS = 6;
const MINUTE_MS = 60_000;
const SLOT_MS = 30 * MINUTE_MS;
const SPAN_MS = 5 * SLOT_MS;

/** The guide: channels down, time across. */
export class GuideView {
  #row = 0; // chosen channel
  #first = 0; // channel at the top
  #from = 0; // time at the left edge
  #at = 0; // time of the chosen programme
  #chosen = null;
  #programs = new Map(); // channel and span -> programmes
  #minute = 0; // that is drawn

  constructor(app) {
    this.app = app;
    this.detail = h("div", { class: "guide-detail" });
    this.grid = h("div", { class: "guide-grid", role: "grid", "aria-label": "Programmes" });
    this.element = h("section", { class: "view guide", "aria-label": "Guide" }, this.detail, this.grid);
  }

  show() {
    this.#programs.clear();
    const now = this.app.now();
    this.#from = Math.floor(now / SLOT_MS) * SLOT_MS;
    this.#at = now;
    this.#row = Math.max(0, this.app.channels.findIndex(({ id }) => id === this.app.current?.id));
    this.#draw();
  }

  hide() {}

  /** Once a minute: what was on goes, and what is chosen with it. A date that is set back begins anew. */
  tick(now) {
    const minute = Math.floor(now / MINUTE_MS);
    if (minute === this.#minute) return;
    const back = minute < this.#minute;
    const slot = Math.floor(now / SLOT_MS) * SLOT_MS;
    this.#from = back ? slot : Math.max(this.#from, slot);
    if (back || this.#at < now) this.#at = now;
    this.#draw();
  }

  key(key) {
    const { channels } = this.app;
    if (!channels.length) return false;
    if (key === "up" || key === "down") this.#row = (this.#row + (key === "down" ? 1 : -1) + channels.length) % channels.length;
    else if (key === "right" && this.#chosen) this.#at = this.#chosen.endTime;
    else if (key === "left") this.#earlier();
    else if (key === "ok") return this.#act();
    else return key !== "back";
    const slot = Math.floor(this.#at / SLOT_MS) * SLOT_MS;
    if (this.#at >= this.#from + SPAN_MS) this.#from = slot - SPAN_MS + 2 * SLOT_MS;
    if (this.#at < this.#from) this.#from = Math.max(slot, Math.floor(this.app.now() / SLOT_MS) * SLOT_MS);
    this.#draw();
    return true;
  }

  // To the programme before the chosen one; the present one is the first.
  #earlier() {
    const now = this.app.now();
    if (!this.#chosen || this.#chosen.startTime <= now) return;
    const before = this.#chosen.startTime - 1;
    const program = this.#list(this.app.channels[this.#row]).find((p) => p.startTime <= before && before < p.endTime);
    this.#at = program && program.startTime <= now ? now : before;
  }

  // The present programme is watched, a later one marked for watching on demand, or unmarked.
  #act() {
    const program = this.#chosen;
    if (!program) return true;
    if (program.startTime <= this.app.now()) {
      this.app.tune(this.app.channels[this.#row]);
      return true;
    }
    const request = { programId: program.programId };
    const removed = this.app.plugin.query("UnsetOnDemandProgram", request)?.removed;
    const marked = removed ? null : this.app.plugin.query("SetOnDemandProgram", request);
    if (removed) this.app.tell(`${program.title}: no longer marked`);
    else this.app.tell(marked ? `${program.title}: marked, ${marked.identifier}` : `${program.title} can't be marked`);
    return true;
  }

  #list(channel) {
    const key = `${channel.id} ${this.#from}`;
    if (!this.#programs.has(key)) {
      const answer = this.app.plugin.query("GetProgramList", { TCServiceId: channel.id, from: this.#from, to: this.#from + SPAN_MS });
      this.#programs.set(key, answer?.programs ?? []);
    }
    return this.#programs.get(key);
  }

  #draw() {
    const { channels } = this.app;
    this.#first = Math.min(Math.max(this.#row - ROWS + 1, Math.min(this.#first, this.#row)), Math.max(0, channels.length - ROWS));
    const now = this.app.now();
    this.#minute = Math.floor(now / MINUTE_MS);
    const left = (time) => `${(Math.max(0, time - this.#from) / SPAN_MS) * 100}%`;
    const head = h(
      "div",
      { class: "guide-row head" },
      h("div", { class: "guide-channel" }, new Date(this.#from).toLocaleDateString([], { weekday: "long" })),
      h(
        "div",
        { class: "guide-line" },
        Array.from({ length: SPAN_MS / SLOT_MS }, (_, i) => h("span", { style: { left: left(this.#from + i * SLOT_MS) } }, clock(this.#from + i * SLOT_MS))),
      ),
    );
    const rows = channels.slice(this.#first, this.#first + ROWS).map((channel, i) => {
      const row = this.#first + i;
      const programs = this.#list(channel);
      if (row === this.#row) this.#chosen = programs.find((p) => p.startTime <= this.#at && this.#at < p.endTime) ?? null;
      const logo = this.app.picture("GetChannelLogo", channel.id);
      return h(
        "div",
        { class: `guide-row${row === this.#row ? " chosen" : ""}`, role: "row" },
        h("div", { class: "guide-channel", role: "rowheader" }, h("b", {}, channelNumber(channel)), logo ? h("img", { src: logo, alt: "" }) : "", h("span", { dir: "auto", title: channel.name }, channel.name)),
        h(
          "div",
          { class: "guide-line" },
          programs.map((program) => {
            const end = Math.min(program.endTime, this.#from + SPAN_MS);
            const start = Math.max(program.startTime, this.#from);
            const chosen = row === this.#row && program === this.#chosen;
            return h(
              "button",
              {
                type: "button",
                role: "gridcell",
                tabIndex: -1,
                class: `${program.startTime <= now && now < program.endTime ? "present" : ""}${chosen ? " chosen" : ""}`,
                "aria-selected": String(chosen),
                style: { left: left(start), width: `calc(${((end - start) / SPAN_MS) * 100}% - 6px)` },
                onclick: () => {
                  this.app.focus();
                  if (chosen) return this.#act();
                  this.#row = row;
                  this.#at = Math.max(start, program.startTime <= now ? now : start);
                  return this.#draw();
                },
              },
              h("span", { dir: "auto", title: program.title }, program.title),
            );
          }),
        ),
      );
    });
    const marker = now >= this.#from && now < this.#from + SPAN_MS ? h("i", { class: "guide-now", style: { "--at": String((now - this.#from) / SPAN_MS) } }) : "";
    this.grid.replaceChildren(head, ...rows, marker);
    this.#describe();
  }

  #describe() {
    const program = this.#chosen;
    const channel = this.app.channels[this.#row];
    if (!program || !channel) {
      this.detail.replaceChildren(h("h2", {}, "No programme information"));
      return;
    }
    const present = program.startTime <= this.app.now();
    const picture = this.app.picture("GetProgramThumbnail", program.programId);
    this.detail.replaceChildren(
      h(
        "div",
        { class: "words" },
        h("p", { class: "channel", title: channel.name }, h("b", {}, channelNumber(channel)), " ", h("bdi", {}, channel.name)),
        h("h2", { dir: "auto" }, program.title),
        h("p", { class: "times" }, `${clock(program.startTime)} – ${clock(program.endTime)} · ${program.genre}`),
        h("p", { class: "synopsis", dir: "auto" }, program.synopsis),
        h("p", { class: "hint" }, present ? "OK: watch" : "OK: mark for watching on demand, or unmark"),
      ),
      picture ? h("img", { class: "thumbnail", src: picture, alt: "" }) : "",
    );
  }
}
