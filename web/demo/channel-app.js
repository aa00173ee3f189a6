// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { channelNumber, clock } from "./format.js";
import { GuideView } from "./guide-view.js";
import { LiveView } from "./live-view.js";
import { PlayerView } from "./player-view.js";
import { parse } from "./plugin.js";
import { SettingsView } from "./settings-view.js";

const APP_EVENTS = [90019, 90020, 90021, 90022, 90023, 90027, 90028, 90014, 90015];
const CHANNEL_LOAD = 90019;
const INSTANT_ON = 90027;
const INSTANT_OFF = 90028;
const UNMUTED = 99999;
const DIGITS_MS = 1500;
const WIDTH = 1920;
// What the keys do, by the names of KeyboardEvent.key: those of a TV's remote, and what stands for them on a keyboard.
const KEYS = {
  ArrowUp: "up",
  ArrowDown: "down",
  ArrowLeft: "left",
  ArrowRight: "right",
  Enter: "ok",
  Escape: "back",
  Backspace: "back",
  GoBack: "back",
  BrowserBack: "back",
  PageUp: "channelup",
  PageDown: "channeldown",
  ChannelUp: "channelup",
  ChannelDown: "channeldown",
  " ": "pause",
  MediaPlayPause: "pause",
  MediaPause: "pause",
  MediaPlay: "play",
  MediaStop: "stop",
  MediaRewind: "left",
  MediaFastForward: "right",
  Info: "info",
  Exit: "live",
  Home: "live",
  ContextMenu: "list",
  Guide: "guide",
  AudioVolumeUp: "louder",
  AudioVolumeDown: "quieter",
  Settings: "settings",
  ColorF0Red: "live",
  ColorF1Green: "guide",
  ColorF2Yellow: "player",
  ColorF3Blue: "settings",
  Power: "power",
  l: "live",
  c: "list",
  g: "guide",
  p: "player",
  s: "settings",
};

/**
 * The TV screen with the channel app on it, 1920 by 1080 whatever its size on the page. The app knows the TV through the
 * plug-in alone; only the TV's date, which a TV's runtime has in Date, and where the TV has put its video come from the
 * host's state, by tvState.
 */
class ChannelApp extends HTMLElement {
  channels = [];
  current = null; // {id, major, minor, name, present, following}
  #pictures = new Map();
  #digits = "";
  #digitsTimer = 0;
  #noticeTimer = 0;
  #clock = { date: Date.now(), at: performance.now(), speed: 1 }; // the TV's date at a time of performance.now()

  start({ plugin }) {
    this.plugin = plugin;
    this.tabIndex = 0;
    this.setAttribute("aria-label", "TV screen. Arrow keys, Enter, Escape and digits work as on the remote.");
    this.backdrop = h("div", { class: "backdrop" });
    this.plane = h("div", { class: "video-plane", hidden: true });
    const video = h("div", { class: "video-screen", dataset: { zelumoScreen: "" } });
    this.clock = h("div", { class: "tv-clock" });
    this.digits = h("div", { class: "tv-digits", hidden: true, role: "status" });
    this.notice = h("div", { class: "tv-notice", role: "status", hidden: true });
    this.off = h("div", { class: "tv-off", hidden: true }, h("p", {}, "The TV is in suspend. Press any key."));
    this.views = { live: new LiveView(this), guide: new GuideView(this), player: new PlayerView(this), settings: new SettingsView(this) };
    const screen = h(
      "div",
      { class: "screen" },
      this.backdrop,
      video,
      this.plane,
      Object.values(this.views).map((view) => view.element),
      this.clock,
      this.digits,
      this.notice,
      this.off,
    );
    this.append(screen);
    new ResizeObserver(([entry]) => screen.style.setProperty("--scale", entry.contentRect.width / WIDTH)).observe(this);
    this.addEventListener("keydown", (event) => this.#keydown(event));
    plugin.addEventListener("service", ({ detail }) => this.#heard(detail));
    plugin.addEventListener("player", ({ detail }) => this.views.player.heard(detail));
    plugin.addEventListener("open", () => this.#begin());
    setInterval(() => this.#tick(), 1000);
    this.show("live");
    this.#begin();
  }

  /** The TV's state came. */
  tvState(state) {
    this.#clock = { date: state.time, at: performance.now(), speed: state.speed ?? 1 };
    this.views?.player.tvState(state);
  }

  /** The TV's date, in milliseconds since 1970. */
  now() {
    const { date, at, speed } = this.#clock;
    return date + (performance.now() - at) * speed;
  }

  // ---- Keys

  /** Does what a key does: a digit, or one of the KEYS' values. */
  press(key) {
    if (!this.off.hidden) return this.#wake();
    if (key === "power") return (this.off.hidden = false);
    if (/^\d$/.test(key)) return this.#digit(key);
    if (key === "ok" && this.#digits) return this.#tuneDigits();
    if (key === "channelup") return this.step(+1);
    if (key === "channeldown") return this.step(-1);
    if (key === "live" || key === "list") {
      this.show("live");
      this.views.live.list(key === "list" && !this.views.live.listing);
      return undefined;
    }
    if (key === "info" && this.view === "live") return this.views.live.banner(this.views.live.bannerElement.hidden);
    if (key === "louder" || key === "quieter") return this.views.settings.volume(key === "louder" ? 1 : -1);
    if (key in this.views) return this.show(key);
    if (this.views[this.view].key(key)) return undefined;
    return key === "back" ? this.show("live") : undefined;
  }

  /** Goes to a view: live, guide, player or settings. */
  show(name) {
    if (this.view && this.view !== name) this.views[this.view].hide();
    const before = this.view;
    this.view = name;
    this.dataset.view = name;
    for (const [key, view] of Object.entries(this.views)) view.element.hidden = key !== name;
    if (before !== name) this.views[name].show();
  }

  #keydown(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    // Controls have their own way with a keyboard's keys, but not with the remote's.
    if (event.isTrusted) {
      const onControl = event.target.closest("button, input, select");
      if (onControl && (event.key === "Enter" || event.key === " ")) return;
      if (event.target.closest("input, select")) return;
    }
    const key = /^\d$/.test(event.key) ? event.key : KEYS[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!key) return;
    event.preventDefault();
    this.press(key);
  }

  #digit(digit) {
    this.#digits = (this.#digits + digit).slice(-3);
    const channel = this.channels.find(({ major }) => String(major) === this.#digits);
    this.digits.replaceChildren(h("b", {}, this.#digits), channel ? h("bdi", {}, channel.name) : "");
    this.digits.hidden = false;
    clearTimeout(this.#digitsTimer);
    this.#digitsTimer = setTimeout(() => this.#tuneDigits(), DIGITS_MS);
  }

  #tuneDigits() {
    clearTimeout(this.#digitsTimer);
    const number = this.#digits;
    this.#digits = "";
    this.digits.hidden = true;
    const channel = this.channels.find(({ major }) => String(major) === number);
    if (channel) this.tune(channel);
    else this.tell(`There is no channel ${number}`);
  }

  // ---- Channels

  /** Tunes to a channel of the line-up. */
  tune(channel) {
    const reply = this.plugin.ask("SetServiceByServiceid", { Serviceid: channel.id, Appid: this.appId });
    if (reply.code !== 0) return this.tell(`Channel ${channelNumber(channel)} can't be tuned: ${reply.errorMessage}`);
    this.show("live");
    return undefined;
  }

  /** Tunes to the next channel, or with -1 to the previous one. */
  step(by) {
    this.show("live");
    const reply = this.plugin.ask(by > 0 ? "SetNextService" : "SetPreviousService");
    if (reply.data !== true) this.tell("The TV didn't change the channel");
  }

  /** Shows a text for a while. */
  tell(text) {
    this.notice.textContent = text;
    this.notice.hidden = false;
    clearTimeout(this.#noticeTimer);
    this.#noticeTimer = setTimeout(() => (this.notice.hidden = true), 4000);
  }

  /** A picture's address: of a channel ("GetChannelLogo") or of a programme. Empty when there is none. */
  picture(command, id) {
    const key = `${command} ${id}`;
    if (!this.#pictures.has(key)) {
      const request = command === "GetChannelLogo" ? { TCServiceId: id } : { programId: id };
      this.#pictures.set(key, this.plugin.query(command, request)?.url ?? "");
    }
    return this.#pictures.get(key);
  }

  // The start of the app: with the page, and whenever the plug-in was opened again.
  #begin() {
    const { plugin } = this;
    plugin.ask("LaunchedZELumoWebApp");
    this.appId = plugin.ask("GetAppIDAndURL").data?.appID ?? "";
    for (const event of APP_EVENTS) plugin.ask("RegisterEvent", { event });
    this.views.settings.watch();
    this.channels = plugin.channels();
    const record = plugin.currentChannel();
    if (record) this.#channel(record, plugin.query("GetPresentProgram", { TCServiceId: record.serviceId }));
    else this.tell("The TV shows no channel");
    this.views[this.view].show();
  }

  #channel(record, programs) {
    this.current = {
      id: String(record.serviceId),
      major: record.major,
      minor: record.minor,
      name: record.channelName,
      present: programs?.present ?? null,
      following: programs?.following ?? null,
    };
    const { present } = this.current;
    const picture = present ? this.picture("GetProgramBackground", present.programId) : "";
    this.backdrop.style.backgroundImage = picture ? `url("${picture}")` : "";
    this.views.live.channelChanged();
  }

  #heard({ command, data }) {
    switch (data?.event) {
      case CHANNEL_LOAD: {
        const record = parse(data.ch_info);
        if (record) this.#channel(record, parse(data.program_info));
        return;
      }
      case INSTANT_OFF:
        this.off.hidden = false;
        return;
      case INSTANT_ON:
        this.#wake();
        return;
      case UNMUTED:
        this.tell("The sound is on again");
        return;
      default:
    }
    if (typeof data === "string") this.views.settings.changed(command);
  }

  #wake() {
    this.off.hidden = true;
    this.views.live.banner(true);
  }

  #tick() {
    const now = this.now();
    this.clock.textContent = clock(now);
    const { current } = this;
    if (current?.present && (now < current.present.startTime || now >= current.present.endTime)) {
      const programs = this.plugin.query("GetPresentProgram", { TCServiceId: current.id });
      if (programs) this.#channel({ serviceId: current.id, major: current.major, minor: current.minor, channelName: current.name }, programs);
    }
    this.views[this.view].tick?.(now);
  }
}

customElements.define("channel-app", ChannelApp);
