// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { qr } from "./qr.js";

const QUIET = 4; // what a reader needs around a code, in modules

/** How the relay stands, by its state: [whether a page can be open, in a few words, what to do]. */
const STATES = {
  waiting: [false, "No TV yet", "Open this address in the TV's browser: scan the code with a phone that can send it there, or type it."],
  ready: [true, "A real TV answers", "What this page sends goes to the plug-in of that TV; keys of its remote come here. What it shows and plays, and which calls its plug-in makes, is unknown here."],
  missing: [false, "The TV has no plug-in", "Its browser knows none of the type application/x-zelumo. Is it the TV's own browser?"],
  gone: [false, "The TV has gone", "It connects again by itself when it is back, as long as the relay's page is open there."],
};

/** The state in a few words, for a header: [kind, text]. */
export function relayWords({ relay, page }) {
  const [good, words] = STATES[relay];
  return [good ? "good" : "bad", good ? `${words} · ${page === null ? "no page open" : "page open"}` : words];
}

function picture(address) {
  const rows = qr(address);
  const size = rows.length + 2 * QUIET;
  const path = rows.flatMap((row, y) => row.map((dark, x) => (dark ? `M${x + QUIET} ${y + QUIET}h1v1h-1z` : ""))).join("");
  const image = h("div", { class: "qr", role: "img", "aria-label": `QR code of ${address}` });
  image.innerHTML = `<svg viewBox="0 0 ${size} ${size}" shape-rendering="crispEdges"><path fill="#fff" d="M0 0h${size}v${size}H0z"/><path d="${path}"/></svg>`;
  return image;
}

/** The relay's address, for the TV, and how the relay stands. */
export class RelayView {
  #shown = "";

  constructor(host) {
    this.host = host;
    this.words = h("h3", { role: "status" });
    this.about = h("p", { class: "about" });
    this.address = h("div");
    this.element = h("div", { class: "relay" }, this.words, this.about, this.address);
  }

  /** Shows the TV's state. */
  async show({ relay }) {
    if (relay === this.#shown) return;
    this.#shown = relay;
    const [, words, about] = STATES[relay];
    this.words.textContent = words;
    this.about.textContent = about;
    // The host may be another one than before.
    const address = await this.host.relayAddress();
    if (address) this.address.replaceChildren(picture(address), h("code", {}, address));
  }
}
