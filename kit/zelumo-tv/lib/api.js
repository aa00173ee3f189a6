// SPDX-License-Identifier: Apache-2.0
// What the page's interface is made of, as the package's page-api.json has it.
import { readFileSync } from "node:fs";
import { didYouMean } from "./near.js";

let read;
const api = () => (read ??= JSON.parse(readFileSync(new URL("../page-api.json", import.meta.url), "utf8")));

const names = (list) => list.map(({ name }) => name);
const quoted = (name) => JSON.stringify(name);

/** Throws where there is no such platform call. */
export function checkCall(name) {
  if (!names(api().calls).includes(name)) throw new TypeError(`there is no platform call ${quoted(name)}${didYouMean(name, names(api().calls))}`);
  return name;
}

/** Throws where the page has no such command. */
export function checkCommand(name) {
  const known = names(api().commands);
  if (!known.includes(name)) throw new TypeError(`there is no command ${quoted(name)}${didYouMean(name, known)}`);
  return name;
}

// A call, or a page's command.
function named(name) {
  const { calls, commands } = api();
  if (names(calls).includes(name)) return { call: name };
  const command = commands.find((one) => one.name === name);
  if (!command) {
    throw new TypeError(
      `there is no platform call or command ${quoted(name)}${didYouMean(name, [...names(commands), ...names(calls)])}`,
    );
  }
  return { command };
}

/**
 * The platform calls that decide whether what is named, a call or a page's command, works; with `args` those of a command's that
 * take so many.
 */
export function decidingCalls(name, args) {
  const { call, command } = named(name);
  if (call) return [call];
  if (!command.decidedBy.length) throw new TypeError(`no platform call decides whether ${name} works`);
  const fitting = command.decidedBy.filter((one) => (args?.length ?? 0) <= argumentCount(one));
  if (!fitting.length) throw new TypeError(`no call that decides whether ${name} works has ${args.length} arguments: ${command.decidedBy.join(", ")}`);
  return fitting;
}

/** The platform calls that take as long as what is named; of a command that always works the one it ends with. */
export function slowCalls(name) {
  const { call, command } = named(name);
  const calls = call ? [call] : command.decidedBy.length ? command.decidedBy : command.calls.slice(-1);
  if (!calls.length) throw new TypeError(`${name} makes no platform call`);
  return calls;
}

const callOf = (wanted) => api().calls.find(({ name }) => name === wanted);
// "mode, sort mode; or mode, "value"": as the longest has it.
const argumentCount = (call) => Math.max(...callOf(call).args.split("; or ").map((text) => (text ? text.replaceAll(/\{[^}]*\}/g, "").split(",").length : 0)));

// Of most calls that return a number any other than 0 is a failure, of those that return 0 as theirs any that is not above it.
const NEGATIVE_ALONE = ["IServiceNavigation::GetServiceList", "vconf_notify_key_changed"];

function checkCode(call, code) {
  const { failure, result } = callOf(call);
  if (result !== "int" || !failure.length) throw new TypeError(`${call} has no code to fail with; give a result`);
  const negative = NEGATIVE_ALONE.includes(call);
  const [fails, codes] = negative ? [code < 0, "below 0"] : failure[0] === 0 ? [code <= 0, "0 or below"] : [code !== 0, "other than 0"];
  if (!Number.isInteger(code) || !fails) throw new TypeError(`${call} doesn't fail with the code ${JSON.stringify(code)}: its failures are ${codes}`);
  return code;
}

/** What the call gives when it fails, with that code if one is given; throws where it can't. */
export function failureOf(call, code) {
  if (code !== undefined) return checkCode(call, code);
  const { failure } = callOf(call);
  if (!failure.length) throw new TypeError(`${call} doesn't fail by itself; give a result`);
  return failure[0];
}

/** The number of an event, of the number or its name. */
export function eventNumber(event) {
  if (typeof event === "number") return event;
  const { events } = api();
  const found = events.find(({ command }) => command === event);
  if (!found) throw new TypeError(`there is no event ${quoted(event)}${didYouMean(event, events.map(({ command }) => command))}`);
  return found.event;
}

/** The number of a player report, of the number or its name; undefined for any other text. */
export function reportType(type) {
  if (typeof type === "number") return type;
  return api().playerEvents.types.find(({ name }) => name === type)?.type;
}

export const reportNames = () => names(api().playerEvents.types);

/**
 * Throws where nothing is posted to a page under that name or type. A message that a page posts is answered under its command's
 * name; settings keys are paths.
 */
export function checkPosted(nameOrType) {
  const { commands, events, signals, playerEvents } = api();
  const known = [...[...events, ...signals].map(({ command }) => command), ...reportNames(), playerEvents.event, ...names(commands)];
  const types = playerEvents.types.map(({ type }) => type);
  if (typeof nameOrType === "number" ? types.includes(nameOrType) : nameOrType === "" || known.includes(nameOrType)) return;
  if (typeof nameOrType === "string" && nameOrType.includes("/")) return;
  throw new TypeError(
    `nothing is posted under ${typeof nameOrType === "number" ? `the type ${nameOrType}` : quoted(nameOrType)}` +
      didYouMean(nameOrType, known),
  );
}
