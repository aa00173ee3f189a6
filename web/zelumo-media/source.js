// SPDX-License-Identifier: Apache-2.0
// A stream in a <video> element.
import { ERROR } from "./reports.js";
import { Trouble, brief, fileTrouble, missingPicture } from "./trouble.js";

const LOAD_MS = 30_000;
const LATE = `no answer within ${LOAD_MS / 1000} s`;
const AT_END_S = 0.01;
// So near to its end a stream has no more data to wait for.
const NEAR_END_S = 0.3;
// Seconds of the stream that are needed to begin, for the percentages.
const NEED_S = 1;
const EVENTS = ["playing", "waiting", "canplay", "canplaythrough", "seeking", "seeked", "ended", "pause"];

/**
 * What both kinds of sources have in common: one <video>, and how it stands. Seconds are those of the media timeline.
 * Each kind has load(where), range() and duration, in which to seek and to play, buffers(), what is there of sound and of
 * pictures as lists of { start, end }, and empty(), which takes the stream out of the element.
 */
export class Source {
  video = document.createElement("video");
  url;
  live = false;
  loaded = false;
  isStarted = false; // it plays since play()
  #plays = 0; // how often play() and pause() were called
  #onChange;
  #onTrouble;
  #wanted = null; // where to go as soon as the element takes it
  #listening = new AbortController();

  /** Something has changed: onChange(). It can't be played on: onTrouble(promise of Trouble), once. */
  constructor(id, url, { onChange, onTrouble }) {
    this.url = url;
    this.#onChange = onChange;
    this.#onTrouble = onTrouble;
    const { video } = this;
    video.playsInline = true;
    video.disablePictureInPicture = true;
    video.disableRemotePlayback = true;
    video.preload = "auto";
    video.dataset.player = id;
    for (const name of EVENTS) this.listen(video, name, onChange);
    this.listen(video, "loadedmetadata", () => setTimeout(() => this.#goWhereWanted()));
  }

  listen(target, name, act) {
    target.addEventListener(name, (event) => this.isOpen && act(event), { signal: this.#listening.signal });
  }

  get isOpen() {
    return !this.#listening.signal.aborted;
  }

  /** It can't be played on; the first cause counts. */
  trouble(why) {
    if (!this.isOpen) return;
    this.#listening.abort();
    this.#onTrouble(why);
  }

  /** Seconds on the media timeline. */
  get time() {
    return this.#wanted ?? this.video.currentTime;
  }

  get #left() {
    return this.live ? Infinity : this.range().end - this.time;
  }

  /** Nothing is left to be played. */
  get atEnd() {
    return this.#wanted === null && (this.video.ended || this.#left <= AT_END_S);
  }

  /** What is to be shown is there. */
  get ready() {
    const { readyState, seeking } = this.video;
    if (this.#wanted !== null || seeking) return false;
    return readyState >= HTMLMediaElement.HAVE_FUTURE_DATA || (readyState === HTMLMediaElement.HAVE_CURRENT_DATA && this.#left < NEAR_END_S);
  }

  // How much of what is needed is there of sound and of pictures, 0 to 1.
  get #shares() {
    const need = Math.max(0.1, Math.min(NEED_S, this.#left));
    return this.buffers().map((ranges) => {
      const own = ranges.find(({ start, end }) => start <= this.time + 0.1 && this.time < end);
      return Math.min(1, own ? (own.end - this.time) / need : 0);
    });
  }

  /** The same together, in percent; 100 is left to `ready`. */
  get percent() {
    const shares = this.#shares;
    return Math.min(99, Math.floor((100 * shares.reduce((sum, share) => sum + share, 0)) / (shares.length || 1)));
  }

  /** Enough is there to play on for a while. */
  get hasData() {
    return !this.video.seeking && this.#shares.every((share) => share > 0.3);
  }

  /** Makes the element play. refused() is called where the browser wants a gesture before there is sound. */
  play(refused) {
    const mine = (this.#plays += 1);
    this.isStarted = false;
    this.video.play().then(
      () => {
        if (mine !== this.#plays) return;
        this.isStarted = true;
        this.#onChange();
      },
      (error) => {
        // Others come with an event, too, or are over when it is tried again.
        if (mine === this.#plays && error.name === "NotAllowedError" && !this.video.muted) refused();
      },
    );
  }

  pause() {
    this.#plays += 1;
    this.video.pause();
  }

  seek(time) {
    if (this.video.readyState === HTMLMediaElement.HAVE_NOTHING) this.#wanted = time;
    else this.video.currentTime = time;
  }

  #goWhereWanted() {
    if (this.#wanted === null || !this.isOpen) return;
    const time = this.#wanted;
    this.#wanted = null;
    this.video.currentTime = time;
  }

  /** Lets go of the element and of all that belongs to it. */
  close() {
    this.#listening.abort();
    this.pause();
    this.empty();
    this.video.remove();
  }
}

/** A file that the element plays itself. */
export class FileSource extends Source {
  #giveUp = () => {};

  /**
   * Resolves when the metadata are there. where(range, live) is asked then where to begin; null: anywhere.
   * Rejects with Trouble.
   */
  async load(where) {
    const { video, url } = this;
    let timer = 0;
    await new Promise((resolve, reject) => {
      // In a page that nobody has seen yet a browser puts media off.
      const wait = () => (timer = setTimeout(() => (document.hidden ? wait() : reject(new Trouble(ERROR, `${LATE}: ${brief(url)}`))), LOAD_MS));
      const fail = () => (this.loaded ? this.trouble(fileTrouble(url, video.error)) : reject(fileTrouble(url, video.error)));
      this.#giveUp = resolve;
      this.listen(video, "loadedmetadata", resolve);
      this.listen(video, "error", fail);
      wait();
      video.src = url;
    })
      .finally(() => clearTimeout(timer))
      .catch(async (why) => {
        throw await why;
      });
    const trouble = video.videoWidth || !this.isOpen ? null : await missingPicture(url);
    if (trouble) throw trouble;
    if (!this.isOpen) return;
    this.loaded = true;
    const begin = where(this.range(), false);
    if (begin) video.currentTime = begin;
  }

  /** A duration that isn't known is as much as can be reached. */
  range() {
    const { duration, seekable } = this.video;
    if (Number.isFinite(duration)) return { start: 0, end: duration };
    return { start: 0, end: seekable.length ? seekable.end(seekable.length - 1) : 0 };
  }

  get duration() {
    return Number.isFinite(this.video.duration) ? this.video.duration : 0;
  }

  buffers() {
    const { buffered } = this.video;
    return [Array.from({ length: buffered.length }, (_, i) => ({ start: buffered.start(i), end: buffered.end(i) }))];
  }

  empty() {
    this.#giveUp();
    this.video.removeAttribute("src");
    this.video.load();
  }
}
