// SPDX-License-Identifier: Apache-2.0
// One player: carries out its commands, and reports what becomes of its stream.
import { BEGINS, BUFFERING, ENDED, ERROR, OUTSIDE, PAUSED, POSITION, READY, RESUMED, SEEK_DONE, STOPPED } from "./reports.js";
import { MUTED } from "./sound.js";
import { makeSource } from "./sources.js";
import { Ticks } from "./ticks.js";
import { Timeline, inMs } from "./timeline.js";
import { Trouble } from "./trouble.js";
import { Voice } from "./voice.js";

const LOOK_MS = 250; // between two looks at what is buffered
const SLIDE_MS = 1000; // between two looks at a live window that slides away from a pause
const NEAR_EDGE_S = 1.5; // so near a stream that is loaded stands at the live edge
const LEEWAY_S = 1; // a live window slides on while its start is being buffered
const EDGE = "edge"; // the target that moves

export class Player {
  rect = null; // where it has been placed, in the TV's pixels
  #command; // by which it was created
  #tv;
  #voice;
  #waiting = []; // commands that came while it wasn't known whether the stream is there, or why it can't be played on

  #state = "created";
  #source = null; // null: it holds nothing
  #isKnown = false; // whether the stream is there
  #failure = 0; // of the failures; which one it is about to end by, while that is looked into; else 0
  #failures = 0;
  #isAhead = true; // may be loaded ahead of "play"

  #willPlay = false; // when what it does now is done
  #isFirst = false; // it is the first buffering since "play"
  #held = []; // reports that come after that
  #isSeeking = false;
  #target; // the position in ms that it buffers for, or EDGE; null: where the element is
  #aimed = null; // the target at which the source was loaded
  #percent = 0;

  #timeline = new Timeline();
  #ticks = new Ticks(() => this.#reportPosition(POSITION));
  #timer = 0;

  /** `tv`: { tell, stage, notices, sound, begins }, what it shares with other players. */
  constructor(command, tv) {
    this.#command = command;
    this.#tv = tv;
    this.#voice = new Voice(command.player, tv.tell, () => this.#status);
    this.#target = inMs(command.offset);
  }

  get #id() {
    return this.#command.player;
  }

  /** Loads the stream ahead of "play". Once, to begin with. */
  load() {
    this.#voice.tellStatus();
    this.#open();
  }

  /** Another player is loaded ahead now. */
  letGo() {
    this.#isAhead = false;
    if (this.#state !== "created" || this.#waiting.length) return;
    this.#failure = 0; // nobody waits for what it was
    this.#close();
  }

  /** Another stream begins. */
  giveWay() {
    if (this.#state === "ended") this.#close();
  }

  /** The end; nothing is told any more. */
  release() {
    this.#voice.isSilent = true;
    this.#close();
  }

  do(command) {
    if (command.do === "place") this.#place(command.rect);
    else if (this.#isKnown && !this.#failure) this.#carryOut(command);
    else if (command.do === "stop") this.#giveUp(command.seq);
    else {
      this.#waiting.push(command);
      if (!this.#source && !this.#failure) this.#open();
    }
  }

  // A stop doesn't wait for what may never come; what was asked for before it is not reported any more.
  #giveUp(seq) {
    this.#voice.seq = seq;
    this.#waiting = [];
    this.#failure = 0;
    this.#target = 0;
    this.#halt();
  }

  // ---- Commands. The state says which make sense; the others change nothing.

  static #COMMANDS = {
    play: (player) => player.#play(),
    pause: (player) => player.#pause(),
    resume: (player) => player.#resume(),
    stop: (player) => player.#stop(),
    seek: (player, { position }) => player.#seek(position),
    live: (player) => player.#toEdge(),
  };

  #carryOut(command) {
    const before = this.#voice.reports;
    this.#voice.seq = command.seq;
    Player.#COMMANDS[command.do]?.(this, command);
    if (this.#voice.reports === before) this.#voice.tellStatus();
  }

  get #isRunning() {
    return this.#state === "buffering" || this.#state === "playing" || this.#state === "paused";
  }

  #play() {
    if (this.#isRunning || this.#state === "failed") return;
    if (this.#state !== "created") this.#target = this.#timeline.live ? EDGE : 0;
    this.#willPlay = this.#isFirst = true;
    this.#held = [];
    this.#tv.stage.raise(this.#id);
    this.#buffer();
  }

  #pause() {
    if (!this.#isRunning || !this.#willPlay) return;
    this.#willPlay = false;
    this.#source?.pause();
    this.#ticks.pause();
    if (this.#state === "playing") this.#enter("paused");
    this.#reportInTurn(PAUSED);
  }

  #resume() {
    if (!this.#isRunning || this.#willPlay) return;
    this.#willPlay = true;
    if (this.#state === "buffering") return this.#reportInTurn(RESUMED);
    this.#enter("playing");
    this.#voice.report(RESUMED);
    const source = this.#source;
    if (source.atEnd) return this.#end();
    const { start } = source.range();
    if (source.time < start) source.seek(start + LEEWAY_S);
    this.#ticks.start();
    this.#start();
  }

  #stop() {
    if (this.#isRunning || this.#state === "ended") this.#halt();
  }

  #halt() {
    this.#close();
    this.#willPlay = this.#isSeeking = false;
    this.#state = "stopped";
    this.#voice.report(STOPPED);
  }

  #seek(position) {
    if ((!this.#isRunning && this.#state !== "ended") || !Number.isFinite(position)) return;
    if (position < this.#timeline.first || position > this.#timeline.reach) return this.#voice.report(OUTSIDE);
    if (this.#state === "ended") this.#willPlay = true;
    this.#goTo(position);
  }

  #toEdge() {
    if (!this.#timeline.live || !this.#isRunning) return;
    if (!this.#willPlay) {
      this.#willPlay = true;
      this.#reportInTurn(RESUMED);
    }
    this.#goTo(EDGE);
  }

  #goTo(target) {
    this.#target = target;
    this.#aimed = null;
    this.#isSeeking = true;
    this.#buffer();
  }

  #place(rect) {
    this.rect = rect;
    this.#show();
    this.#tv.notices.follow(this.#id);
    this.#voice.tellStatus();
  }

  // ---- The stream

  #open() {
    try {
      this.#source = this.#timeline.source = makeSource(this.#command, { onChange: () => this.#check(), onTrouble: (why) => this.#failFor(why) });
    } catch (error) {
      if (!(error instanceof Trouble)) throw error;
      return this.fail(error);
    }
    const source = this.#source;
    this.#show();
    source.load((range, live) => this.#begin(range, live)).then(
      () => this.#source === source && this.#loaded(),
      (error) => this.#source === source && this.#failFor(error),
    );
  }

  // Where the stream that is being loaded begins, on the media timeline; null leaves that to the source.
  #begin(range, live) {
    this.#timeline.begin(range, live, !this.#isKnown);
    if (!this.#isKnown && live && this.#target === 0) this.#target = EDGE;
    if (this.#target !== EDGE) this.#target = Math.min(this.#target, this.#timeline.positionOf(range.end) || this.#target);
    this.#aimed = this.#target;
    return this.#target === EDGE ? null : this.#timeline.timeOf(this.#target);
  }

  #loaded() {
    if (this.#isKnown) {
      if (this.#target !== this.#aimed) this.#aim();
    } else {
      this.#isKnown = true;
      this.#voice.report(READY, 0);
      for (const command of this.#waiting.splice(0)) this.#carryOut(command);
      if (!this.#isAhead) this.letGo();
    }
    this.#check();
  }

  #aim() {
    const source = this.#source;
    source.seek(this.#target === EDGE ? source.range().end : this.#timeline.timeOf(this.#target));
  }

  // Lets go of everything that costs something; state and position stay.
  #close() {
    const source = this.#source;
    this.#ticks.reset();
    this.#rest();
    if (!source) return;
    this.#source = this.#timeline.source = null;
    this.#tv.stage.take(this.#id);
    this.#tv.sound.gone(this.#id);
    source.close();
  }

  #show() {
    if (this.#source && this.rect) this.#tv.stage.put(this.#id, this.#source.video, this.rect, { visible: this.#state !== "created" });
  }

  // ---- Buffering, playing, the end

  #enter(state) {
    this.#state = state;
    this.#rest();
    if (state === "buffering") this.#timer = setInterval(() => this.#look(), LOOK_MS);
    else if (state === "paused" && this.#timeline.live) this.#timer = setInterval(() => this.#voice.tellStatus(), SLIDE_MS);
  }

  #rest() {
    clearInterval(this.#timer); // or a timeout
    this.#timer = 0;
  }

  // Begins to buffer for the target, or where the element is.
  #buffer() {
    const source = this.#source;
    this.#ticks.reset();
    this.#percent = 0;
    this.#enter("buffering");
    if (source?.loaded && this.#target !== null && !this.#isThere) this.#aim();
    if (source?.loaded) this.#aimed = null;
    this.#voice.report(BUFFERING, 0);
    if (source) this.#check();
    else this.#open();
  }

  // It was loaded where it is to begin.
  get #isThere() {
    if (this.#target !== this.#aimed) return false;
    const { video, time } = this.#source;
    return this.#target !== EDGE || !video.readyState || this.#source.range().end - time < NEAR_EDGE_S;
  }

  #look() {
    this.#check();
    if (this.#state !== "buffering" || !this.#source?.loaded) return;
    const { percent } = this.#source;
    if (percent <= this.#percent) return;
    this.#percent = percent;
    this.#voice.report(BUFFERING, percent);
  }

  // Something about the element has changed.
  #check() {
    const source = this.#source;
    if (!source?.loaded) return;
    if (this.#state === "buffering") this.#finishBuffering(source);
    else if (this.#state !== "playing") return;
    else if (source.video.ended) this.#end();
    else if (source.video.paused || (!source.ready && !source.hasData)) this.#buffer();
    else if (!source.ready && !this.#timer) this.#timer = setTimeout(() => this.#isStuck(), LOOK_MS);
  }

  // With the data at hand a decoder that was late is no stall, unless it stays so.
  #isStuck() {
    this.#timer = 0;
    if (!this.#source.ready) this.#buffer();
  }

  #finishBuffering(source) {
    // At the very end there is nothing to play, and play() would go back to the beginning.
    if (this.#willPlay && !source.atEnd) {
      if (source.video.paused) this.#start();
      if (!source.isStarted) return;
    }
    if (!source.ready) return;
    const isFirst = this.#isFirst;
    const isSeeking = this.#isSeeking;
    this.#isFirst = this.#isSeeking = false;
    this.#target = null;
    if (isFirst) this.#tv.begins();
    this.#enter(this.#willPlay ? "playing" : "paused");
    this.#voice.report(BUFFERING, 100);
    if (isFirst) for (const type of [BEGINS, ...this.#held.splice(0)]) this.#voice.report(type);
    if (isSeeking) this.#reportPosition(SEEK_DONE);
    if (!this.#willPlay) return;
    if (source.atEnd) this.#end();
    else this.#ticks.start();
  }

  #start() {
    const source = this.#source;
    source.play(() => {
      this.#voice.detail = MUTED;
      this.#tv.sound.mute(this.#id, source.video);
      this.#start();
    });
  }

  #end() {
    this.#willPlay = false;
    this.#ticks.reset();
    this.#enter("ended");
    this.#voice.report(ENDED);
  }

  // ---- Failures

  // `why`: Trouble, or a promise of it. What is asked for until that is known waits.
  async #failFor(why) {
    const mine = (this.#failure = ++this.#failures);
    this.#close();
    const trouble = await Promise.resolve(why).catch((error) => error);
    if (this.#failure === mine) this.fail(trouble instanceof Trouble ? trouble : new Trouble(ERROR, trouble));
  }

  /** Ends it for `trouble`. */
  fail(trouble) {
    if (this.#voice.isSilent) return;
    this.#close();
    this.#isKnown = true;
    this.#failure = 0;
    this.#voice.seq = this.#waiting.at(-1)?.seq ?? this.#voice.seq;
    this.#waiting = [];
    this.#enter("failed");
    this.#voice.detail = trouble.message;
    this.#voice.report(trouble.type, 0);
    if (trouble.notice) this.#tv.notices.tellFailure(this.#id, trouble.notice);
  }

  // ---- What is told

  get #position() {
    const { position, duration } = this.#timeline;
    if (this.#state === "stopped") return 0;
    if (this.#state === "ended") return duration;
    const isAway = this.#target !== null && (this.#state === "created" || this.#state === "buffering");
    if (!isAway) return position;
    return this.#target === EDGE ? duration : this.#target;
  }

  get #rate() {
    if (this.#state === "playing") return this.#source?.video.playbackRate || 1;
    // Until it plays, it moves with the edge.
    return this.#target === EDGE && (this.#state === "created" || this.#state === "buffering") ? 1 : 0;
  }

  get #status() {
    return {
      state: this.#state,
      position: this.#position,
      duration: this.#timeline.duration,
      live: this.#timeline.live,
      rate: this.#rate,
      ...(this.#timeline.live && { window: this.#timeline.window }),
    };
  }

  #reportPosition(type) {
    // The page may have made its screen anew.
    if (this.#source?.video.isConnected === false) this.#show();
    this.#voice.report(type, this.#position, this.#timeline.duration);
  }

  // In the first buffering it waits for the stream to begin.
  #reportInTurn(type) {
    if (this.#state === "buffering" && this.#isFirst) this.#held.push(type);
    else this.#voice.report(type);
  }
}
