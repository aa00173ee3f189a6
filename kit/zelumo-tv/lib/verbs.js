// SPDX-License-Identifier: Apache-2.0
// The verbs of the TV as objects, for `tv.verb` and `tv.at`. Where one takes several, it is a list.
import { checkCall, decidingCalls, eventNumber, failureOf, reportNames, reportType, slowCalls } from "./api.js";
import { checkList, checkOptions, didYouMean } from "./near.js";
import { dateOf } from "./time.js";

const SUSPEND = 1 << 30;

// Without the members that were not given.
const verb = (members) => Object.fromEntries(Object.entries(members).filter(([, value]) => value !== undefined));
// What is delivered to callbacks, with options of its own.
function delivery(what, options, own = []) {
  checkOptions(what, options, [...own, "user"]);
  return options;
}
const one = (list) => (list.length === 1 ? list[0] : list);

export const verbs = {
  fail(name, options = {}) {
    checkOptions("fail", options, ["code", "result", "times", "args"]);
    const { code, result, times, args } = options;
    checkList('fail: "args"', args);
    const failing = (call) => ("result" in options && result !== undefined ? result : failureOf(call, code));
    return one(decidingCalls(name, args).map((call) => verb({ tv: "answer", call, result: failing(call), times, args })));
  },
  answer(call, options = {}) {
    checkOptions("answer", options, ["result", "out", "times", "args", "delay"]);
    const { result, out, times, args, delay } = options;
    return verb({ tv: "answer", call: checkCall(call), result, out, args, times, delay });
  },
  delay(name, ms) {
    if (!Number.isInteger(ms) || ms < 0) throw new TypeError("delay: give the milliseconds that the call takes");
    return one(slowCalls(name).map((call) => ({ tv: "answer", call, delay: ms, works: true })));
  },
  restore: (name) => (name === undefined ? { tv: "restore" } : one(slowCalls(name).map((call) => ({ tv: "restore", call })))),
  fire: (event, options = {}) => verb({ tv: "event", event: eventNumber(event), ...delivery("fire", options) }),
  signal: (signal, options = {}) => verb({ tv: "signal", signal, ...delivery("signal", options) }),
  powerOff: (type = SUSPEND, options = {}) =>
    verb({ tv: "poweroff", type: type === "suspend" ? SUSPEND : type, ...delivery("powerOff", options) }),
  report(type, options = {}) {
    const { player, value1, value2, user } = delivery("report", options, ["player", "value1", "value2"]);
    const number = reportType(type);
    if (number === undefined) throw new TypeError(`there is no report ${JSON.stringify(type)}${didYouMean(type, reportNames())}`);
    return verb({ tv: "report", player, type: number, value1, value2, user });
  },
  set: (key, value, options = {}) => verb({ tv: "setting", key, value, ...delivery("set", options, ["force"]) }),
  press: (key) => ({ tv: "key", key }),
  speed: (factor) => ({ tv: "speed", factor }),
  date(when) {
    if (when === "file") throw new TypeError('date: the TV file tells the date at the start alone: startTv({ date: "file" })');
    return { tv: "clock", date: dateOf(when) };
  },
};
