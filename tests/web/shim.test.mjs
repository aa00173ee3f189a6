// SPDX-License-Identifier: Apache-2.0
// zelumo-embed.js in a real browser, against the real plug-in.
import assert from "node:assert/strict";
import { PAGES, Tv, browserTest, until } from "./support.mjs";

const tv = await Tv.start("--app", PAGES);
const VERSION = { code: 0, data: "1.00" };

async function open(context, path = "/") {
  const page = await context.newPage();
  await page.goto(tv.url + path);
  return page;
}

const heard = (page) => page.evaluate(() => heard);
const asks = (page, message = { command: "GetVersion" }) => page.evaluate((asked) => ask(asked), message);
const works = async (page, what) => assert.deepEqual(await asks(page), VERSION, what);
const isOpen = (is, what) => until(async () => ((await tv.state()).page !== null) === is, what);

/** A page that holds this. */
async function openHolding(context, content) {
  const page = await open(context, "/page-api.json");
  await page.setContent(content);
  return page;
}
const SCRIPT = '<script src="/zelumo-embed.js"></script>';

browserTest("a blocking call works while the page is still being read, wherever the script stands", async (context) => {
  const ask = '<script>var early = document.querySelector("embed").postMessageAndAwaitResponse({ command: "GetVersion" });</script>';
  const last = await openHolding(context, `<embed TYPE="Application/X-Zelumo">${SCRIPT}${ask}`);
  for (const page of [await open(context), last]) assert.deepEqual(await page.evaluate(() => early), VERSION);
});

browserTest("elements added by script work at once, and leave nothing behind", async (context) => {
  const page = await openHolding(context, SCRIPT);
  const before = (await tv.state()).page;
  const seen = await page.evaluate(() => {
    const make = (type) => Object.assign(document.createElement("embed"), { type });
    const other = make("image/svg+xml");
    const element = make("application/x-zelumo");
    const reply = (of) => of.postMessageAndAwaitResponse({ command: "GetVersion" });
    let detached;
    try {
      reply(element);
    } catch (error) {
      detached = error.reason;
    }
    window.box = document.createElement("div");
    box.innerHTML = "<p></p>";
    box.firstChild.append(element);
    document.body.append(other, box);
    const first = reply(element);
    window.second = make("application/x-zelumo");
    document.body.append(second);
    return { other: typeof other.postMessage, detached, first, second: reply(second) };
  });
  assert.deepEqual(seen, { other: "undefined", detached: "detached", first: VERSION, second: VERSION });
  const { page: number } = await tv.state();
  assert.notEqual(number, before);
  await page.evaluate(() => box.remove());
  assert.equal((await tv.state()).page, number, "one element is left");
  await page.evaluate(() => second.remove());
  await isOpen(false, "the instance of a page without elements ends");
  await page.evaluate(() => document.body.append(second));
  await isOpen(true, "an element that comes back opens the page again");
});

browserTest("messages arrive in order, none lost, at every element", async (context) => {
  const page = await open(context);
  const refused = (command) => ({ command, code: 9, errorName: "NotSupportedError", errorMessage: "Parameters is invalid", data: null });
  const event = (command, number) => ({ command, code: 0, errorName: "", errorMessage: "", data: { event: number } });
  await page.evaluate(() => {
    const second = Object.assign(document.createElement("embed"), { type: "application/x-zelumo" });
    document.body.append(second);
    Object.assign(window, { also: [], captured: [], bubbled: [] });
    second.addEventListener("message", ({ data }) => also.push(data));
    document.body.addEventListener("message", ({ target }) => captured.push(target.id), true);
    document.body.addEventListener("message", () => bubbled.push(1));
    ask({ command: "RegisterEvent", event: 90001 });
    for (let i = 0; i < 50; ++i) {
      tv.postMessage({ command: `posted ${i}` });
      if (i % 7 === 0) ask({ command: "GetVersion" });
    }
  });
  await tv.do({ tv: "event", event: 90001 });
  await tv.do({ tv: "signal", signal: 177 });
  const expected = [
    refused("early"),
    ...Array.from({ length: 50 }, (_, i) => refused(`posted ${i}`)),
    event("PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE", 90001),
    event("ITVS_Signal_Unmute_by_pincode_input", 99999),
  ];
  await page.waitForFunction((n) => heard.length >= n, expected.length);
  assert.deepEqual(await heard(page), expected);
  const [also, captured, bubbled] = await page.evaluate(() => [also.at(-1), captured.length, bubbled.length]);
  assert.deepEqual([also, captured > 50, bubbled], [expected.at(-1), true, 0], "it is captured, but doesn't bubble");
});

browserTest("values cross as they are", async (context) => {
  const page = await open(context);
  // The message as the page writes it, and the text that must leave the page.
  const cases = [
    ["undefined", "null"], ["null", "null"], ["true", "true"], ["'text'", '"text"'],
    ["7", "7"], ["-2147483648", "-2147483648"], ["4294967296", "4294967296"], ["2.5", "2.5"], ["1e300", "1e+300"], ["-0", "-0.0"],
    ["[1, , undefined, [null]]", "[1,null,null,[null]]"],
    ["({ a: undefined, b: { c: [] } })", '{"a":null,"b":{"c":[]}}'],
    ["new Number(3)", "3"],
    ["[new String('s'), new Boolean(false)]", '["s",false]'],
    ["Object.assign(Object.create(null), { k: 1 })", '{"k":1}'],
    ["new (class Mine { x = 1; toJSON() { return 2; } })()", '{"x":1}'],
    ["Object.assign({ [Symbol('s')]: 1 }, { k: 1 })", '{"k":1}'],
    ["(() => { const o = {}; return [o, o]; })()", "[{},{}]"],
    ["'\\ud83d\\ude00 \\ud83d x \\udc00'", '"\u{1F600} \uFFFD x \uFFFD"'],
    ["'\\u0000\\n\"\\\\'", '"\\u0000\\n\\"\\\\"'],
  ];
  for (const [source, expected] of cases) {
    const [sent] = await Promise.all([
      page.waitForRequest((r) => r.url().endsWith("/await")),
      page.evaluate(`ask(${source})`).then((reply) => assert.equal(reply.code, 26, `${source}: ${JSON.stringify(reply)}`)),
    ]);
    assert.equal(sent.postData(), expected, source);
  }
  const key = "db/menu/language";
  for (const input of ["", "blå 日本 \u{1F600}", "x".repeat(100_000)]) {
    assert.deepEqual(await asks(page, { command: "SetStringToVconfWithKey", key, input }), { code: 0, data: true });
    assert.deepEqual(await asks(page, { command: "GetStringFromVconfWithKey", key }), { code: 0, data: input });
  }
});

browserTest("what can't be passed throws and isn't sent, what the host refuses throws its words", async (context) => {
  const page = await open(context);
  const sent = [];
  page.on("request", (request) => sent.push(request.url()));
  const cases = [
    "() => 1", "({ a: [function f() {}] })", "Symbol('s')", "10n", "NaN", "[Infinity]", "document.body", "window", "new Date()",
    "new Map()", "/x/", "new Error('x')", "new ArrayBuffer(2)", "new Uint8Array(2)", "Promise.resolve()",
    "(() => { const o = {}; o.o = [o]; return o; })()",
  ];
  for (const source of cases) {
    for (const method of ["postMessage", "postMessageAndAwaitResponse"]) {
      const thrown = await page.evaluate(`outcome(() => tv.${method}(${source}))`);
      assert.deepEqual([thrown?.threw, thrown?.dom], ["DataCloneError", true], `${method}(${source})`);
    }
  }
  assert.deepEqual(sent, []);
  // What the host refuses throws its words.
  for (const [source, text] of [["'x'.repeat(2 * 1024 * 1024)", /larger/], ["JSON.parse('['.repeat(200) + ']'.repeat(200))", /deep/]]) {
    const thrown = await page.evaluate(`ask(${source})`);
    assert.equal(thrown.reason, "refused", source);
    assert.match(thrown.text, text);
  }
  await works(page, "the page goes on");
});

browserTest("reloading and leaving end the instance", async (context) => {
  const page = await open(context);
  await asks(page, { command: "RegisterEvent", event: 90019 });
  const first = await tv.state();
  assert.deepEqual(first.subscriptions.events, [90019]);
  await page.reload();
  const second = await tv.state();
  assert.notEqual(second.page, first.page);
  assert.deepEqual(second.subscriptions.events, []);
  await works(page);
  await page.goto("about:blank");
  await isOpen(false, "leaving ends the instance");
  await page.goBack();
  await works(page, "going back opens the page");
  await page.close({ runBeforeUnload: false });
  await isOpen(false, "closing ends the instance");
});

browserTest("the TV belongs to the page that came last", async (context) => {
  const first = await open(context);
  const second = await open(context);
  await first.waitForFunction(() => heard.includes("zelumolost"));
  assert.equal((await asks(first)).reason, "replaced");
  await works(second);
  await first.reload();
  await works(first, "reloading takes the TV back");
  assert.equal((await asks(second)).reason, "replaced");
});

browserTest("a call notices by itself that its page is gone", async (context) => {
  const page = await open(context);
  const { page: number } = await tv.state();
  // All in one go, so that nothing but the calls can notice.
  const seen = await page.evaluate((n) => {
    const send = (path) => {
      const xhr = new XMLHttpRequest();
      xhr.open("POST", path, false);
      xhr.send();
    };
    send(`/page/${n}/close`);
    const closed = [ask({ command: "GetVersion" }), ...heard.filter((item) => typeof item === "string")];
    send("/page/open");
    return { closed, replaced: ask({ command: "GetVersion" }).reason };
  }, number);
  assert.deepEqual(seen, { closed: [VERSION, "zelumoopen"], replaced: "replaced" });
});

browserTest("a host that goes and comes back is taken up again", async (context) => {
  let own = await Tv.start("--app", PAGES);
  const page = await context.newPage();
  await page.goto(own.url);
  const subscribe = { command: "RegisterEvent", event: 90001 };
  await asks(page, subscribe);
  await own.end("SIGKILL");
  const gone = await asks(page);
  assert.equal(gone.reason, "unreachable", JSON.stringify(gone));
  assert.match(gone.text, /can't be reached/);
  assert.equal(await page.evaluate(() => outcome(() => tv.postMessage("dropped"))), undefined);
  own = await Tv.start("--app", PAGES, "--port", own.port);
  await page.waitForFunction(() => heard.includes("zelumoopen"));
  assert.deepEqual((await heard(page)).filter((item) => typeof item === "string"), ["zelumolost", "zelumoopen"]);
  assert.deepEqual(await asks(page, subscribe), { code: 0, data: null }, "a new instance");
  await own.do({ tv: "event", event: 90001 });
  await page.waitForFunction(() => heard.some((item) => item.data?.event === 90001));
  await own.do({ tv: "key", key: "Info" });
  await page.waitForFunction(() => heard.includes("Info"));
  // Gone and back before the page looked.
  await own.end("SIGKILL");
  own = await Tv.start("--app", PAGES, "--port", own.port);
  await works(page);
  // Gone, and another page was faster.
  await own.end("SIGKILL");
  await page.waitForFunction(() => heard.filter((item) => item === "zelumolost").length >= 2);
  own = await Tv.start("--app", PAGES, "--port", own.port);
  await fetch(`${own.url}/page/open`, { method: "POST" });
  await until(async () => (await asks(page)).reason === "replaced", "the faster page keeps the TV");
  await own.end();
});
