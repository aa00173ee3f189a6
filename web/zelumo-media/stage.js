// SPDX-License-Identifier: Apache-2.0
// The TV's video plane: a layer behind the page, and in it the pictures of the players that have been placed.
// The page's own styles don't reach it, and it takes no clicks.

const TV = { width: 1920, height: 1080 };
const SCREEN = "[data-zelumo-screen]"; // what the page shows as the TV's screen; else the window is the screen

/** Inline, and important: stronger than any rule of the page's but an important one for all elements. */
export function dress(element, styles) {
  element.style.setProperty("all", "initial", "important");
  for (const [name, value] of Object.entries(styles)) element.style.setProperty(name, value, "important");
}

const percent = (part, whole) => `${(part / whole) * 100}%`;

export class Stage {
  #layer = null;
  #pictures = new Map(); // by players' ids
  #height = 0; // of the picture that came last to the front

  /** Shows a player's picture where `rect` says, in the TV's pixels; or moves it there. */
  put(id, video, rect, { visible }) {
    const layer = this.#layerNow();
    const before = this.#pictures.get(id);
    if (before && before !== video) before.remove();
    if (!before) this.#height += 1;
    this.#pictures.set(id, video);
    dress(video, {
      display: "block",
      position: "absolute",
      left: percent(rect.x, TV.width),
      top: percent(rect.y, TV.height),
      width: percent(rect.width, TV.width),
      height: percent(rect.height, TV.height),
      "object-fit": "contain",
      background: "#000",
      "z-index": video.style.zIndex || String(this.#height),
      visibility: visible ? "visible" : "hidden",
      "pointer-events": "none",
    });
    if (video.parentNode !== layer) layer.append(video);
  }

  /** Brings a picture before the others, and into view. */
  raise(id) {
    const video = this.#pictures.get(id);
    if (!video) return;
    this.#height += 1;
    video.style.setProperty("z-index", String(this.#height), "important");
    video.style.setProperty("visibility", "visible", "important");
  }

  take(id) {
    this.#pictures.get(id)?.remove();
    this.#pictures.delete(id);
    if (this.#pictures.size) return;
    this.#layer?.remove();
    this.#layer = null;
  }

  /** Where in the window a rectangle of the TV is: { left, top, right, bottom }, in the window's pixels. */
  areaOf({ x, y, width, height }) {
    const home = document.querySelector(SCREEN)?.getBoundingClientRect() ?? new DOMRect(0, 0, innerWidth, innerHeight);
    const [across, down] = [home.width / TV.width, home.height / TV.height];
    const [left, top] = [home.left + x * across, home.top + y * down];
    return { left, top, right: left + width * across, bottom: top + height * down };
  }

  // The layer, in the screen that the page has now.
  #layerNow() {
    const screen = document.querySelector(SCREEN);
    const home = screen ?? document.documentElement;
    if (this.#layer?.parentNode === home && this.#layer.isConnected) return this.#layer;
    // What lies behind the screen's content must not lie behind the screen, too.
    if (screen) {
      screen.style.isolation = "isolate";
      if (getComputedStyle(screen).position === "static") screen.style.position = "relative";
    }
    const layer = document.createElement("div");
    layer.dataset.zelumo = "video";
    dress(layer, {
      display: "block",
      position: screen ? "absolute" : "fixed",
      inset: "0",
      "z-index": screen ? "-1" : "-2147483647",
      overflow: "hidden",
      "pointer-events": "none",
    });
    layer.append(...this.#pictures.values());
    home.append(layer);
    this.#layer?.remove();
    this.#layer = layer;
    return layer;
  }
}
