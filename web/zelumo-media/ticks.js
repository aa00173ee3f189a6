// SPDX-License-Identifier: Apache-2.0
// A second of playing, again and again.

const TICK_MS = 1000;

export class Ticks {
  #tick;
  #timer = 0;
  #due = 0;
  #left = TICK_MS; // while they rest

  /** tick() is called after each second between start() and pause() or reset(). */
  constructor(tick) {
    this.#tick = tick;
  }

  /** Goes on with what is left of a second. */
  start() {
    clearTimeout(this.#timer);
    this.#due = performance.now() + this.#left;
    this.#wait();
  }

  pause() {
    if (!this.#timer) return;
    clearTimeout(this.#timer);
    this.#timer = 0;
    this.#left = Math.max(0, this.#due - performance.now());
  }

  /** Rests, and begins with a whole second. */
  reset() {
    this.pause();
    this.#left = TICK_MS;
  }

  // A timer that comes late, as those of a hidden page do, shifts no later second, but what was missed is missed.
  #wait() {
    this.#timer = setTimeout(() => {
      this.#due += TICK_MS * Math.max(1, Math.floor((performance.now() - this.#due) / TICK_MS) + 1);
      this.#wait();
      this.#tick();
    }, this.#due - performance.now());
  }
}
