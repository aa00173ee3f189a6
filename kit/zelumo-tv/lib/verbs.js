// The verbs of the TV as objects, for `tv.verb` and `tv.at`. Where one takes several, it is a list.
import { callsOf, checkCall, eventNumber, failureOf, reportNames, reportType } from "./api.js";
import { checkOptions, didYouMean } from "./near.js";
import { dateOf } from "./time.js";

const SUSPEND = 1 << 30;

// Without the members that were not given.
const verb = (members) => Object.fromEntries(Object.entries(members).filter(([, value]) => value !== undefined));
const one = (list) => (list.length === 1 ? list[0] : list);

export const verbs = {
  fail(name, options = {}) {
    checkOptions("fail", options, ["code", "result", "times", "args"]);
    const { code, result, times, args } = options;
    const failing = (call) => ("result" in options && result !== undefined ? result : failureOf(call, code));
    return one(callsOf(name).map((call) => verb({ tv: "answer", call, result: failing(call), times, args })));
  },
  answer(call, options = {}) {
    checkOptions("answer", options, ["result", "out", "times", "args", "delay"]);
    const { result, out, times, args, delay } = options;
    return verb({ tv: "answer", call: checkCall(call), result, out, args, times, delay });
  },
  delay: (name, ms) => one(callsOf(name).map((call) => ({ tv: "answer", call, delay: ms, works: true }))),
  restore: (name) => (name === undefined ? { tv: "restore" } : one(callsOf(name).map((call) => ({ tv: "restore", call })))),
  fire: (event, { user } = {}) => verb({ tv: "event", event: eventNumber(event), user }),
  signal: (signal, { user } = {}) => verb({ tv: "signal", signal, user }),
  powerOff: (type = SUSPEND, { user } = {}) => verb({ tv: "poweroff", type: type === "suspend" ? SUSPEND : type, user }),
  report(type, { player, value1, value2, user } = {}) {
    const number = reportType(type);
    if (number === undefined) throw new TypeError(`there is no report ${JSON.stringify(type)}${didYouMean(type, reportNames())}`);
    return verb({ tv: "report", player, type: number, value1, value2, user });
  },
  set: (key, value, { force, user } = {}) => verb({ tv: "setting", key, value, force, user }),
  press: (key) => ({ tv: "key", key }),
  speed: (factor) => ({ tv: "speed", factor }),
  date: (when) => ({ tv: "clock", date: dateOf(when) }),
};
