// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { duration } from "./format.js";

// What the sample TV plays.
const SAMPLES = [
  { url: "http://sample.tv/film.mpd", name: "Film", about: "Ten minutes" },
  { url: "http://sample.tv/short.mpd", name: "Short", about: "Half a minute" },
  { url: "http://sample.tv/live.mpd", name: "Live", about: "A live stream" },
  { url: "http://sample.tv/stalling.mpd", name: "Stalling", about: "Buffers again at 6 s and 15 s" },
  { url: "http://sample.tv/failing.mpd", name: "Failing", about: "Fails after 8 s" },
  { url: "http://sample.tv/missing.mpd", name: "Missing", about: "There is no such stream" },
  { url: "http://sample.tv/broken.mpd", name: "Broken", about: "Can't be played" },
];
const OWN_STREAMS = "/streams.json"; // a list of the same form, of the person's own page, for real playback
// Where the video goes, in screen pixels.
const SIZES = {
  window: { x: 620, y: 130, width: 1200, height: 675 },
  full: { x: 0, y: 0, width: 1920, height: 1080 },
  corner: { x: 1360, y: 60, width: 500, height: 281 },
};
const EVENT = { 32: "ready", 33: "paused", 34: "playing", 35: "seek done", 36: "stopped", 37: "outside the stream", 97: "at the end", 98: "failed", 131: "buffering", 134: "not found", 137: "playing", 144: "begins", 200: "window id", 201: "first data" };
const NO_STREAM = "Nothing is playing";

/** Streams on the TV's media player. */
export class PlayerView {
  #list = SAMPLES;
  #media = "simulated"; // who plays
  #isLive = false;
  #chosen = 0;
  #size = "window";
  #stream = null; // the stream that was opened last
  #playing = false;
  #position = 0;
  #length = 0;

  constructor(app) {
    this.app = app;
    const button = (name, label, act) => h("button", { type: "button", dataset: { act: name }, onclick: act }, label);
    this.streams = h("div", { class: "streams", role: "listbox", "aria-label": "Streams" });
    this.status = h("p", { class: "status", role: "status" }, NO_STREAM);
    this.time = h("p", { class: "time" });
    this.seekBar = h("input", { type: "range", min: 0, max: 0, value: 0, step: 1, "aria-label": "Position, in seconds", onchange: () => this.#ask("Seek", { sec: Number(this.seekBar.value) }) });
    this.controls = h(
      "div",
      { class: "controls" },
      button("play", "Play", () => this.#open()),
      button("pause", "Pause", () => this.#ask("Pause")),
      button("resume", "Resume", () => this.#ask("Resume")),
      button("stop", "Stop", () => this.#stop()),
      button("backward", "−10 s", () => this.#ask("JumpBackward", { sec: 10 })),
      button("forward", "+30 s", () => this.#ask("JumpForward", { sec: 30 })),
      button("live", "Live", () => this.#ask("ResumeLive", { reason: "viewer" })),
      Object.keys(SIZES).map((size) => button(size, size[0].toUpperCase() + size.slice(1), () => this.#place(size))),
    );
    this.heardList = h("ol", { class: "heard", "aria-label": "Player events" });
    this.element = h(
      "section",
      { class: "view player", "aria-label": "Player" },
      h("div", { class: "side" }, h("h2", {}, "Streams"), this.streams, h("h3", {}, "Player events"), this.heardList),
      h("div", { class: "osd" }, this.status, this.seekBar, this.time, this.controls),
    );
  }

  show() {
    this.streams.replaceChildren(
      ...this.#list.map(({ url, name, about }, i) =>
        h(
          "button",
          {
            type: "button",
            role: "option",
            tabIndex: -1,
            dataset: { url },
            onclick: () => {
              this.#chosen = i;
              this.#open();
              this.app.focus();
            },
          },
          h("b", {}, name),
          h("span", {}, about),
        ),
      ),
    );
    this.#draw();
  }

  hide() {
    if (this.#stream) this.#stop();
  }

  key(key) {
    if (key === "up" || key === "down") {
      this.#chosen = (this.#chosen + (key === "down" ? 1 : -1) + this.#list.length) % this.#list.length;
      this.#draw();
    } else if (key === "ok") {
      this.#open();
    } else if (key === "left") this.#ask("JumpBackward", { sec: 10 });
    else if (key === "right") this.#ask("JumpForward", { sec: 30 });
    else if (key === "pause") this.#ask(this.#playing ? "Pause" : "Resume");
    else if (key === "play" && this.#stream) this.#ask("Resume");
    else if (key === "play") this.#open();
    else if (key === "stop") this.#stop();
    else if (key === "back" && this.#size === "full") this.#place("window");
    else return false;
    return true;
  }

  /** A player event came. */
  heard({ type, param1, param2 }) {
    if (type === 137 || type === 35) {
      this.#position = Number(param1);
      this.#length = Number(param2);
    }
    if (type === 34 || type === 137 || type === 144) this.#playing = true;
    if ([33, 36, 97, 98, 134].includes(type)) this.#playing = false;
    if (type in EVENT) this.status.textContent = this.#stream ? `${this.#stream.name}: ${EVENT[type]}` : EVENT[type];
    this.heardList.prepend(h("li", {}, h("b", {}, String(type)), ` ${EVENT[type] ?? ""} `, h("span", {}, [param1, param2].filter(Boolean).join(" / "))));
    while (this.heardList.childElementCount > 6) this.heardList.lastChild.remove();
    this.#drawTime();
  }

  /** The TV's state came: draws the video where the TV has put it. */
  tvState(state) {
    const { plane } = this.app;
    if (state && state.media !== this.#media) this.#playsIn(state.media);
    const player = (state?.players ?? []).filter((p) => p.rect && p.state !== "stopped" && p.state !== "failed").at(-1);
    // A real picture needs none that is drawn.
    plane.hidden = !player || this.#media === "browser";
    if (!player) return;
    this.#isLive = player.live;
    const { x, y, width, height } = player.rect;
    for (const [name, value] of Object.entries({ left: x, top: y, width, height })) plane.style.setProperty(name, `${value}px`);
    plane.dataset.state = player.state;
    const file = player.url.split("/").at(-1);
    plane.replaceChildren(h("p", { class: "what" }, file), h("p", {}, `${player.state} · ${duration(player.position)}${player.live ? " · live" : ` of ${duration(player.duration)}`}`));
    this.app.dataset.video = width >= 1900 ? "full" : "part";
  }

  // Where the browser plays, the samples are no streams; the person's page may list some that are.
  async #playsIn(media) {
    this.#media = media;
    this.#list = SAMPLES;
    if (media === "browser") {
      try {
        this.#list = await (await fetch(OWN_STREAMS)).json();
      } catch {
        this.app.tell("The samples are no real streams: serve a page with streams.json, as examples/stream");
      }
    }
    this.#chosen = 0;
    this.show();
  }

  #ask(command, parameters) {
    const reply = this.app.plugin.ask(command, parameters);
    if (reply.code !== 0) this.app.tell(`${command}: ${reply.errorMessage}`);
    else if (reply.data === false) this.app.tell(`${command}: the player refused`);
    return reply.code === 0 && reply.data !== false;
  }

  #open() {
    if (this.#stream) this.#ask("Stop");
    const stream = this.#list[this.#chosen];
    this.#stream = stream;
    this.#isLive = false;
    this.#position = this.#length = 0;
    this.heardList.replaceChildren();
    this.status.textContent = `${stream.name}: opening`;
    if (!this.#ask("Init", { url: new URL(stream.url, location.href).href, timeOffset: 0 })) return;
    this.#place(this.#size);
    this.#ask("Play");
    this.#draw();
  }

  #stop() {
    this.#ask("Stop");
    this.#stream = null;
    this.#playing = false;
    this.#position = this.#length = 0;
    this.status.textContent = NO_STREAM;
    this.#draw();
  }

  #place(size) {
    this.#size = size;
    if (this.#stream) this.#ask("SetDisplayRect", SIZES[size]);
    this.element.dataset.size = size;
    this.#draw();
  }

  #draw() {
    [...this.streams.children].forEach((row, i) => {
      row.setAttribute("aria-selected", String(i === this.#chosen));
      row.classList.toggle("current", row.dataset.url === this.#stream?.url);
    });
    for (const control of this.controls.children) control.setAttribute("aria-pressed", String(control.dataset.act === this.#size));
    this.element.dataset.size = this.#size;
    this.#drawTime();
  }

  #drawTime() {
    const live = this.#isLive;
    this.seekBar.max = Math.floor(this.#length / 1000);
    if (document.activeElement !== this.seekBar || this.#playing) this.seekBar.value = Math.floor(this.#position / 1000);
    this.seekBar.disabled = !this.#length;
    this.time.textContent = this.#length ? `${duration(this.#position)} ${live ? "· live" : `of ${duration(this.#length)}`}` : "";
  }
}
