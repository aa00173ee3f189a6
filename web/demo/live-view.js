// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { channelNumber, clock } from "./format.js";

const BANNER_MS = 8000;

/** The channel itself: the banner with what is on, and the channel list. */
export class LiveView {
  listing = false;
  #bannerTimer = 0;
  #chosen = 0;

  constructor(app) {
    this.app = app;
    this.bannerElement = h("div", { class: "banner", hidden: true });
    this.listElement = h("div", { class: "channel-list", hidden: true, role: "listbox", "aria-label": "Channels" });
    this.element = h("section", { class: "view live", "aria-label": "Live TV" }, this.bannerElement, this.listElement);
  }

  show() {
    this.list(false);
    this.banner(true);
  }

  hide() {
    this.list(false);
    this.banner(false);
  }

  channelChanged() {
    if (this.app.view === "live" && !this.listing) this.banner(true);
    if (this.listing) this.#mark();
  }

  key(key) {
    if (this.listing) {
      if (key === "up" || key === "down") this.#choose(this.#chosen + (key === "down" ? 1 : -1));
      else if (key === "ok") this.#tune(this.app.channels[this.#chosen]);
      else if (key === "back" || key === "right") this.list(false);
      return true;
    }
    if (key === "up") this.app.step(+1);
    else if (key === "down") this.app.step(-1);
    else if (key === "ok") this.banner(this.bannerElement.hidden);
    else if (key === "left") this.list(true);
    else if (key === "right") this.app.show("guide");
    else if (key === "back") this.banner(false);
    else return false;
    return true;
  }

  tick(now) {
    const bar = this.bannerElement.querySelector(".progress i");
    const present = this.app.current?.present;
    if (bar && present) bar.style.setProperty("width", percent(present, now));
  }

  /** Shows or hides the banner. */
  banner(on) {
    clearTimeout(this.#bannerTimer);
    this.bannerElement.hidden = !on || !this.app.current;
    if (this.bannerElement.hidden) return;
    const { current } = this.app;
    const { present, following } = current;
    const logo = this.app.picture("GetChannelLogo", current.id);
    this.bannerElement.replaceChildren(
      logo ? h("img", { class: "logo", src: logo, alt: "" }) : h("div", { class: "logo" }),
      h(
        "div",
        { class: "words" },
        h("p", { class: "channel", title: current.name }, h("b", {}, channelNumber(current)), " ", h("bdi", {}, current.name)),
        present
          ? [
              h("h2", { dir: "auto" }, present.title),
              h(
                "p",
                { class: "times" },
                `${clock(present.startTime)} – ${clock(present.endTime)}`,
                h("span", { class: "progress" }, h("i", { style: { width: percent(present, this.app.now()) } })),
                present.genre,
              ),
              h("p", { class: "synopsis", dir: "auto" }, present.synopsis),
            ]
          : h("h2", {}, "No programme information"),
      ),
      following
        ? h("div", { class: "following" }, h("p", {}, `Next, ${clock(following.startTime)}`), h("p", { class: "title", dir: "auto" }, following.title))
        : "",
    );
    this.#bannerTimer = setTimeout(() => this.banner(false), BANNER_MS);
  }

  /** Opens or closes the channel list. */
  list(on) {
    this.listing = on;
    this.listElement.hidden = !on;
    if (!on) return;
    this.banner(false);
    this.listElement.replaceChildren(
      ...this.app.channels.map((channel, i) =>
        h(
          "button",
          {
            type: "button",
            role: "option",
            tabIndex: -1,
            dataset: { id: channel.id },
            onclick: () => this.#tune(channel),
            onfocus: () => this.#choose(i),
          },
          h("b", {}, channelNumber(channel)),
          h("img", { alt: "" }),
          h("span", { class: "name", dir: "auto", title: channel.name }, channel.name || channel.id),
          h("span", { class: "now", dir: "auto" }),
        ),
      ),
    );
    this.#mark();
    this.#choose(Math.max(0, this.app.channels.findIndex(({ id }) => id === this.app.current?.id)));
  }

  #tune(channel) {
    this.list(false);
    this.app.focus();
    if (channel) this.app.tune(channel);
  }

  #mark() {
    for (const row of this.listElement.children) row.classList.toggle("current", row.dataset.id === this.app.current?.id);
  }

  #choose(index) {
    const rows = this.listElement.children;
    if (!rows.length) return;
    this.#chosen = (index + rows.length) % rows.length;
    for (const [i, row] of [...rows].entries()) row.setAttribute("aria-selected", String(i === this.#chosen));
    rows[this.#chosen].scrollIntoView({ block: "nearest" });
    // What is on there, for the rows in sight only.
    const first = Math.max(0, this.#chosen - 12);
    for (const row of [...rows].slice(first, this.#chosen + 13)) this.#fill(row);
  }

  #fill(row) {
    if (row.dataset.filled) return;
    row.dataset.filled = "yes";
    const { id } = row.dataset;
    const logo = this.app.picture("GetChannelLogo", id);
    if (logo) row.querySelector("img").src = logo;
    row.querySelector(".now").textContent = this.app.plugin.query("GetPresentProgram", { TCServiceId: id })?.present?.title ?? "";
  }
}

function percent({ startTime, endTime }, now) {
  return `${Math.min(100, Math.max(0, ((now - startTime) / (endTime - startTime)) * 100)).toFixed(1)}%`;
}
