// SPDX-License-Identifier: Apache-2.0
// Where a stream's positions lie: in ms from its begin, or, where it is live, from where its window began when it was
// first loaded. What was known last holds while there is no source.

const MS_MAX = 2 ** 31 - 1;

/** Whole milliseconds, as the TV host takes them. */
export const inMs = (seconds) => Math.min(MS_MAX, Math.max(0, Math.round(seconds * 1000) || 0));

export class Timeline {
  live = false;
  #origin = 0; // seconds on the media timeline
  #source = null;
  #kept = { position: 0, duration: 0, window: 0, at: 0 };

  /** The source that is asked as soon as it is loaded; null: none. `position` is kept then. */
  set source(source) {
    if (!source) this.#kept = { position: this.position, duration: this.duration, window: this.window, at: performance.now() };
    this.#source = source;
  }

  get #loaded() {
    return this.#source?.loaded ? this.#source : null;
  }

  /** A stream was loaded, for the first time or once more. */
  begin({ start, end }, live, isFirst) {
    // A live stream may have begun anew behind the same address.
    if (isFirst || end < this.#origin) this.#origin = start;
    this.live = live;
  }

  /** On the media timeline, in seconds. */
  timeOf(position) {
    return this.#origin + position / 1000;
  }

  positionOf(time) {
    return inMs(time - this.#origin);
  }

  get position() {
    const source = this.#loaded;
    if (!source) return this.#kept.position;
    const position = Math.min(this.positionOf(source.time), this.reach);
    return this.live ? Math.max(position, this.first) : position;
  }

  /** Of a live stream the position of its edge; 0: not known. */
  get duration() {
    const source = this.#loaded;
    if (source) return this.positionOf(source.duration);
    return Math.min(MS_MAX, this.#kept.duration + (this.live ? Math.round(performance.now() - this.#kept.at) : 0));
  }

  /** How far behind the edge of a live stream one may go. */
  get window() {
    const range = this.#loaded?.range();
    return range ? Math.min(inMs(range.end - range.start), this.duration) : this.#kept.window;
  }

  /** The first position that one may go to. */
  get first() {
    return this.live ? this.duration - this.window : 0;
  }

  /** The last one. */
  get reach() {
    return this.duration || (this.#loaded ? this.positionOf(this.#loaded.range().end) : MS_MAX);
  }
}
