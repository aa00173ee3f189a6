// SPDX-License-Identifier: Apache-2.0
// docs/page-api.md, from the description of the page's interface.
import { api, code, json, table } from "./description.mjs";

const texts = new Set(api.texts.map((t) => t.name));
const textLink = (name) => `[${name}](#${name.toLowerCase()})`;

function fieldType(f) {
  if (f.text) return `${f.type}, JSON text of ${textLink(f.text)}${f.mayBeEmpty ? ", or empty" : ""}`;
  const base = texts.has(f.type) ? textLink(f.type) : f.type;
  return `${f.list ? "list of " : ""}${base}${f.nullable ? " or null" : ""}`;
}

function parameterType(p) {
  if (p.text) return `${p.type}, JSON text of ${textLink(p.text)}`;
  return `${p.type}${p.nonEmpty ? ", not empty" : ""}`;
}

function parameterNeed(p) {
  if (!p.required) return p.type === "string" ? "no; ignored unless a string" : "no";
  return p.typeChecked ? "yes" : "yes; its type is not checked";
}

function dataText(d) {
  const values = d.values.length ? ` (${d.values.map(json).join(" or ")})` : "";
  return `${d.type}${values}${d.text ? `, JSON text of ${textLink(d.text)}` : ""}${d.mayBeEmpty ? " or empty" : ""}. ${d.about}`;
}

const WHEN = { parameters: "a parameter is missing or refused", operation: "the operation fails" };

function commandSection(c) {
  const parts = [`### ${c.name}`, "", c.about, ""];
  if (c.parameters.length) {
    parts.push(
      table(
        ["parameter", "type", "required", ""],
        c.parameters.map((p) => [code(p.name), parameterType(p), parameterNeed(p), p.about]),
      ),
    );
  }
  parts.push(`Data: ${dataText(c.data)}`, "");
  if (c.data.fields.length) {
    parts.push(table(["key", "type", ""], c.data.fields.map((f) => [code(f.name), fieldType(f), f.about])));
  }
  if (c.errors.length) {
    parts.push(
      table(
        ["when", "code", "errorName", "errorMessage", "data"],
        c.errors.map((e) => [WHEN[e.when], e.code, json(e.errorName), json(e.errorMessage), json(e.data)]),
      ),
    );
  } else {
    parts.push("It never fails.", "");
  }
  parts.push("```json", JSON.stringify(c.example), "```", "");
  return parts.join("\n");
}

export function pageDocument() {
  const out = [];
  const add = (...lines) => out.push(...lines);
  const named = (kind) => api.commands.filter((c) => c.kind === kind);

  add(
    "<!-- Made by web/generate.mjs from web/page-api.json: don't edit. -->",
    "# The page's interface",
    "",
    "What a page says to the plug-in, and what it hears from it. [`web/page-api.json`](../web/page-api.json) describes it for",
    "programs; this page, [`web/zelumo.d.ts`](../web/zelumo.d.ts), the [client](testing.md#the-pages-client) of the npm package, the",
    "tables of [calls.md](calls.md) and the demo page's forms are made from it.",
    "",
    "- [The description file](#the-description-file)",
    "- [Messages and replies](#messages-and-replies)",
    "- [Values](#values)",
    "- [In a browser](#in-a-browser)",
    "- [Commands](#commands) and [player commands](#player-commands)",
    "- [Posted messages](#posted-messages)",
    "- [JSON texts](#json-texts)",
    "",
    "## The description file",
    "",
    "Every object of a kind has every member named here; a list or text that has nothing to say is empty.",
    "",
    table(
      ["member", "holds"],
      [
        [code("version"), "what `GetVersion` answers"],
        [code("codes"), "reply codes: `code`, `errorName`, `about`"],
        [code("requestErrors"), "replies to blocking messages that are not requests: `when`, the reply's four keys, and an `example` message that gets it"],
        [code("commands"), "in the plug-in's order, the player's last; running the examples in this order succeeds on the built-in TV"],
        [code("calls"), "the platform calls ([calls.md](calls.md)): `name`; `args`, `result`, `out`: what they hold, as prose; `failure`: a list of the result that it fails with, empty where it can't; `written`: out arguments for an example"],
        [code("postedAnswers"), "answers to messages posted without waiting: `when`, the answer's five keys, `example`. For \"any command\" the answer's `command` is that of the message"],
        [code("events"), "content-service events and TV signals: `event` (the number), `command` (the name under which it is posted), `fields` of the data"],
        [code("signals"), "TV signals that need no subscription: `signal`, and the rest as for events"],
        [code("settings"), "`about` the message that a watched key's change posts, and `keys` of the built-in TV: `key`, `type`"],
        [code("playerEvents"), "`event` is the fixed text of that key, `types` the reports: `type`, `name`, what `param1` and `param2` hold (an empty text: they are empty)"],
        [code("texts"), "shapes of JSON texts: `name`, `fields`, and `more` where the TV may add members"],
      ],
    ),
    "A command:",
    "",
    table(
      ["member", "holds"],
      [
        [code("name"), "the command"],
        [code("kind"), '"dispatcher" or "player"'],
        [code("about"), "a sentence"],
        [code("parameters"), "`name`; `type`: string or integer; `required`; `typeChecked`: a value of another type is refused as a missing one is; `nonEmpty`: an empty text is refused; `format`: text, json, number, event, key, serviceId or address, for forms; `text`: the shape of a JSON text; `about`"],
        [code("data"), "data of the success reply: `type`: string, integer, boolean, null or object; `values`: all that it can be, empty for any; `text`: the shape of a JSON text; `mayBeEmpty`: it may be the empty text instead; `fields` of an object; `about`"],
        [code("errors"), "replies beside success: `when` is \"parameters\" or \"operation\"; `code`, `errorName`, `errorMessage`, `data`"],
        [code("calls"), "the names of the platform calls that the example makes on the built-in TV, in their order"],
        [code("decidedBy"), "the call whose failure makes the command fail (or its data false); two where the TV chooses between them, empty where none does"],
        [code("example"), "a request"],
      ],
    ),
    "A field has `name`, `type` (string, integer, number, boolean or the name of a text), `list`, `nullable`, `required`, `text` and",
    "`mayBeEmpty` as `data` has them, `wide` (a whole number that a double may not hold) and `about`.",
    "",
    "## Messages and replies",
    "",
    "A request is an object with the key `command`, a string, and the command's parameters; other keys are ignored, and keys are",
    "case-sensitive. `postMessageAndAwaitResponse` blocks until the reply is there. A success reply has exactly the keys `code`",
    "(0) and `data`; an error reply has `code`, `errorName`, `errorMessage` and `data`. What a command sets off on the TV",
    "arrives after its reply.",
    "",
    table(["code", "errorName", ""], api.codes.map((c) => [c.code, json(c.errorName), c.about])),
    "A blocking message that is not a request of a known command gets one of these:",
    "",
    table(
      ["message", "code", "errorName", "errorMessage", "data", "example"],
      api.requestErrors.map((e) => [e.when, e.code, json(e.errorName), json(e.errorMessage), json(e.data), json(e.example)]),
    ),
    "## Values",
    "",
    "A message is made of null, booleans, numbers, strings, lists and plain objects, nested up to 64 levels deep, up to 1 MiB.",
    "A whole number that fits 32 bits arrives as an integer, any other number, and -0, as a double; where an integer's type is checked, a",
    "double is refused. Service ids are 64 bits wide and travel as decimal text.",
    "",
    "In a browser, where `zelumo-embed.js` stands in for the web runtime:",
    "",
    table(
      ["value", "becomes"],
      [
        ["`undefined`, alone, in a list or under a key; a hole in a list", "null; the key stays"],
        ["`Number`, `String` and `Boolean` objects", "the value in them"],
        ["objects of your own classes", "their own enumerable members; `toJSON` is not asked"],
        ["a string with half a surrogate pair", "the half replaced by U+FFFD"],
        ["`NaN`, `Infinity`, `-Infinity`", "refused: JSON has no such values, and null in their place would hide a mistake"],
        ["functions, symbols, `BigInt`, nodes, `Date`, `Map`, `Set`, `RegExp`, errors, buffers and other built-in objects; cycles", "refused"],
      ],
    ),
    "What is refused throws a `DataCloneError`, the `DOMException` that `postMessage` throws elsewhere, and nothing is sent. A reply",
    "that the plug-in left undefined arrives as null.",
    "",
    "## In a browser",
    "",
    "```html",
    '<script src="/zelumo-embed.js"></script>',
    '<embed type="application/x-zelumo" width="0" height="0">',
    "```",
    "",
    "A document has one plug-in instance, which its plug-in elements share: it is created when the first of them enters the document",
    "and destroyed when the last one leaves it, and on reload, navigation and closing. Posted messages are dispatched as `message`",
    "events on each of the elements; they don't bubble, but capturing listeners of the elements around see them. The TV serves one",
    "page at a time: opening another page ends the first one's instance.",
    "",
    "- Calls on an element that is not in the document throw.",
    "- A call that the TV host refuses (a message too large or too deep, for example) throws an `Error` with the host's words.",
    "- While the TV host can't be reached, `postMessageAndAwaitResponse` throws an `Error` whose `reason` is `\"unreachable\"`, and",
    "  `postMessage` drops the message with a warning on the console. Once it is back, the page is opened again, by the next call or",
    "  within two seconds. The new instance knows nothing of the old one's subscriptions and watches.",
    "- Once another page has the TV, calls throw an `Error` whose `reason` is `\"replaced\"`; reloading takes the TV back.",
    "- `zelumolost` and `zelumoopen` events on the elements tell of both; `detail.reason` of the first is one of the two above, or",
    "  `\"refused\"` when the host answers but opens no page. A page that runs on a TV needs neither.",
    "",
    "The keys of the remote (the verb `key`) arrive as `keydown` and `keyup` at the element that has the focus, in open shadow trees",
    "and in frames of the page's origin, too, or at the body where nothing has it; whether the window is in front or not. They bubble,",
    "can be cancelled, and have `key`, `code`, and the old `keyCode` and `which`. Unless `keydown` is cancelled, Enter clicks a link or",
    "button that has the focus. Nothing else comes by itself: no `keypress`, no typing or scrolling, no form sent from a text field,",
    "no focus moved. `isTrusted` is false.",
    "",
    "The script talks to the host that it was loaded from, so a page of another origin names it,",
    "`<script src=\"http://127.0.0.1:8047/zelumo-embed.js\"></script>`; the host must allow that origin",
    "([Dev servers](web-mode.md#dev-servers)). It has to be a script tag of its own, not a module.",
    "",
    "With `serve --app DIR` your own page runs at `/`. The remote and the journal are at `/demo/remote.html` then, which",
    "opens no page of its own; `/demo/` is a page and takes the TV.",
    "",
    "## Commands",
    "",
    named("dispatcher").map((c) => `[${c.name}](#${c.name.toLowerCase()})`).join(" · "),
    "",
  );
  for (const c of named("dispatcher")) add(commandSection(c));
  add(
    "## Player commands",
    "",
    named("player").map((c) => `[${c.name}](#${c.name.toLowerCase()})`).join(" · "),
    "",
    "A call that the player service refuses is not an error: the reply is a success whose data is false.",
    "",
  );
  for (const c of named("player")) add(commandSection(c));
  add(
    "## Posted messages",
    "",
    "### Answers and service messages",
    "",
    "Both are objects with exactly the keys `command`, `code`, `errorName`, `errorMessage` and `data`, all five always there.",
    "",
    "A message posted without waiting is always refused:",
    "",
    table(
      ["message", "command", "code", "errorName", "errorMessage", "data"],
      api.postedAnswers.map((a) => [a.when, a.when === "any command" ? "that of the message" : json(a.command), a.code, json(a.errorName), json(a.errorMessage), json(a.data)]),
    ),
    "A service message has code 0 and two empty error texts. Its `command` is a name:",
    "",
    "- the name of an event that the page subscribed to with `RegisterEvent`, or of a TV signal (below); `data` is an object. An",
    "  event without a name comes under the empty text;",
    `- a settings key watched with \`AddVconfCallbackWithKey\`. ${api.settings.about}`,
    "",
    table(
      ["event", "command", "data beside `event`", ""],
      api.events.map((e) => [e.event, code(e.command), e.fields.slice(1).map((f) => code(f.name)).join(", "), e.about]),
    ),
    table(
      ["signal", "event", "command", ""],
      api.signals.map((s) => [s.signal, s.event, code(s.command), s.about]),
    ),
    "```json",
    JSON.stringify({ command: api.events.at(-1).command, code: 0, errorName: "", errorMessage: "", data: { event: api.events.at(-1).event } }),
    "```",
    "",
    ...api.events.filter((e) => e.fields.length > 1).map((e) => `Data of ${code(e.command)}:\n\n${table(["key", "type", ""], e.fields.map((f) => [code(f.name), fieldType(f), f.about]))}`),
    "Settings keys of the built-in TV:",
    "",
    table(["key", "type", ""], api.settings.keys.map((k) => [code(k.key), k.type, k.about])),
    "### Player events",
    "",
    `${api.playerEvents.about} A report is an object with exactly the keys \`event\` (always \`"${api.playerEvents.event}"\`), \`type\`, \`param1\` and`,
    "`param2`; the parameters are texts.",
    "",
    table(
      ["type", "name", "param1", "param2", ""],
      api.playerEvents.types.map((t) => [t.type, t.name, t.param1, t.param2, t.about]),
    ),
    "```json",
    JSON.stringify({ event: api.playerEvents.event, type: 137, param1: "15000", param2: "600000" }),
    "```",
    "",
    "## JSON texts",
    "",
    "The plug-in passes the content service's texts through unread: the shapes are those of the built-in TV. It writes",
    "[ServiceList](#servicelist) and [ChannelRecord](#channelrecord) itself.",
    "",
  );
  for (const t of api.texts) {
    add(`### ${t.name}`, "", `${t.about}${t.more ? " Further members are possible." : ""}`, "");
    if (t.fields.length) {
      add(table(["member", "type", ""], t.fields.map((f) => [code(f.name), `${fieldType(f)}${f.required ? "" : ", optional"}`, f.about])));
    }
  }
  return out.join("\n").replace(/\n{3,}/g, "\n\n").trimEnd() + "\n";
}
