// SPDX-License-Identifier: Apache-2.0
// web/zelumo.d.ts, from the description of the page's interface.
import { api, isWide, TYPINGS_HEAD } from "./description.mjs";

const SCALARS = { string: "string", integer: "number", number: "number", boolean: "boolean", null: "null" };

/** The type of a JSON text's value; `exact`: with long whole numbers as decimal texts. */
export const textType = (name, exact = false) => `Zelumo${name}${exact && isWide(name) ? "<string>" : ""}`;

const jsonText = ({ text, mayBeEmpty }) => `ZelumoText<${textType(text)}>${mayBeEmpty ? ' | ""' : ""}`;

function fieldType(field) {
  if (field.text) return jsonText(field);
  const base = field.wide ? "Wide" : (SCALARS[field.type] ?? `${textType(field.type)}${isWide(field.type) ? "<Wide>" : ""}`);
  return `${base}${field.list ? "[]" : ""}${field.nullable ? " | null" : ""}`;
}

const parameterType = (p) => (p.text ? `ZelumoInput<${textType(p.text)}>` : SCALARS[p.type]);

const key = (name) => (/^[A-Za-z_]\w*$/.test(name) ? name : JSON.stringify(name));

function members(fields, indent, typeOf = fieldType) {
  return fields
    .map((f) => `${indent}/** ${f.about} */\n${indent}${key(f.name)}${f.required ? "" : "?"}: ${typeOf(f)};\n`)
    .join("")
    .trimEnd();
}

function replyDataType(data) {
  if (data.text) return jsonText(data);
  if (data.values.length) return data.values.map((v) => JSON.stringify(v)).join(" | ");
  if (data.type === "object") return `{ ${data.fields.map((f) => `${key(f.name)}: ${fieldType(f)}`).join("; ")} }`;
  return SCALARS[data.type];
}

function dataType(data) {
  if (!data.text) return replyDataType(data);
  return `${textType(data.text, true)}${data.mayBeEmpty ? " | null" : ""}`;
}

function failureType(error) {
  return `ZelumoFailure<${[error.code, error.errorName, error.errorMessage, error.data].map((v) => JSON.stringify(v)).join(", ")}>`;
}

const unique = (list) => [...new Set(list)];

function texts(line) {
  line("declare const zelumoText: unique symbol;");
  line();
  line("/** JSON text of a T: `JSON.parse` gives a T. */");
  line("type ZelumoText<T> = string & { readonly [zelumoText]: T };");
  line();
  line("/** A request as JSON text: made by the client's `json`, which checks its type, or any text. */");
  line("type ZelumoInput<T> = ZelumoText<T> | (string & { readonly [zelumoText]?: undefined });");
  line();
  line("interface JSON {");
  line("  /** Throws for the empty text, where there may be one. */");
  line('  parse<T>(text: ZelumoText<T> | ""): T;');
  line("}");
  line();
  line("/** What a message can be made of; anything else makes the element throw a DataCloneError. */");
  line("type ZelumoValue = undefined | null | boolean | number | string | ZelumoValue[] | { [key: string]: ZelumoValue };");
  line();
  for (const text of api.texts) {
    const wide = isWide(text.name);
    line(`/** ${text.about}${wide ? " `Wide` is the type of what a double may not hold." : ""} */`);
    line(`interface ${textType(text.name)}${wide ? "<Wide = number>" : ""} {`);
    if (text.fields.length) line(members(text.fields, "  "));
    if (text.more) line("  [more: string]: unknown;");
    line("}");
    line();
  }
}

function commands(line) {
  line("interface ZelumoSuccess<D> {");
  line("  code: 0;");
  line("  data: D;");
  line("  errorName?: undefined;");
  line("  errorMessage?: undefined;");
  line("}");
  line();
  line("interface ZelumoFailure<C extends number, N extends string, M extends string, D = null> {");
  line("  code: C;");
  line("  errorName: N;");
  line("  errorMessage: M;");
  line("  data: D;");
  line("}");
  line();
  line("/** Parameters and reply of each command, and its data with JSON texts parsed. */");
  line("interface ZelumoCommands {");
  for (const c of api.commands) {
    line(`  /** ${c.about} */`);
    line(`  ${c.name}: {`);
    if (c.parameters.length) {
      line("    parameters: {");
      line(members(c.parameters, "      ", parameterType));
      line("    };");
    } else {
      line("    parameters: {};");
    }
    const replies = unique([`ZelumoSuccess<${replyDataType(c.data)}>`, ...c.errors.map(failureType)]);
    if (replies.length === 1) {
      line(`    reply: ${replies[0]};`);
    } else {
      line("    reply:");
      replies.forEach((r, i) => line(`      | ${r}${i + 1 === replies.length ? ";" : ""}`));
    }
    line(`    data: ${dataType(c.data)};`);
    line("  };");
  }
  line("}");
  line();
  line("type ZelumoCommand = keyof ZelumoCommands;");
  line('type ZelumoParameters<C extends ZelumoCommand> = ZelumoCommands[C]["parameters"];');
  line("type ZelumoRequest<C extends ZelumoCommand> = { command: C } & ZelumoParameters<C>;");
  line("/** What the element answers: success or one of the command's failures, told apart by `code`. */");
  line('type ZelumoReply<C extends ZelumoCommand> = ZelumoCommands[C]["reply"];');
  line("/** The data of the success reply as they travel: JSON texts are texts. */");
  line('type ZelumoReplyData<C extends ZelumoCommand> = Extract<ZelumoReply<C>, { code: 0 }>["data"];');
  line("/** What a command gives: the data of its success reply, JSON texts parsed. Ids too long for a double are decimal texts. */");
  line('type ZelumoData<C extends ZelumoCommand> = ZelumoCommands[C]["data"];');
  line();
}

function events(line) {
  line("/** Content-service events and TV signals, by the name under which they are posted. */");
  line("interface ZelumoEvents {");
  for (const e of [...api.events, ...api.signals]) {
    line(`  /** ${e.about} */`);
    if (e.fields.length === 1) {
      line(`  ${e.command}: { event: ${e.event} };`);
      continue;
    }
    line(`  ${e.command}: {`);
    line(`    event: ${e.event};`);
    line(members(e.fields.slice(1), "    "));
    line("  };");
  }
  line("}");
  line();
  line("type ZelumoEventName = keyof ZelumoEvents;");
  line("type ZelumoParsedText<T> = T extends ZelumoText<infer U> ? U : T extends \"\" ? null : T;");
  line("/** An event's data with its JSON texts parsed; null where they are empty. */");
  line("type ZelumoEventData<Name extends ZelumoEventName> = {");
  line("  [K in keyof ZelumoEvents[Name]]: ZelumoParsedText<ZelumoEvents[Name][K]>;");
  line("};");
  line();
  line("/** Player events, by the number of their type. */");
  line("interface ZelumoPlayerEvents {");
  const parameter = (text) => (text ? "string" : '""');
  for (const t of api.playerEvents.types) {
    const held = [t.param1, t.param2].map((text, i) => (text ? ` param${i + 1}: ${text}` : "")).join("");
    line(`  /** ${t.name}. ${t.about}${held} */`);
    line(`  ${t.type}: { name: ${JSON.stringify(t.name)}; param1: ${parameter(t.param1)}; param2: ${parameter(t.param2)} };`);
  }
  line("}");
  line();
  line("type ZelumoPlayerEventType = keyof ZelumoPlayerEvents;");
  line('type ZelumoPlayerEventName = ZelumoPlayerEvents[ZelumoPlayerEventType]["name"];');
  line("type ZelumoPlayerTypeOf<Name extends ZelumoPlayerEventName> = {");
  line('  [Type in ZelumoPlayerEventType]: ZelumoPlayerEvents[Type]["name"] extends Name ? Type : never;');
  line("}[ZelumoPlayerEventType];");
  line();
}

function messages(line) {
  line("/** The five keys of every posted answer and service message. */");
  line('interface ZelumoPosted<Name extends string, D, C extends number = 0, N extends string = "", M extends string = ""> {');
  line("  event?: undefined;");
  line("  command: Name;");
  line("  code: C;");
  line("  errorName: N;");
  line("  errorMessage: M;");
  line("  data: D;");
  line("}");
  line();
  line("/**");
  line(" * The answer to a message that was posted without waiting: it is always refused. One that names no command of the plug-in");
  line(" * has that name instead.");
  line(" */");
  line("type ZelumoRefusal =");
  const refusals = unique(
    api.postedAnswers.map((a) => {
      const name = a.command ? "ZelumoCommand" : '""';
      return `ZelumoPosted<${name}, ${JSON.stringify(a.data)}, ${a.code}, ${JSON.stringify(a.errorName)}, ${JSON.stringify(a.errorMessage)}>`;
    }),
  );
  refusals.forEach((r, i) => line(`  | ${r}${i + 1 === refusals.length ? ";" : ""}`));
  line();
  line("/** An event or a TV signal; one without a name comes under the empty text. */");
  line("type ZelumoEventMessage =");
  line("  | { [Name in ZelumoEventName]: ZelumoPosted<Name, ZelumoEvents[Name]> }[ZelumoEventName]");
  line('  | ZelumoPosted<"", { event: number }>;');
  line();
  line("/** A settings key's name. Those of a TV are paths. */");
  line("type ZelumoSettingKey = `${string}/${string}`;");
  line();
  line(`/** ${api.settings.about} */`);
  line("type ZelumoSettingMessage = ZelumoPosted<ZelumoSettingKey, ZelumoSettingKey>;");
  line();
  line(`/** ${api.playerEvents.about} */`);
  line("type ZelumoPlayerMessage = {");
  line("  [Type in ZelumoPlayerEventType]: {");
  line("    command?: undefined;");
  line(`    event: ${JSON.stringify(api.playerEvents.event)};`);
  line("    type: Type;");
  for (const name of ["param1", "param2"]) line(`    ${name}: ZelumoPlayerEvents[Type]["${name}"];`);
  line("  };");
  line("}[ZelumoPlayerEventType];");
  line();
  line("/** All that the plug-in posts, told apart by `command`, or by `event` and `type` where it is the player's. */");
  line("type ZelumoMessage = ZelumoRefusal | ZelumoEventMessage | ZelumoSettingMessage | ZelumoPlayerMessage;");
  line();
}

function element(line) {
  line("interface ZelumoElementEventMap {");
  line("  message: MessageEvent<ZelumoMessage>;");
  line("  /** In a browser: the TV host is gone, or another page has the TV. */");
  line('  zelumolost: CustomEvent<{ page: null; reason: "unreachable" | "refused" | "replaced" }>;');
  line("  /** In a browser: the plug-in was opened again. */");
  line("  zelumoopen: CustomEvent<{ page: number }>;");
  line("}");
  line();
  line('/** `<embed type="application/x-zelumo">`, however a page comes by it: `createElement("embed")`, a query, a ref in JSX. */');
  line("interface HTMLEmbedElement {");
  line("  /** Posts a message and goes on; the plug-in refuses it with a posted answer. */");
  line("  postMessage(message: ZelumoValue): void;");
  line("  /** Sends a message and waits for the reply. */");
  line("  postMessageAndAwaitResponse<C extends ZelumoCommand>(message: ZelumoRequest<C>): ZelumoReply<C>;");
  for (const verb of ["add", "remove"]) {
    line(`  ${verb}EventListener<K extends keyof ZelumoElementEventMap>(`);
    line("    type: K,");
    line("    listener: (this: HTMLEmbedElement, event: ZelumoElementEventMap[K]) => unknown,");
    line(`    options?: boolean | ${verb === "add" ? "Add" : ""}EventListenerOptions,`);
    line("  ): void;");
  }
  line("}");
  line();
  line("type ZelumoElement = HTMLEmbedElement;");
  line();
  line("interface ParentNode {");
  line("  querySelector(selectors: 'embed[type=\"application/x-zelumo\"]'): ZelumoElement | null;");
  line("  querySelectorAll(selectors: 'embed[type=\"application/x-zelumo\"]'): NodeListOf<ZelumoElement>;");
  line("}");
}

export function typings() {
  const out = [];
  const line = (text = "") => out.push(text);
  line(TYPINGS_HEAD);
  line("//");
  line("// Types of the plug-in element and its messages. Take them into a script with");
  line('//   /// <reference path="zelumo.d.ts" />');
  line('// or, from the npm package, with "types": ["zelumo-tv/types"] in tsconfig.json.');
  line();
  for (const part of [texts, commands, events, messages, element]) part(line);
  return out.join("\n") + "\n";
}

/** The same types for modules that import them by name: globals can't be exported as they are. */
export function typesModule() {
  const declared = typings().matchAll(/^(?:interface|type) (Zelumo\w+)(?:<(.*?)>)?(?= [={]| extends)/gm);
  const exported = [...declared].map(([, name, parameters = ""]) => {
    if (!parameters) return `export type ${name} = globalThis.${name};\n`;
    const names = parameters.split(", ").map((parameter) => parameter.split(" ")[0]);
    return `export type ${name}<${parameters}> = globalThis.${name}<${names.join(", ")}>;\n`;
  });
  return `${TYPINGS_HEAD}\n/// <reference path="./zelumo.d.ts" />\n\n${exported.join("")}`;
}
