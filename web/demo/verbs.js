// SPDX-License-Identifier: Apache-2.0
import { KEY_OPTIONS } from "./keys.js";

/**
 * What the TV can be made to do, for the remote's forms. A field is {name, label, kind, value, optional, options, help, rare};
 * kind is number, text, json, choice (options: [value, label] pairs), date or flag. `now`: can't be put off. `line` makes
 * the script line of the fields' value where it isn't the verb with these, and `name` is the form's where it isn't the verb's.
 */
const NO_USER = { name: "user", label: "Null user data", kind: "flag", on: null, optional: true, rare: true };
const SUSPEND = 0x40000000;

// The calls that commands depend on; a command that depends on one or the other has both.
function decisions(api) {
  return api.commands.flatMap(({ name, decidedBy }) => decidedBy.map((call) => [`${name} ${call}`, decidedBy.length > 1 ? `${name}: ${call}` : name]));
}

export function verbs(api) {
  const events = [...api.events]
    .sort((a, b) => b.event - a.event)
    .map((e) => [e.event, e.command.replace(/^ITVS_Signal_(ZELumo_Control_State_)?|^PLO\w*?MIA_EVENT_/, "")]);
  return {
    tv: [
      {
        verb: "key",
        title: "Key",
        about: "Somebody presses and releases a key of the remote. The page gets keydown and keyup.",
        fields: [{ name: "key", label: "Key", kind: "text", value: "MediaPlay", options: KEY_OPTIONS }],
      },
      {
        verb: "event",
        title: "Event",
        about: "The content service delivers an event. The page hears it once it has subscribed to it.",
        fields: [{ name: "event", label: "Event", kind: "number", value: 90019, options: events }, NO_USER],
      },
      {
        verb: "signal",
        title: "Signal",
        about: "The TV service raises a signal. The page hears only of 177.",
        fields: [{ name: "signal", label: "Signal", kind: "number", value: 177, options: api.signals.map((s) => [s.signal, "PIN entered"]) }, NO_USER],
      },
      {
        verb: "poweroff",
        title: "Power off",
        about: "The power service says that the TV goes off. The page hears only of a suspend.",
        fields: [
          { name: "type", label: "Type", kind: "choice", value: SUSPEND, options: [[SUSPEND, "Into suspend"], [1, "Off"], [2, "Restart"]] },
          NO_USER,
        ],
      },
    ],
    player: [
      {
        verb: "report",
        title: "Player report",
        about: "The player service reports. After its first event subscription the page hears of its own players and of player 101.",
        fields: [
          { name: "player", label: "Player", kind: "number", value: 101, options: [[101, "registered with events"]] },
          { name: "type", label: "Type", kind: "number", value: 137, options: api.playerEvents.types.map((t) => [t.type, t.name]) },
          { name: "value1", label: "Value 1", kind: "number", value: 15000 },
          { name: "value2", label: "Value 2", kind: "number", value: 600000 },
          NO_USER,
        ],
      },
    ],
    settings: [
      {
        verb: "setting",
        title: "Settings change",
        about: "Somebody else on the TV writes a key. The page hears of the keys that it watches.",
        fields: [
          { name: "key", label: "Key", kind: "text", value: api.settings.keys[0].key, options: api.settings.keys.map((k) => [k.key, k.type]) },
          { name: "value", label: "Value", kind: "json", value: '"sv"', help: "a string, whole number or boolean, as JSON" },
          NO_USER,
        ],
      },
    ],
    time: [
      {
        verb: "advance",
        title: "Advance",
        about: "Playing time passes at once, with all that happens in it.",
        presets: [["1 s", 1000], ["10 s", 10_000], ["1 min", 60_000]],
        fields: [{ name: "ms", label: "Milliseconds", kind: "number", value: 3_600_000 }],
        now: true,
      },
      {
        verb: "speed",
        title: "Speed",
        about: "How many times as fast playing time runs.",
        presets: [["Stand still", 0], ["1 ×", 1], ["10 ×", 10], ["60 ×", 60]],
        fields: [{ name: "factor", label: "Times", kind: "number", value: 1000, help: "0 to 100000" }],
      },
      {
        verb: "clock",
        title: "Date",
        about: "The TV's date and time become these.",
        fields: [{ name: "date", label: "Date", kind: "date" }],
      },
    ],
    faults: [
      {
        name: "fail",
        verb: "answer",
        title: "Fail a command",
        about: "The platform call that the command depends on fails, and so does the command.",
        fields: [
          { name: "command", label: "Command", kind: "choice", value: "SetNextService IServiceNavigation::SetNextService", options: decisions(api) },
          { name: "times", label: "Times", kind: "number", value: "", optional: true, help: "until restored" },
        ],
        line: ({ command, ...rest }) => {
          const call = command.split(" ")[1];
          return { tv: "answer", call, result: api.calls.find(({ name }) => name === call).failure[0], ...rest };
        },
      },
      {
        verb: "answer",
        title: "Answer a platform call",
        about: "From now on the call does nothing but return this.",
        fields: [
          { name: "call", label: "Call", kind: "choice", value: "BmsPlay", options: api.calls.map(({ name }) => [name, name]) },
          { name: "result", label: "Result", kind: "json", value: "-1", optional: true, help: "usual success" },
          { name: "out", label: "Out", kind: "json", value: "", optional: true, help: "JSON list" },
          { name: "args", label: "Only for", kind: "json", value: "", optional: true, help: "any arguments" },
          { name: "times", label: "Times", kind: "number", value: "", optional: true, help: "until restored" },
          { name: "delay", label: "Delay, ms", kind: "number", value: "", optional: true, help: "none" },
        ],
      },
      {
        verb: "restore",
        title: "Restore",
        about: "A call works as usual again, or every call does.",
        fields: [{ name: "call", label: "Call", kind: "choice", value: "", optional: true, options: [["", "Every call"], ...api.calls.map(({ name }) => [name, name])] }],
      },
    ],
  };
}
