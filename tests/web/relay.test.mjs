// SPDX-License-Identifier: Apache-2.0
// A real TV behind the desk, played by a second host: its plug-in, of another TV, is that of the browser that opens the relay's page.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { connect, createServer } from "node:net";
import { join } from "node:path";
import { after, test } from "node:test";
import { parse } from "acorn";
import jsQR from "jsqr";
import { KEY_OPTIONS } from "../../web/demo/keys.js";
import { PAGES, Tv, browserTest, makeFolder, until } from "./support.mjs";

const RELAY = join(PAGES, "../../../web/relay");
const VERSION = { code: 0, data: "1.00" };
const FIRST = "Behind the relay";

const desk = await Tv.start("--app", PAGES, "--relay", "127.0.0.1");
const origin = new URL(desk.relay).origin;

// A TV whose first channel has another name than the sample's, and that is louder.
const file = join(makeFolder(), "tv.json");
const own = JSON.parse(execFileSync(process.env.ZELUMO_TV, ["tv"], { maxBuffer: 1 << 26 }));
own.channels[0].name = FIRST;
own.settings["db/menu/volume"] = 33;
writeFileSync(file, JSON.stringify(own));

const asksFor = (page, message = { command: "GetVersion" }) => page.evaluate((asked) => ask(asked), message);
const heard = (page) => page.evaluate(() => heard);
const relayIs = (state, host = desk) => until(async () => (await host.state()).relay === state, async () => `the relay is ${state}, not ${(await host.state()).relay}`);
const says = (page, words) => until(async () => (await page.textContent("body")).includes(words), async () => `${words}: ${await page.textContent("body")}`);

/** A host that plays the plug-in of a TV whose relay page comes from there. */
const startTv = (from = origin, speed = 0) => Tv.start("--tv", file, "--speed", `${speed}`, "--allow-origin", from);

/** The TV's browser at the relay's page, with that host's plug-in. */
async function turnOn(context, tv, address = desk.relay, host = desk) {
  // That of the test before may not have been missed yet.
  await until(async () => (await host.state()).relay !== "ready", "there is room for a TV");
  const page = await context.newPage();
  const scripts = [`${tv.url}/zelumo-embed.js`, "relay.js?itself"].map((src) => `<script src="${src}"></script>`);
  await page.route(`${address}relay.js`, (route) => route.fulfill({ contentType: "text/javascript", body: `document.write(${JSON.stringify(scripts.join(""))})` }));
  await page.goto(address);
  await relayIs("ready", host);
  return page;
}

async function openDesk(context, path = "/", host = desk) {
  const page = await context.newPage();
  await page.goto(host.url + path);
  return page;
}

/** A way to the relay of its own, that is slow by so many milliseconds each way, or says nothing any more once it is mute. */
async function startProxy(delay) {
  const proxy = { mute: false };
  const { host, port } = new URL(origin);
  const server = createServer((near) => {
    const far = connect(port, "127.0.0.1");
    const carry = (from, to, change) => {
      from.on("data", (data) => setTimeout(() => !proxy.mute && to.write(change(data)), delay));
      from.on("close", () => setTimeout(() => to.destroy(), delay));
      from.on("error", () => to.destroy());
    };
    // Requests have to name the relay itself.
    const named = (data) => (data.subarray(0, 4).equals(Buffer.from("GET ")) ? Buffer.from(data.toString("latin1").replaceAll(proxy.host, host), "latin1") : data);
    carry(near, far, named);
    carry(far, near, (data) => data);
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  after(() => server.close());
  proxy.host = `127.0.0.1:${server.address().port}`;
  proxy.address = desk.relay.replace(host, proxy.host);
  return proxy;
}

/** The names that a program takes from its surroundings. */
function takes(node, names = new Set()) {
  if (Array.isArray(node)) for (const item of node) takes(item, names);
  else if (node && typeof node.type === "string") {
    if (node.type === "Identifier") names.add(node.name);
    for (const [key, value] of Object.entries(node)) {
      if (key === "property" && !node.computed) names.add(`.${value.name}`);
      else if (key !== "key" || node.computed) takes(value, names);
    }
  }
  return names;
}

test("the relay's page is one that a browser of 2016 understands", () => {
  const later = [
    "Promise", "Map", "Set", "WeakMap", "WeakSet", "Symbol", "Proxy", "Reflect", "fetch", "URL", "URLSearchParams", "Intl", "Headers", "globalThis",
    "AbortController", "TextEncoder", "TextDecoder", "BigInt", "structuredClone", "queueMicrotask", "CustomEvent", "Event", ".includes", ".assign",
    ".startsWith", ".endsWith", ".padStart", ".append", ".remove", ".closest", ".matches", ".entries", ".values", ".from", ".of", ".find", ".fill",
    ".repeat", ".finally", ".then", ".replaceAll", ".at", ".flat", ".replaceChildren", ".toggleAttribute", ".isInteger", ".isFinite",
  ];
  const html = readFileSync(join(RELAY, "relay.html"), "utf8");
  const scripts = [...html.matchAll(/<script([^>]*)>([^]*?)<\/script>/g)];
  assert.ok(scripts.every(([, attributes]) => !/type|async|defer/.test(attributes)));
  for (const source of [readFileSync(join(RELAY, "relay.js"), "utf8"), ...scripts.map(([, , inline]) => inline)]) {
    const names = takes(parse(source, { ecmaVersion: 5 }));
    assert.deepEqual(later.filter((name) => names.has(name)), []);
  }
  assert.throws(() => parse("a?.b", { ecmaVersion: 5 }));
  assert.ok(takes(parse("x.y(function () { return fetch('a').then(b); })", { ecmaVersion: 5 })).has("fetch"));
  // Nor in its style: no variables, no grid.
  assert.doesNotMatch(html, /var\(|--[a-z]|grid|min\(|max\(|clamp\(/);
});

browserTest("a page on the desk has the plug-in of the TV, its messages and its remote", async (context) => {
  const tv = await startTv();
  const screen = await turnOn(context, tv);
  await says(screen, "This TV is behind the desk");
  const page = await openDesk(context);
  assert.deepEqual(await asksFor(page), VERSION);
  await says(screen, "The desk's page has this TV");
  assert.match(JSON.stringify(await asksFor(page, { command: "GetFeaturedVirtualChannelInfo", input: "{}" })), new RegExp(FIRST));
  const { page: number, ...rest } = await desk.state();
  assert.deepEqual(rest, { relay: "ready" });
  assert.equal(typeof number, "number");

  // The video's place, on as many pixels as the TV's browser has.
  await asksFor(page, { command: "Init", url: "http://sample.tv/film.mpd", timeOffset: 0 });
  for (const [width, height, rect] of [[1280, 720, { x: -64, y: 67, width: 1280, height: 360 }], [1920, 1080, { x: -96, y: 100, width: 1920, height: 540 }]]) {
    await screen.setViewportSize({ width, height });
    await asksFor(page, { command: "SetDisplayRect", x: -96, y: 100, width: 1920, height: 540 });
    assert.deepEqual((await tv.state()).players.at(-1).rect, rect);
  }

  // What the TV says by itself.
  await asksFor(page, { command: "RegisterEvent", event: 90028 });
  await tv.do({ tv: "poweroff", type: 1073741824 });
  await until(async () => (await heard(page)).some(({ command }) => command === "ITVS_Signal_Instant_Off"), "the TV's event");

  // Every key, by its name and where the browser knows its code alone.
  const names = KEY_OPTIONS.map(([name]) => name);
  for (const nameless of [false, true]) {
    if (nameless) await screen.evaluate(() => Object.defineProperty(KeyboardEvent.prototype, "key", { get: () => "Unidentified" }));
    await page.evaluate(() => (heard.length = 0));
    for (const key of names) await tv.do({ tv: "key", key });
    const pressed = async () => (await heard(page)).filter((one) => typeof one === "string");
    await until(async () => (await pressed()).length >= names.length, async () => `all keys: ${await pressed()}`);
    assert.deepEqual(await pressed(), names.map((name) => (nameless && name === "Exit" ? "Escape" : name)));
  }
  await tv.end();
});

browserTest("pages come and go at the TV, and the TV itself", async (context) => {
  const tv = await startTv();
  let screen = await turnOn(context, tv);
  const page = await openDesk(context);
  const first = (await tv.state()).page;
  await page.reload();
  await until(async () => ![first, null].includes((await tv.state()).page), "a page that is loaded anew has an instance of its own");
  assert.deepEqual(await asksFor(page), VERSION);

  // A second TV can't come in.
  const second = await context.newPage();
  await second.goto(desk.relay);
  await says(second, "Another TV is behind this desk");
  assert.deepEqual(await asksFor(page), VERSION);
  await second.close();

  // In the middle of a command.
  await tv.do({ tv: "answer", call: "vconf_get_int", result: -1, delay: 600_000 });
  const asked = asksFor(page, { command: "GetIntegerFromVconfWithKey", key: "k" });
  await until(async () => (await tv.journal()).lines.some((line) => line.await?.key === "k"), "the TV begins it");
  const begin = Date.now();
  await screen.close({ runBeforeUnload: false });
  await tv.do({ tv: "restore" });
  const outcome = await asked;
  assert.match(outcome.text ?? "", /The TV host refused the message: the TV/);
  assert.ok(Date.now() - begin < 5000);
  await until(async () => (await heard(page)).includes("zelumolost"), "the element is told");
  assert.equal((await desk.state()).relay, "gone");
  assert.match((await asksFor(page)).text, /the TV has gone/);
  screen = await turnOn(context, tv);
  await until(async () => (await heard(page)).includes("zelumoopen"), "the page is opened again");
  assert.deepEqual(await asksFor(page), VERSION);
  await page.close();
  await until(async () => (await tv.state()).page === null, "the instance of a page that has left ends");
  await says(screen, "This TV is behind the desk");
  await tv.end();
});

browserTest("over a slow link all is well, and a link that falls silent is noticed", async (context) => {
  const proxy = await startProxy(200);
  const tv = await startTv(`http://${proxy.host}`);
  const screen = await turnOn(context, tv, proxy.address);
  const page = await openDesk(context);
  const begin = Date.now();
  assert.deepEqual(await asksFor(page), VERSION);
  assert.ok(Date.now() - begin >= 400, "both ways are slow");
  // Many of each kind, in order.
  const replies = await page.evaluate(() => {
    heard.length = 0;
    return Array.from({ length: 150 }, (_, i) => {
      tv.postMessage({ command: `c${i}` });
      return i % 30 === 0 ? ask({ command: `a${i}` }).errorName : "";
    });
  });
  assert.equal(replies.join(""), "NotSupportedError".repeat(5));
  await until(() => page.evaluate(() => heard.length >= 150), async () => `150 refusals of what was posted, not ${(await heard(page)).length}`);
  assert.deepEqual((await heard(page)).map(({ command }) => command), Array.from({ length: 150 }, (_, i) => `c${i}`));

  proxy.mute = true;
  const muted = Date.now();
  const outcome = await asksFor(page);
  assert.match(outcome.text ?? "", /the TV went away before it answered/);
  assert.ok(Date.now() - muted < 5000, `${Date.now() - muted} ms`);
  await relayIs("gone");
  proxy.mute = false;
  // Its own connection has died, which shows as soon as it says something.
  await relayIs("ready");
  await until(async () => asksFor(page).then((reply) => reply.code === 0), "the TV is back");
  await screen.close();
  await tv.end();
});

browserTest("a browser without the plug-in says so, and the desk shows where a TV comes in", async (context) => {
  const page = await openDesk(context, "/demo/");
  const words = page.locator(".relay h3");
  await words.getByText(/No TV yet|has gone/).waitFor();
  const code = page.locator(".qr svg");
  const { width, height } = await code.boundingBox();
  const pixels = await page.evaluate(async (markup) => {
    const image = new Image();
    image.src = `data:image/svg+xml,${encodeURIComponent(markup.replace("<svg", '<svg xmlns="http://www.w3.org/2000/svg" width="400" height="400"'))}`;
    await image.decode();
    const canvas = new OffscreenCanvas(400, 400).getContext("2d");
    canvas.drawImage(image, 0, 0);
    return [...canvas.getImageData(0, 0, 400, 400).data];
  }, await code.evaluate((svg) => svg.outerHTML));
  assert.ok(width >= 150 && height === width, "large enough for a phone");
  assert.equal((jsQR.default ?? jsQR)(new Uint8ClampedArray(pixels), 400, 400)?.data, desk.relay);
  assert.deepEqual(await page.locator("remote-panel [role=tab]").allTextContents(), ["Real TV", "Commands", "Journal"]);

  const screen = await context.newPage();
  await screen.goto(desk.relay);
  await relayIs("missing");
  await says(screen, "This browser has no plug-in for the desk");
  await words.getByText("The TV has no plug-in").waitFor();
  await screen.close();
  const tv = await startTv();
  await turnOn(context, tv);
  await words.getByText("A real TV answers").waitFor();
  await page.getByText("A real TV answers · page open").waitFor();
  await page.locator(".banner", { hasText: FIRST }).or(page.locator("channel-app", { hasText: FIRST })).first().waitFor();
  await tv.end();
});

/** Has a page behind a relay zap, ask and play; gives the recording. `faults` are verbs for the TV. */
async function record(context, faults = []) {
  const recording = join(makeFolder(), "tv.jsonl");
  const host = await Tv.start("--app", PAGES, "--relay", "127.0.0.1", "--record", recording);
  const tv = await startTv(new URL(host.relay).origin, 1);
  for (const fault of faults) await tv.do(fault);
  await turnOn(context, tv, host.relay, host);
  const page = await openDesk(context, "/", host);
  const came = (count, fits, what) => until(async () => (await heard(page)).filter(fits).length >= count, what);
  let loads = 0;
  for (const message of [
    { command: "GetZELumoServices" },
    { command: "RegisterEvent", event: 90019 },
    { command: "SetNextService" },
    { command: "SetPreviousService" },
    { command: "GetPresentProgram", input: '{"TCServiceId":"1001"}' },
    { command: "GetIntegerFromVconfWithKey", key: "db/menu/volume" },
    { command: "GetFeaturedVirtualChannelInfo", input: "{}" },
    { command: "Init", url: "http://sample.tv/film.mpd", timeOffset: 0 },
    { command: "Play" },
    { command: "Seek", sec: 30 },
    { command: "SetServiceByServiceid", Serviceid: "1002" },
  ]) {
    const { code } = await asksFor(page, message);
    // What it shows then is told after the reply.
    if (/^Set.*Service/.test(message.command) && code === 0) await came(++loads, ({ command }) => command?.endsWith("ChLoad"), `the channel after ${message.command}`);
    if (message.command === "Seek") await came(1, ({ type }) => type === 35, "the seek is done");
  }
  await host.end();
  await tv.end();
  return recording;
}

browserTest("how a TV differs from the stand-ins is found in a recording, and learned from it", async (context) => {
  const LOAD = "message ITVS_Signal_ZELumo_Control_State_ChLoad";
  const learned = join(makeFolder(), "learned.json");
  /** What differs: "GetVersion data", "message X: missing". */
  const differences = (recording, ...args) => {
    const { status, stdout, stderr } = spawnSync(process.env.ZELUMO_TV, ["compare", recording, ...args], { encoding: "utf8" });
    assert.equal(stderr, "");
    const found = [];
    let of;
    for (const [, line, path] of stdout.matchAll(/^(?:line \d+: (.*)| {2}(\S+): recorded .*)$/gm)) {
      if (line !== undefined) of = line;
      if (line?.includes(":")) found.push(line);
      if (path && !of.includes(":")) found.push(`${of} ${path}`);
    }
    assert.equal(status, found.length ? 1 : 0, stdout);
    return found;
  };
  const recording = await record(context);
  assert.deepEqual(differences(recording, "--learn", learned), [`${LOAD} data.ch_info.channelName`, "GetIntegerFromVconfWithKey data", "GetFeaturedVirtualChannelInfo data.channels[0].name"]);
  assert.deepEqual(differences(recording, "--tv", learned), []);
  // What no TV file holds stays: there the stand-ins tune, and say so.
  const failing = await record(context, [{ tv: "answer", call: "IServiceNavigation::TuneService", result: -1 }]);
  assert.deepEqual(differences(failing, "--tv", learned), [`${LOAD}: additional`, ...["code", "errorMessage", "errorName"].map((member) => `SetServiceByServiceid ${member}`)]);
});
