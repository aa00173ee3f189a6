// SPDX-License-Identifier: Apache-2.0
// What whoever sits before the screen has to know: a box at the bottom of the player's rectangle, above everything, that
// leaves the page's layout, focus and styles alone.
import { dress } from "./stage.js";

const FAILURE_MS = 15_000;
const GAP = 8;
const SMALL = { width: 260, height: 120 }; // a picture that is smaller has no room for a notice

const STYLE = `
  .place { position: fixed; display: flex; flex-direction: column-reverse; align-items: center; padding: 12px;
    box-sizing: border-box; pointer-events: none; }
  .notice { display: flex; align-items: center; gap: 12px; max-width: min(100%, 640px); box-sizing: border-box;
    padding: 10px 14px; border: 1px solid #8a96a3; border-radius: 8px; background: #161a1fF2; color: #fff;
    font: 14px/1.4 system-ui, "DejaVu Sans", sans-serif; text-align: start; box-shadow: 0 2px 12px #0009; }
  .notice[role="alert"] { border-color: #ff9b91; }
  p { margin: 0; overflow-wrap: anywhere; }
  button { flex: none; pointer-events: auto; cursor: pointer; padding: 6px 12px; border: 1px solid #fff; border-radius: 6px;
    background: #fff; color: #161a1f; font: inherit; font-weight: 600; }
  button:focus-visible { outline: 3px solid #77c0df; outline-offset: 2px; }
`;
// What the page must not take for its own.
const EVENTS = ["pointerdown", "pointerup", "mousedown", "mouseup", "click", "keydown", "keyup", "focusin", "focusout"];
const MOVES = ["resize", "scroll"]; // by which a picture may get elsewhere

export class Notices {
  #areaOf;
  #host = null;
  #shown = new Map(); // by their keys: { player, place, timer }
  #cameFrom = null; // what had the focus before one of the buttons
  #layOut = () => this.#layOutAll();

  /** areaOf(player): where in the window it is, { left, top, right, bottom }; null where it is nowhere. */
  constructor(areaOf) {
    this.#areaOf = areaOf;
  }

  /** Asks for something: stays until it is removed. `act` is called by the button. */
  ask(key, player, text, label, act) {
    this.#show(key, player, "status", text, label, act);
  }

  /** Tells why a player has failed. Can be sent away, and goes by itself. */
  tellFailure(player, text) {
    const key = `failure ${player}`;
    this.#show(key, player, "alert", text, "Dismiss", () => this.remove(key));
    this.#shown.get(key).timer = setTimeout(() => this.remove(key), FAILURE_MS);
  }

  remove(key) {
    const notice = this.#shown.get(key);
    if (!notice) return;
    clearTimeout(notice.timer);
    this.#shown.delete(key);
    const hadFocus = notice.place.contains(this.#host.shadowRoot.activeElement);
    notice.place.remove();
    if (hadFocus) this.#cameFrom?.focus?.({ preventScroll: true });
    if (this.#shown.size) return;
    for (const name of MOVES) removeEventListener(name, this.#layOut, true);
    this.#host.remove();
    this.#host = this.#cameFrom = null;
  }

  clearFailures() {
    for (const key of [...this.#shown.keys()]) if (key.startsWith("failure ")) this.remove(key);
  }

  clear() {
    for (const key of [...this.#shown.keys()]) this.remove(key);
  }

  /** Whether an event's target is one of them. */
  have(target) {
    return this.#host !== null && target === this.#host;
  }

  /** A player has been placed elsewhere. */
  follow(player) {
    if ([...this.#shown.values()].some((notice) => notice.player === player)) this.#layOut();
  }

  #show(key, player, role, text, label, act) {
    this.remove(key);
    const root = this.#rootNow();
    const place = document.createElement("div");
    place.className = "place";
    const box = document.createElement("div");
    box.className = "notice";
    box.setAttribute("role", role);
    const words = document.createElement("p");
    words.textContent = text;
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = label;
    button.addEventListener("mousedown", (event) => event.preventDefault()); // the page's focus stays where it is
    button.addEventListener("click", act);
    box.append(words, button);
    place.append(box);
    root.append(place);
    this.#shown.set(key, { player, place, timer: 0 });
    this.#layOut();
  }

  #rootNow() {
    if (this.#host?.isConnected) return this.#host.shadowRoot;
    const host = this.#host ?? document.createElement("div");
    if (!this.#host) {
      this.#host = host;
      host.dataset.zelumo = "notices";
      dress(host, { display: "block", position: "fixed", width: "0", height: "0", "z-index": "2147483647" });
      const sheet = new CSSStyleSheet(); // which the page's policy can't forbid
      sheet.replaceSync(STYLE);
      host.attachShadow({ mode: "open" }).adoptedStyleSheets = [sheet];
      host.addEventListener("focusin", ({ relatedTarget }) => {
        if (relatedTarget) this.#cameFrom = relatedTarget;
      });
      for (const name of EVENTS) host.addEventListener(name, (event) => event.stopPropagation());
      for (const name of MOVES) addEventListener(name, this.#layOut, true);
    }
    document.documentElement.append(host);
    return host.shadowRoot;
  }

  #layOutAll() {
    const heights = new Map(); // of what stands at the bottom of each place
    for (const { player, place } of this.#shown.values()) {
      const { left, top, width, height } = this.#roomFor(player);
      const below = heights.get(`${left} ${top}`) ?? 0;
      Object.assign(place.style, { left: `${left}px`, top: `${top}px`, width: `${width}px`, height: `${height - below}px` });
      heights.set(`${left} ${top}`, below + place.firstChild.offsetHeight + GAP);
    }
  }

  // What is seen of the player's rectangle; the window where that has no room.
  #roomFor(player) {
    const [width, height] = [document.documentElement.clientWidth, window.innerHeight];
    const area = this.#areaOf(player);
    if (area) {
      const [left, top] = [Math.max(0, area.left), Math.max(0, area.top)];
      const own = { left, top, width: Math.min(width, area.right) - left, height: Math.min(height, area.bottom) - top };
      if (own.width >= SMALL.width && own.height >= SMALL.height) return own;
    }
    return { left: 0, top: 0, width, height };
  }
}
