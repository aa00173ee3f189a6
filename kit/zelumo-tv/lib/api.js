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

/** The platform calls that decide whether what is named, a call or a page's command, works. */
export function callsOf(name) {
  const { calls, commands } = api();
  if (names(calls).includes(name)) return [name];
  const command = commands.find((one) => one.name === name);
  if (!command) {
    throw new TypeError(
      `there is no platform call or command ${quoted(name)}${didYouMean(name, [...names(commands), ...names(calls)])}`,
    );
  }
  if (!command.decidedBy.length) throw new TypeError(`no platform call decides whether ${name} works`);
  return command.decidedBy;
}

/** What the call gives when it fails; throws where it can't. */
export function failureOf(call, code) {
  const { failure, result } = api().calls.find(({ name }) => name === call);
  if (code !== undefined && result === "int") return code;
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
