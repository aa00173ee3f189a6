// SPDX-License-Identifier: Apache-2.0
// A browser lets no page start with sound before somebody has clicked or pressed a key in it. What it refuses plays
// muted; the first gesture, wherever in the page, gives the sound back.

const NOTICE = "sound";
const GESTURES = ["pointerdown", "pointerup", "keydown"];

/** What the notice says, and the detail of the report that comes with it. */
export const MUTED = "The browser lets no page start with sound before a click or a key in it, so this plays muted.";

export class Sound {
  #notices;
  #muted = new Map(); // videos by their players' ids
  #hear = (event) => {
    // The remote's keys are no gesture, and neither is, for a browser, Escape. The notice's button waits for its click:
    // if it went away under the pointer, the page would get the rest.
    if (event.isTrusted && !this.#notices.have(event.target) && navigator.userActivation?.hasBeenActive !== false) this.#unmute();
  };

  constructor(notices) {
    this.#notices = notices;
  }

  /** The browser has refused to start a player's video with sound. */
  mute(id, video) {
    if (!this.#muted.size) for (const name of GESTURES) addEventListener(name, this.#hear, true);
    this.#muted.set(id, video);
    video.muted = true;
    const text = `${MUTED} A click turns the sound on.`;
    this.#notices.ask(NOTICE, id, text, "Turn the sound on", () => this.#unmute());
  }

  /** A player's video has gone. */
  gone(id) {
    if (this.#muted.delete(id) && !this.#muted.size) this.#rest();
  }

  #unmute() {
    for (const video of this.#muted.values()) video.muted = false;
    this.#muted.clear();
    this.#rest();
  }

  #rest() {
    for (const name of GESTURES) removeEventListener(name, this.#hear, true);
    this.#notices.remove(NOTICE);
  }
}
