// SPDX-License-Identifier: Apache-2.0
// What can be expected of a TV. All retry until the time-out of `expect`, and tell what did happen.
import { checkCall, checkCommand, checkPosted, reportType } from "./api.js";
import { is } from "./journal.js";
import { matches, matchesArgs } from "./match.js";
import { checkList, checkOptions } from "./near.js";
import { KEEPER, told } from "./tv.js";

const LOOK_MS = 100; // how often a state is looked at

// At the next change of the journal, or after a while.
const change = (keeper, ms) =>
  new Promise((resolve) => {
    const finish = () => {
      stop();
      clearTimeout(timer);
      resolve();
    };
    const stop = keeper.listen(finish);
    const timer = setTimeout(finish, ms);
  });

/**
 * An expectation. `read(expected…)` gives what is expected, as text, and how to look: that gives whether it holds and tells
 * what there is.
 */
function expectation(name, read) {
  return async function (tv, ...given) {
    const keeper = tv?.[KEEPER];
    if (!keeper) throw new TypeError(`${name}: expect(…) must be given a TV`);
    const { wanted, look, timeout } = read(...given);
    const end = Date.now() + (timeout ?? this.timeout ?? 5000);
    for (;;) {
      const { pass, tell } = await look(tv, keeper);
      const left = end - Date.now();
      if (pass !== this.isNot || left <= 0) {
        return {
          pass,
          name,
          message: () => `expect(tv).${this.isNot ? "not." : ""}${name}: expected ${this.isNot ? "not " : ""}${wanted}; ${tell()}`,
        };
      }
      await change(keeper, Math.min(left, LOOK_MS));
    }
  };
}

const shown = (value) => (value instanceof RegExp ? String(value) : JSON.stringify(value));
const times = (count) => (count === undefined ? "" : `, ${count} ${count === 1 ? "time" : "times"}`);

/** Lines of the journal: as many as are wanted, or any, of those that fit. */
function lines(wanted, kind, fits, options) {
  const look = async (tv, keeper) => {
    await keeper.caughtUp();
    const came = keeper.sinceBegin().filter(is[kind]);
    const count = came.filter(fits).length;
    const pass = options.times === undefined ? count > 0 : count === options.times;
    const often = count ? `it was so ${count} ${count === 1 ? "time" : "times"}; ` : "";
    return { pass, tell: () => often + told(came, kind === "sent" ? "command" : kind) };
  };
  return { wanted: wanted + times(options.times), look, timeout: options.timeout };
}

/** The TV's state. */
const state = (wanted, pick, options) => ({
  wanted,
  look: async (tv) => {
    const [pass, there] = pick(await tv.state());
    return { pass, tell: () => there };
  },
  timeout: options.timeout,
});

export const expectations = {
  toHaveSent: expectation("toHaveSent", (command, parameters = {}, options = {}) => {
    checkCommand(command);
    checkOptions("toHaveSent", options, ["times", "timeout"]);
    if (parameters === null || typeof parameters !== "object") throw new TypeError("toHaveSent: the parameters must be an object");
    const fits = (line) => {
      const message = line.await ?? line.post;
      return message?.command === command && matches(message, parameters);
    };
    const what = Object.keys(parameters).length ? ` with ${shown(parameters)}` : "";
    return lines(`the page to have sent ${command}${what}`, "sent", fits, options);
  }),
  toHaveCalled: expectation("toHaveCalled", (call, options = {}) => {
    checkCall(call);
    checkOptions("toHaveCalled", options, ["args", "times", "timeout"]);
    checkList('toHaveCalled: "args"', options.args);
    const what = options.args ? ` with ${shown(options.args)}` : "";
    return lines(`the call ${call}${what}`, "call", (line) => line.call === call && matchesArgs(line.args, options.args), options);
  }),
  toHavePosted: expectation("toHavePosted", (nameOrType, data, options = {}) => {
    checkOptions("toHavePosted", options, ["times", "timeout"]);
    checkPosted(nameOrType);
    const type = reportType(nameOrType);
    const fits = ({ message }) => {
      if (type !== undefined && message?.type === type) return data === undefined || matches(message, data);
      return (message?.command === nameOrType || message?.event === nameOrType) && (data === undefined || matches(message.data ?? message, data));
    };
    return lines(`the page to have been posted ${shown(nameOrType)}${data === undefined ? "" : ` with ${shown(data)}`}`, "message", fits, options);
  }),
  toBeTunedTo: expectation("toBeTunedTo", (serviceIdOrName, options = {}) => {
    checkOptions("toBeTunedTo", options, ["timeout"]);
    const wanted = String(serviceIdOrName);
    return state(`the TV to be tuned to ${shown(wanted)}`, ({ channel }) => [
      channel?.serviceId === wanted || channel?.name === wanted,
      channel ? `it shows ${shown(channel.name)}, ${channel.serviceId}` : "it shows no channel",
    ], options);
  }),
  toBePlaying: expectation("toBePlaying", (url, options = {}) => {
    checkOptions("toBePlaying", options, ["timeout"]);
    return state(`a player to play${url === undefined ? "" : ` ${shown(url)}`}`, ({ players }) => {
      const player = players.reduce((last, one) => (last && last.id > one.id ? last : one), null);
      const right = url === undefined || (url instanceof RegExp ? url.test(player?.url) : player?.url === url);
      return [player?.state === "playing" && right, player ? `player ${player.id} is ${player.state}, of ${player.url}` : "there is no player"];
    }, options);
  }),
  toHaveSetting: expectation("toHaveSetting", (key, value, options = {}) => {
    checkOptions("toHaveSetting", options, ["timeout"]);
    return state(`the setting ${key} to be ${shown(value)}`, ({ settings }) => [
      key in settings && matches(settings[key], value),
      key in settings ? `it is ${shown(settings[key])}` : `there is no such key; there are ${Object.keys(settings).join(", ") || "none"}`,
    ], options);
  }),
};
