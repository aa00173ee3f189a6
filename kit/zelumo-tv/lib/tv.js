// SPDX-License-Identifier: Apache-2.0
// The driver: a TV, and all that somebody in front of it can do.
import { checkCall } from "./api.js";
import { TvError, ZelumoError } from "./errors.js";
import { startHost } from "./host.js";
import { Journal, JournalKeeper, is } from "./journal.js";
import { matchesArgs, messageFilter } from "./match.js";
import { checkList, checkOptions } from "./near.js";
import { readScenario } from "./scenario.js";
import { playingTime } from "./time.js";
import { verbs } from "./verbs.js";

const WAIT_MS = 5000;
const TOLD = 20; // how much of what came instead is told

/** For the fixture: the test begins, the journal as it is kept. */
export const BEGIN = Symbol("begin");
export const KEEPER = Symbol("keeper");

const inShort = (value) => {
  const text = JSON.stringify(value);
  return text.length > 160 ? `${text.slice(0, 160)}…` : text;
};
/** What came, in a few lines. */
export function told(lines, what) {
  if (!lines.length) return `no ${what} came`;
  const last = lines.slice(-TOLD).map((line) => `  ${inShort(line)}`);
  return `${what}s that came${lines.length > TOLD ? `, the last ${TOLD} of ${lines.length}` : ""}:\n${last.join("\n")}`;
}

class Tv {
  #host;
  #keeper;
  #page;
  verbs = verbs;

  constructor(host, keeper) {
    this.#host = host;
    this.#keeper = keeper;
    this.journal = new Journal(keeper);
    host.ended.then(() => keeper.end());
  }

  get url() {
    return this.#host.url;
  }
  /** The process's id. */
  get pid() {
    return this.#host.pid;
  }
  get [KEEPER]() {
    return this.#keeper;
  }

  /** What comes from now on belongs to another test. */
  async [BEGIN]() {
    await this.#keeper.caughtUp();
    this.#keeper.begin = this.#keeper.lines.length;
  }

  async verb(verb) {
    if (verb === null || typeof verb !== "object") throw new TypeError('verb: expected { tv: "…", … }');
    const { status, json } = await this.#host.request("POST", "/tv", verb);
    if (status !== 200) throw new TvError(json.error);
    return json;
  }

  async #verbs(list) {
    for (const verb of [list].flat()) await this.verb(verb);
  }

  async fail(name, options) {
    return this.#verbs(verbs.fail(name, options));
  }
  async answer(call, options) {
    return this.#verbs(verbs.answer(call, options));
  }
  async delay(name, ms) {
    return this.#verbs(verbs.delay(name, ms));
  }
  async restore(name) {
    return this.#verbs(verbs.restore(name));
  }
  async fire(event, options) {
    return this.verb(verbs.fire(event, options));
  }
  async signal(signal, options) {
    return this.verb(verbs.signal(signal, options));
  }
  async powerOff(type, options) {
    return this.verb(verbs.powerOff(type, options));
  }
  async report(type, options = {}) {
    verbs.report(type, options); // what is wrong is told first
    const player = options.player ?? (await this.player())?.id;
    if (player === undefined) throw new TvError("there is no player that could report");
    return this.verb(verbs.report(type, { ...options, player }));
  }
  async set(key, value, options) {
    return this.verb(verbs.set(key, value, options));
  }
  async press(key) {
    return this.verb(verbs.press(key));
  }
  async advance(time) {
    return this.verb({ tv: "advance", ms: playingTime(time) });
  }
  async speed(factor) {
    return this.verb(verbs.speed(factor));
  }
  async date(when) {
    return this.verb(verbs.date(when));
  }
  async at(time, list) {
    const ms = playingTime(time);
    for (const verb of [list].flat()) await this.verb({ tv: "at", ms, do: verb });
  }
  async play(scenarioFile) {
    const lines = await readScenario(scenarioFile);
    for (const [i, { place, verb }] of lines.entries()) {
      await this.verb(verb).catch((error) => {
        error.message = `${place}: ${error.message}; ${i ? "what stands before it is scheduled" : "nothing is scheduled"}`;
        throw error;
      });
    }
  }

  async state() {
    return (await this.#host.request("GET", "/tv/state")).json;
  }
  async channel() {
    return (await this.state()).channel;
  }
  async player() {
    const { players } = await this.state();
    return players.reduce((last, player) => (last && last.id > player.id ? last : player), null);
  }

  get messages() {
    return this.journal.messages().map(({ message }) => message);
  }

  async #waitFor(pick, what, wanted, timeout = WAIT_MS) {
    const keeper = this.#keeper;
    let from = keeper.begin;
    const look = () => {
      for (; from < keeper.lines.length; from++) if (is[what](keeper.lines[from]) && pick(keeper.lines[from])) return keeper.lines[from];
      return undefined;
    };
    return new Promise((resolve, reject) => {
      const finish = (act, value) => {
        stop();
        clearTimeout(timer);
        act(value);
      };
      const check = () => {
        try {
          const found = look();
          if (found) finish(resolve, found);
          else if (keeper.ended) {
            this.#host.checkRuns();
            finish(reject, new TvError(`the TV ended before ${wanted} came`));
          }
        } catch (error) {
          finish(reject, error);
        }
      };
      const stop = keeper.listen(check);
      const timer = setTimeout(() => {
        const came = keeper.sinceBegin().filter(is[what]);
        finish(reject, new TvError(`${wanted} did not come within ${timeout} ms; ${told(came, what)}`));
      }, timeout);
      check();
    });
  }

  async waitForMessage(filter, options = {}) {
    checkOptions("waitForMessage", options, ["timeout"]);
    const fits = messageFilter(filter);
    const wanted = `a message${filter === undefined ? "" : ` ${typeof filter === "function" ? "that fits" : JSON.stringify(filter)}`}`;
    return (await this.#waitFor((line) => fits(line.message), "message", wanted, options.timeout)).message;
  }
  async waitForCall(name, options = {}) {
    checkOptions("waitForCall", options, ["args", "timeout"]);
    checkCall(name);
    const { args, timeout } = options;
    checkList('waitForCall: "args"', args);
    const wanted = `the call ${name}${args ? ` with ${JSON.stringify(args)}` : ""}`;
    return this.#waitFor((line) => line.call === name && matchesArgs(line.args, args), "call", wanted, timeout);
  }

  async send(command, parameters = {}) {
    if (parameters === null || typeof parameters !== "object" || Array.isArray(parameters)) throw new TypeError("send: the parameters must be an object");
    if (this.#page === undefined) {
      if ((await this.state()).page !== null) throw new TvError("a page in a browser has the TV, so it can't be played");
      this.#page = (await this.#host.request("POST", "/page/open")).json.page;
    }
    const input = parameters.input !== null && typeof parameters.input === "object" ? { input: JSON.stringify(parameters.input) } : {};
    const { status, json } = await this.#host.request("POST", `/page/${this.#page}/await`, { ...parameters, ...input, command });
    if (status !== 200) {
      this.#page = undefined;
      throw new TvError(status === 410 ? "another page has the TV now" : json.error);
    }
    if (json === null) throw new TvError(`${command}: the reply is undefined`);
    if (json.code !== 0) throw new ZelumoError(command, json);
    return json.data;
  }

  async close() {
    // First the connection: the host waits a moment for those that listen to take their leave.
    this.#keeper.end();
    await this.#host.end();
  }
  async [Symbol.asyncDispose ?? Symbol.for("nodejs.asyncDispose")]() {
    await this.close();
  }
}

export async function startTv(options = {}) {
  const host = await startHost(options);
  const keeper = new JournalKeeper(host);
  const tv = new Tv(host, keeper);
  try {
    await keeper.connect();
    const { settings } = options;
    if (settings !== null && typeof settings === "object") {
      for (const [key, value] of Object.entries(settings)) await tv.set(key, value, { force: true });
    }
  } catch (error) {
    await tv.close();
    throw error;
  }
  return tv;
}

