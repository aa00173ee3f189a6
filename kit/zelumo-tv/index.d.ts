// SPDX-License-Identifier: Apache-2.0
/// <reference lib="esnext.disposable" />
import type {
  ZelumoCommand, ZelumoEventName, ZelumoMessage, ZelumoParameters, ZelumoPlayerEventName, ZelumoReplyData, ZelumoText,
} from "./types.js";

/** Playing time: milliseconds, `"mm:ss"` or `"hh:mm:ss"`, a fraction of a second allowed (`"00:02.5"`). */
export type PlayingTime = number | string;

/** What the TV does: a verb of the host. */
export interface Verb {
  tv: string;
  [field: string]: unknown;
}

/** What became of a verb: the host's line out. */
export interface Did {
  did: string;
  /** How many callbacks were called, and what each returned. */
  delivered?: number;
  results?: number[];
  /** Of `advance`: the playing time since the start, in milliseconds. */
  position?: number;
}

export interface StartOptions {
  /** The folder of your page; without it the address shows the demo. */
  app?: string;
  /** The TV to stand in for: a TV file, or what it would hold. By default the sample TV. */
  file?: string | Record<string, unknown>;
  /** The TV's date at the start, or "file" for that of the TV file; by default the real one. */
  date?: string | Date | number;
  /** How many times as fast playing time runs; by default 0: it stands still until `advance`. */
  speed?: number;
  /** "manual" is speed 0, the default; "real" is speed 1. */
  clock?: "manual" | "real";
  /** Settings at the start, by key, or an SQLite file that keeps them across runs. */
  settings?: string | Record<string, string | number | boolean>;
  /** Whose pages may use the TV beside its own: `http://localhost:5173`. */
  allowOrigins?: string | readonly string[];
  /** A file for the recording, which replaces what it holds. */
  record?: string;
  /** Who plays streams. */
  media?: "simulated" | "browser";
  /** By default a free one. */
  port?: number;
  /** What the host says on standard error: true passes it on, a function gets each line. */
  log?: boolean | ((line: string) => void);
  /** A scenario that begins with the TV. */
  scenario?: string;
}

export interface Channel {
  serviceId: string;
  name: string;
  major: number | null;
  minor: number | null;
}

export interface Player {
  id: number;
  url: string;
  state: string;
  position: number;
  duration: number;
  live: boolean;
  rect: { x: number; y: number; width: number; height: number } | null;
}

/** The TV as it stands. */
export interface State {
  channel: Channel | null;
  players: Player[];
  settings: Record<string, string | number | boolean>;
  watches: string[];
  subscriptions: { events: number[]; signals: number[]; poweroff: number; players: number[] };
  answers: Omit<Verb, "tv">[];
  scheduled: { ms: number; do: Verb }[];
  speed: number;
  /** The page that has the TV. */
  page: number | null;
  /** The TV's date, in milliseconds since 1970. */
  time: number;
  playingTime: number;
}

export interface CallLine {
  call: string;
  args: unknown[];
  result: unknown;
  out?: unknown[];
}
export interface MessageLine {
  message: ZelumoMessage;
}
export interface ReplyLine {
  reply: { code: number; data: unknown; errorName?: string; errorMessage?: string } | null;
}
/** A line of the journal, as the host writes it. */
export type JournalLine = CallLine | MessageLine | ReplyLine | { [kind: string]: unknown };

/**
 * A message's name, a player report's name or number, some of a message's members, or what a function says. A name under which
 * nothing is posted is refused; settings keys are paths.
 */
export type MessageFilter = string | number | Record<string, unknown> | ((message: any) => boolean);

/** What happened since the test began. */
export interface Journal {
  all(): JournalLine[];
  filter(predicate: (line: any) => boolean): JournalLine[];
  calls(name?: string): CallLine[];
  messages(filter?: MessageFilter): MessageLine[];
  replies(): ReplyLine[];
}

export interface FailOptions {
  /** What calls that return a number return, one of their failures; by default the usual one. */
  code?: number;
  /** What the calls return, whatever they return. */
  result?: unknown;
  /** For so many calls only. */
  times?: number;
  /** Only with these arguments; null stands for any. Of a command's calls those that take so many. */
  args?: readonly unknown[];
}
export interface AnswerOptions {
  result?: unknown;
  out?: readonly unknown[];
  times?: number;
  args?: readonly unknown[];
  /** Milliseconds of real time that the call takes. */
  delay?: number;
}
/** `user: null` passes null user data to the callbacks. */
export interface DeliveryOptions {
  user?: null;
}
export interface ReportOptions extends DeliveryOptions {
  /** By default the player made last. */
  player?: number;
  value1?: number;
  value2?: number;
}
export interface SettingOptions extends DeliveryOptions {
  /** A value of another type than the key holds is written all the same. */
  force?: boolean;
}

/** The verbs as objects, for `tv.at` and `tv.verb`. A name of several calls gives a list. */
export interface Verbs {
  fail(name: string, options?: FailOptions): Verb | Verb[];
  answer(call: string, options?: AnswerOptions): Verb;
  delay(name: string, ms: number): Verb | Verb[];
  restore(name?: string): Verb | Verb[];
  fire(event: number | ZelumoEventName, options?: DeliveryOptions): Verb;
  signal(signal: number, options?: DeliveryOptions): Verb;
  powerOff(type?: number | "suspend", options?: DeliveryOptions): Verb;
  report(type: number | ZelumoPlayerEventName, options?: ReportOptions): Verb;
  set(key: string, value: string | number | boolean, options?: SettingOptions): Verb;
  press(key: string): Verb;
  speed(factor: number): Verb;
  date(when: string | Date | number): Verb;
}
export const verbs: Verbs;

export interface Tv extends AsyncDisposable {
  /** The address, without a slash at the end. */
  readonly url: string;
  /** The id of the host's process. */
  readonly pid: number;
  readonly verbs: Verbs;

  /** The platform call, or the calls that decide a page's command, fail. */
  fail(name: ZelumoCommand | (string & {}), options?: FailOptions): Promise<void>;
  /** The platform call gives this answer and does nothing. */
  answer(call: string, options?: AnswerOptions): Promise<void>;
  /** The call, or the page's command, takes so many milliseconds of real time, and works. */
  delay(name: ZelumoCommand | (string & {}), ms: number): Promise<void>;
  /** What was named works as usual again; without a name, everything does. */
  restore(name?: ZelumoCommand | (string & {})): Promise<void>;

  /** The content service delivers an event. */
  fire(event: number | ZelumoEventName, options?: DeliveryOptions): Promise<Did>;
  /** The TV service raises a signal. */
  signal(signal: number, options?: DeliveryOptions): Promise<Did>;
  /** The power service notifies; by default of a suspend. */
  powerOff(type?: number | "suspend", options?: DeliveryOptions): Promise<Did>;
  /** The player service reports. */
  report(type: number | ZelumoPlayerEventName, options?: ReportOptions): Promise<Did>;
  /** Somebody else on the TV writes a setting. */
  set(key: string, value: string | number | boolean, options?: SettingOptions): Promise<Did>;
  /** Somebody presses a key of the remote: a value of KeyboardEvent.key. */
  press(key: string): Promise<Did>;

  /** Playing time passes. */
  advance(time: PlayingTime): Promise<Did>;
  /** Playing time runs so many times as fast from now on. */
  speed(factor: number): Promise<Did>;
  /** The TV's date becomes this. */
  date(when: string | Date | number): Promise<Did>;
  /** When so much more playing time has passed, the TV does this. */
  at(time: PlayingTime, verb: Verb | Verb[]): Promise<void>;
  /** From now on the TV does what the scenario says. Where a line of it is wrong it rejects, and schedules nothing. */
  play(scenarioFile: string | URL): Promise<void>;
  verb(verb: Verb): Promise<Did>;

  state(): Promise<State>;
  channel(): Promise<Channel | null>;
  /** The player made last. */
  player(): Promise<Player | null>;

  readonly journal: Journal;
  /** What was posted to the page since the test began, in order. */
  readonly messages: ZelumoMessage[];
  /** A message that came since the test began, or the next. */
  waitForMessage(filter?: MessageFilter, options?: { timeout?: number }): Promise<any>;
  /** The same for a platform call. */
  waitForCall(name: string, options?: { args?: readonly unknown[]; timeout?: number }): Promise<CallLine>;

  /** Plays the page, where no browser is: the reply's data as they travel, JSON texts as texts. */
  send<C extends ZelumoCommand>(
    command: C,
    ...parameters: {} extends ZelumoParameters<C> ? [parameters?: SentParameters<C>] : [parameters: SentParameters<C>]
  ): Promise<ZelumoReplyData<C>>;
  /** The same with a command that the page doesn't have. */
  send<Name extends string>(command: Name extends ZelumoCommand ? never : Name, parameters?: Record<string, unknown>): Promise<unknown>;

  /** Ends the host. */
  close(): Promise<void>;
}

/** A command's parameters; `input` may be what its JSON text would hold. */
export type SentParameters<C extends ZelumoCommand> = {
  [K in keyof ZelumoParameters<C>]: ZelumoParameters<C>[K] | (K extends "input" ? TextOf<ZelumoParameters<C>[K]> : never);
};
type TextOf<Input> = Input extends ZelumoText<infer T> ? T : never;

/** A command that the TV answered with an error. Its message names the command. */
export class ZelumoError extends Error {
  readonly command: string;
  readonly code: number;
  readonly errorName: string;
  readonly errorMessage: string;
  readonly data: null | boolean;
}

/** What the TV doesn't do. */
export class TvError extends Error {}

/** Starts a TV. It ends with `close`, or with this process, however that ends. */
export function startTv(options?: StartOptions): Promise<Tv>;
