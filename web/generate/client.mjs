// The page's client, kit/zelumo-tv/client.js with its typings, from the description of the page's interface.
import { api, isWide, MADE } from "./description.mjs";
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

export function client() {
  const wide = api.commands.filter((c) => isWide(c.data.text)).map((c) => `  ${c.name}: /("(?:${wideMembers(c.data.text).join("|")})"\\s*:\\s*)(\\d+)/g,\n`);
  const eventTexts = [...new Set(api.events.flatMap((e) => e.fields.filter((f) => f.text).map((f) => f.name)))];
  return `// ${MADE}
//
// The plug-in's commands as methods that give promises. The same on a TV and on the desk.

/** A command that failed. */
export class ZelumoError extends Error {
  constructor(command, reply) {
    super(\`\${command}: \${reply.errorMessage}\`);
    this.name = "ZelumoError";
    this.command = command;
    this.code = reply.code;
    this.errorName = reply.errorName;
    this.errorMessage = reply.errorMessage;
    this.data = reply.data;
  }
}

// Commands by what goes in and comes out: values; a JSON text comes out; JSON texts go in and come out.
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

const NAMES = Object.keys(events).concat(Object.keys(PLAYER_TYPES), PLAYER_EVENT, ${api.signals.map((s) => JSON.stringify(s.command)).join(", ")});

// How many letters must be put in, left out or replaced to make one name of the other.
function distance(one, other) {
  let row = Array.from({ length: other.length + 1 }, (_, i) => i);
  for (const letter of one) {
    row = row.slice(1).reduce((next, above, i) => next.concat(Math.min(next[i] + 1, above + 1, row[i] + (letter === other[i] ? 0 : 1))), [row[0] + 1]);
  }
  return row[other.length];
}

// Settings keys are paths.
function checkName(name) {
  if (NAMES.indexOf(name) >= 0 || String(name).indexOf("/") >= 0) return;
  const far = (known) => distance(String(name), known);
  const near = NAMES.slice().sort((a, b) => far(a) - far(b))[0];
  throw new TypeError(\`on: nothing is posted under "\${name}"\${far(near) < 4 ? \`; did you mean "\${near}"?\` : ""}\`);
}

const method = (command) => command.replace(/^[A-Z]+(?=[A-Z][a-z])|^[A-Z]/, (head) => head.toLowerCase());

/** JSON text of a value. */
export const json = (value) => JSON.stringify(value);

const clients = new WeakMap();

/** The client of a plug-in element, the same one each time. */
export function connect(element) {
  if (!element) throw new TypeError("connect: there is no element");
  if (!clients.has(element)) clients.set(element, makeClient(element));
  return clients.get(element);
}

function makeClient(element) {
  const ask = (command, parameters) =>
    new Promise((resolve) => {
      if (!element.postMessageAndAwaitResponse) throw new TypeError("The element is no plug-in: on the desk the page needs zelumo-embed.js");
      const reply = element.postMessageAndAwaitResponse(Object.assign({}, parameters, { command }));
      if (reply.code !== 0) throw new ZelumoError(command, reply);
      resolve(reply.data);
    });

  const parse = (command) => (text) => {
    if (text === "" && EMPTY.split(" ").indexOf(command) >= 0) return null;
    return JSON.parse(LONG[command] ? text.replace(LONG[command], '$1"$2"') : text);
  };

  // What the TV was asked to tell: whether the page asked, and which handlers need it.
  const subscriptions = new Map();
  const subscription = (command, parameters) => {
    const id = command + json(parameters);
    if (!subscriptions.has(id)) subscriptions.set(id, { page: false, handlers: new Set(), asked: null, ask: () => ask(command, parameters) });
    return subscriptions.get(id);
  };
  const warn = (error) => console.warn(error);

  // The TV takes a subscription once: what a handler has brought about is the page's own from now on.
  const byPage = (command) => (parameters) => {
    const of = subscription(command, parameters);
    const before = of.page;
    of.page = true;
    return (of.handlers.size && !before && of.asked ? of.asked.catch(of.ask) : of.ask()).catch((error) => {
      of.page = before;
      throw error;
    });
  };
  const byHandler = (of, listener) => {
    if (!of.handlers.size && !of.page) {
      of.asked = of.ask();
      of.asked.catch(warn);
    }
    of.handlers.add(listener);
  };
  // On the desk a plug-in that was opened again knows of no subscription.
  element.addEventListener("zelumoopen", () => subscriptions.forEach((of) => (of.page || of.handlers.size) && of.ask().catch(warn)));

  // The message is the other listeners' as well, so its data are copied.
  const told = (data) => {
    if (typeof data !== "object") return data;
    const copy = Object.assign({}, data);
    EVENT_TEXTS.forEach((key) => {
      if (key in copy) copy[key] = copy[key] === "" ? null : JSON.parse(copy[key]);
    });
    return copy;
  };

  const client = {
    json,
    on(name, handler) {
      checkName(name);
      const player = name === PLAYER_EVENT || PLAYER_TYPES[name];
      // Any subscription brings the player's events; this one is of what is posted anyway.
      const event = player ? events.ITVS_Signal_Instant_Off : events[name];
      const of = event ? subscription("RegisterEvent", { event }) : name.indexOf("/") < 0 ? null : subscription("AddVconfCallbackWithKey", { key: name });
      const listener = ({ data }) => {
        if (data.event === PLAYER_EVENT) {
          if (player === true || player === data.type) handler(data);
        } else if (data.command === name && data.code === 0) {
          handler(told(data.data));
        }
      };
      element.addEventListener("message", listener);
      if (of) byHandler(of, listener);
      return () => {
        element.removeEventListener("message", listener);
        // The watch of a settings key can't be ended, and an element that has left the document has no plug-in to be asked.
        if (!event || !of.handlers.delete(listener) || of.handlers.size || of.page || element.isConnected === false) return;
        ask("UnRegisterEvent", { event }).catch(warn);
      };
    },
  };
  PLAIN.split(" ").forEach((command) => (client[method(command)] = (parameters) => ask(command, parameters)));
  TEXT.split(" ").forEach((command) => (client[method(command)] = () => ask(command).then(parse(command))));
  REQUEST.split(" ").forEach((command) => {
    client[method(command)] = (request = {}) => ask(command, { input: typeof request === "string" ? request : json(request) }).then(parse(command));
  });
  client.registerEvent = byPage("RegisterEvent");
  client.addVconfCallbackWithKey = byPage("AddVconfCallbackWithKey");
  client.unRegisterEvent = (parameters) => {
    const of = subscription("RegisterEvent", parameters);
    of.page = false;
    of.handlers.clear();
    return ask("UnRegisterEvent", parameters);
  };
  return client;
}
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

export function clientTypings() {
  const methods = api.commands.map((c) => `  /** ${c.about} */\n  ${camelCase(c.name)}(${signature(c)}): Promise<ZelumoData<"${c.name}">>;\n`);
  return `// ${MADE}
/// <reference path="./zelumo.d.ts" />

/** A command that failed. Its message names the command. */
export class ZelumoError<C extends ZelumoCommand = ZelumoCommand> extends Error {
  readonly command: C;
  readonly code: number;
  readonly errorName: string;
  readonly errorMessage: string;
  readonly data: null | boolean;
  constructor(command: C, reply: { code: number; errorName: string; errorMessage: string; data: null | boolean });
}

/** The numbers of events, for registerEvent and unRegisterEvent. */
export const events: {
${api.events.map((e) => `  readonly ${e.command}: ${e.event};\n`).join("")}};

/** JSON text of a value, for a command's input. */
export function json<T>(value: T): ZelumoText<T>;

/** Ends what \`on\` began. */
export type Stop = () => void;

/**
 * The commands as methods, which send at once. Each promise resolves with the command's data, JSON texts parsed, or rejects with
 * a ZelumoError. Ids too long for a double are decimal texts.
 */
export interface ZelumoClient {
  /** JSON text of a value, for a command's input. */
  json<T>(value: T): ZelumoText<T>;

  /**
   * Hears an event or a TV signal, to which it subscribes unless the page has; the last handler's stop ends that. The data's JSON
   * texts are parsed, null where they are empty. Throws a TypeError where nothing is posted under that name.
   */
  on<Name extends ZelumoEventName>(name: Name, handler: (data: ZelumoEventData<Name>) => void): Stop;
  /** Hears one kind of the player's events. */
  on<Name extends ZelumoPlayerEventName>(name: Name, handler: (event: Extract<ZelumoPlayerMessage, { type: ZelumoPlayerTypeOf<Name> }>) => void): Stop;
  /** Hears all of the player's events. */
  on(name: "${api.playerEvents.event}", handler: (event: ZelumoPlayerMessage) => void): Stop;
  /** Hears that a settings key was written, and watches it unless the page does. */
  on(name: ZelumoSettingKey, handler: (key: ZelumoSettingKey) => void): Stop;

${methods.join("\n")}}

/** The client of a plug-in element, the same one each time; throws a TypeError where there is none. */
export function connect(element: ZelumoElement | null): ZelumoClient;
`;
}
