// SPDX-License-Identifier: Apache-2.0
// What the page's client, kit/zelumo-tv/client.js, and its typings have of the description of the page's interface.
import { api, isWide, remake } from "./description.mjs";
import { textType } from "./typings.mjs";

/** GetProgram: getProgram, ZELumoProgramInfoIsAvailable: zeLumoProgramInfoIsAvailable. */
const camelCase = (name) => name.replace(/^[A-Z]+(?=[A-Z][a-z])|^[A-Z]/, (head) => head.toLowerCase());

// A command whose one parameter is a JSON text takes the object that the text holds.
const takesJson = (c) => c.parameters.length === 1 && c.parameters[0].text !== "";
const names = (is) => JSON.stringify(api.commands.filter(is).map((c) => c.name).join(" "));

// Which members of a JSON text hold whole numbers too long for a double.
function wideMembers(name) {
  const text = api.texts.find((t) => t.name === name);
  return (text?.fields ?? []).flatMap((f) => (f.wide ? [f.name] : wideMembers(f.type)));
}

function data() {
  const wide = api.commands.filter((c) => isWide(c.data.text)).map((c) => `  ${c.name}: /("(?:${wideMembers(c.data.text).join("|")})"\\s*:\\s*)(\\d+)/g,\n`);
  const eventTexts = [...new Set(api.events.flatMap((e) => e.fields.filter((f) => f.text).map((f) => f.name)))];
  return `// Commands by what goes in and comes out: values; a JSON text comes out; JSON texts go in and come out.
const PLAIN = ${names((c) => !takesJson(c) && !c.data.text)};
const TEXT = ${names((c) => !takesJson(c) && c.data.text)};
const REQUEST = ${names(takesJson)};
const EMPTY = ${names((c) => c.data.mayBeEmpty)};

// Whole numbers that a double may not hold: they become texts.
const LONG = {
${wide.join("")}};

const EVENT_TEXTS = ${JSON.stringify(eventTexts)};
const PLAYER_EVENT = ${JSON.stringify(api.playerEvents.event)};

/** The numbers of events, for registerEvent and unRegisterEvent. */
export const events = {
${api.events.map((e) => `  ${e.command}: ${e.event},\n`).join("")}};

const PLAYER_TYPES = {
${api.playerEvents.types.map((t) => `  ${t.name}: ${t.type},\n`).join("")}};

const SIGNALS = ${JSON.stringify(api.signals.map((s) => s.command))};
`;
}

const parameterNames = (c) => c.parameters.filter((p) => p.required).length;

function signature(c) {
  const [parameter] = c.parameters;
  if (takesJson(c)) {
    const request = textType(parameter.text);
    const empty = api.texts.find((t) => t.name === parameter.text).fields.length === 0;
    return `request${empty ? "?" : ""}: ${request} | ZelumoText<${request}> | string`;
  }
  if (!c.parameters.length) return "";
  return `parameters${parameterNames(c) ? "" : "?"}: ZelumoParameters<"${c.name}">`;
}

const method = (c) => `  /** ${c.about} */\n  ${camelCase(c.name)}(${signature(c)}): Promise<ZelumoData<"${c.name}">>;\n`;

/** The client with its data made anew. */
export const client = (text) => remake(text, { data });

/** Its typings, likewise. */
export const clientTypings = (text) =>
  remake(text, {
    events: () => api.events.map((e) => `  readonly ${e.command}: ${e.event};\n`).join(""),
    methods: () => api.commands.map(method).join("\n"),
  });
