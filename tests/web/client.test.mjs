// SPDX-License-Identifier: Apache-2.0
// The page's client in a page, against the real plug-in.
import assert from "node:assert/strict";
import { copyFileSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { Tv, browserTest, makeFolder, until } from "./support.mjs";

const api = JSON.parse(readFileSync(new URL("../../web/page-api.json", import.meta.url), "utf8"));
const folder = makeFolder();
copyFileSync(new URL("../../kit/zelumo-tv/client.js", import.meta.url), join(folder, "client.js"));
writeFileSync(
  join(folder, "index.html"),
  `<!doctype html><title>Client</title><script src="/zelumo-embed.js"></script><embed type="application/x-zelumo">
<script type="module">
  import { connect, events, ZelumoError } from "./client.js";
  const element = document.querySelector("embed");
  const heard = [];
  Object.assign(window, { connect, events, ZelumoError, element, heard, zelumo: connect(element) });
  window.hear = (name) => zelumo.on(name, (data) => heard.push([name, data]));
  window.take = () => heard.splice(0);
  window.fails = (promise) => promise.then(() => null, ({ name, code, errorName, errorMessage, command, message }) => ({ name, code, errorName, errorMessage, command, message }));
</script>`,
);
const start = (...args) => Tv.start("--app", folder, "--date", "file", "--speed", "0", ...args);
const tv = await start();

async function open(context, host = tv, warnings = []) {
  const page = await context.newPage();
  page.on("console", (message) => message.type() === "warning" && warnings.push(message.text()));
  page.on("pageerror", (error) => warnings.push(error.message));
  await page.goto(`${host.url}/`);
  await page.waitForFunction(() => window.zelumo);
  return page;
}

function clientTest(name, body) {
  browserTest(name, async (context) => {
    const warnings = [];
    const page = await open(context, tv, warnings);
    await tv.do({ tv: "restore" });
    await body(page, warnings);
  });
}

// How often the plug-in has made a call since the journal's line `since`.
const made = async (call, since) => (await tv.journal(since)).lines.filter((line) => line.call === call).length;
const now = async () => (await tv.journal()).next;
const event = (number) => tv.do({ tv: "event", event: number });
const heard = (page, count) => until(async () => (await page.evaluate(() => heard.length)) >= count && page.evaluate(() => take()), `${count} heard`);

clientTest("every command has a method that gives the reply's data, parsed", async (page) => {
  const other = await start();
  const raw = await open(page.context(), other);
  const methods = await page.evaluate(() => Object.keys(zelumo).filter((name) => !["json", "on"].includes(name)));
  assert.equal(methods.length, 49);
  for (const { name, data, parameters, example } of api.commands) {
    const method = methods.find((one) => one.toLowerCase() === name.toLowerCase());
    assert.match(method, /^[a-z]/);
    const { command, ...values } = example;
    const argument = parameters.length === 1 && parameters[0].text ? JSON.parse(values.input) : values;
    const expected = await raw.evaluate((message) => element.postMessageAndAwaitResponse(message).data, { command, ...values });
    const got = await page.evaluate(([to, given]) => zelumo[to](given), [method, argument]);
    if (name === "GetZELumoServices") {
      const ids = got.TCServiceData.map(({ id }) => id);
      assert.deepEqual(ids, expected.match(/(?<="id" : )\d+/g));
      assert.ok(ids.some((id) => BigInt(id) > 2n ** 53n), "an id that a double can't hold");
    } else {
      assert.deepEqual(got, data.text ? JSON.parse(expected) : expected, name);
    }
  }
  await other.end();
});

clientTest("a command that fails rejects with what the plug-in said", async (page) => {
  const failed = (method, argument) => page.evaluate(([to, given]) => fails(zelumo[to](given)), [method, argument]);
  assert.deepEqual(await failed("getProgram", { programId: "none" }), {
    name: "ZelumoError",
    code: 9999,
    errorName: "UnknownError ",
    errorMessage: "Can't GetProgram",
    command: "GetProgram",
    message: "GetProgram: Can't GetProgram",
  });
  assert.equal((await failed("registerEvent", { event: "90001" })).errorMessage, "Parameter command is invalid");
  await tv.do({ tv: "answer", call: "FIVirtualChannelsAPI::GetVCConfig", out: ["{"] });
  assert.equal((await failed("getVCConfig")).name, "SyntaxError");
  // What the player refuses is no error, and a channel that the TV describes by nothing is none.
  assert.equal(await page.evaluate(() => zelumo.play()), false);
  await tv.do({ tv: "answer", call: "IServiceNavigation::GetCurrentService", result: 1, out: [{ 110: "[7]" }] });
  assert.equal(await page.evaluate(() => zelumo.getCurrentChannelInfo()), null);
  assert.equal(await page.evaluate(() => zelumo.getProgram("{\"programId\":\"1001-1767225600\"}").then(({ program }) => program.programId)), "1001-1767225600");
  assert.match(await page.evaluate(() => { try { connect(null); } catch (error) { return error.message; } }), /no element/);
  assert.match((await page.evaluate(() => fails(connect(document.createElement("embed")).getVersion()))).message, /zelumo-embed\.js/);
  assert.equal(await page.evaluate(() => connect(element) === zelumo), true);
});

clientTest("handlers hear what they name until they are stopped", async (page, warnings) => {
  await page.evaluate(() => {
    element.addEventListener("message", ({ data }) => (window.raw = data));
    window.stops = ["ITVS_Signal_ZELumo_Control_State_ChLoad", "ITVS_Signal_ZELumo_Control_State_ChLoad", "ITVS_Signal_Unmute_by_pincode_input", "db/menu/language", "EndOfStream", "ZELUMO_EVENT"].map(hear);
    // Posted back, and nobody's.
    element.postMessage({ command: "ITVS_Signal_ZELumo_Control_State_ChLoad" });
  });
  await event(90019);
  const loads = await heard(page, 2);
  const { channel } = await tv.state();
  assert.deepEqual([loads[0], loads.length], [loads[1], 2]);
  const [, load] = loads[0];
  assert.deepEqual([load.event, load.ch_info.channelName, load.program_info.TCServiceId], [90019, channel.name, channel.serviceId]);
  assert.equal(await page.evaluate(() => typeof raw.data.ch_info), "string", "other listeners have the message as it was");

  await tv.do({ tv: "answer", call: "IServiceNavigation::GetCurrentService", result: 0 });
  await event(90019);
  assert.equal((await heard(page, 2))[0][1].ch_info, null);
  await tv.do({ tv: "signal", signal: 177 });
  await tv.do({ tv: "setting", key: "db/menu/language", value: "sv" });
  await tv.do({ tv: "report", player: 101, type: 97 });
  await tv.do({ tv: "report", player: 101, type: 33 });
  const player = (type) => ({ event: "ZELUMO_EVENT", type, param1: "", param2: "" });
  assert.deepEqual(await heard(page, 5), [
    ["ITVS_Signal_Unmute_by_pincode_input", { event: 99999 }],
    ["db/menu/language", "db/menu/language"],
    ["EndOfStream", player(97)],
    ["ZELUMO_EVENT", player(97)],
    ["ZELUMO_EVENT", player(33)],
  ]);

  const since = await now();
  await page.evaluate(() => [stops[0], stops[0]].forEach((stop) => stop()));
  assert.equal((await event(90019)).delivered, 1);
  assert.equal((await heard(page, 1)).length, 1);
  await page.evaluate(() => stops.forEach((stop) => stop()));
  assert.equal(await made("FCEMSProxy::Unsubscribe", since), 2, "the channel's event and the one that brings the player's");
  assert.equal((await event(90019)).delivered, 0);
  // As components do that end: their handlers are stopped after the element is gone.
  await page.evaluate(() => {
    const stop = hear("ITVS_Signal_Instant_On");
    element.remove();
    stop();
  });
  await until(async () => (await tv.state()).page === null, "the page is closed");
  assert.deepEqual(warnings, []);
});

clientTest("a handler of what is never posted is refused with what is close", async (page) => {
  const since = await now();
  for (const [name, message] of [
    ["ITVS_Signal_Instant_Onn", 'on: nothing is posted under "ITVS_Signal_Instant_Onn"; did you mean "ITVS_Signal_Instant_On"?'],
    ["EndofStrem", 'on: nothing is posted under "EndofStrem"; did you mean "EndOfStream"?'],
    ["GetVersion", 'on: nothing is posted under "GetVersion"'],
    [undefined, 'on: nothing is posted under "undefined"'],
  ]) {
    assert.equal(await page.evaluate((one) => fails(new Promise(() => hear(one))).then((error) => error.message), name), message);
  }
  assert.equal(await made("FCEMSProxy::Subscribe", since), 0);
});

clientTest("handlers and the page share a subscription", async (page, warnings) => {
  const since = await now();
  const on = "ITVS_Signal_Instant_On";
  await page.evaluate((name) => (window.stop = hear(name)), on);
  await page.evaluate(async () => {
    await zelumo.registerEvent({ event: events.ITVS_Signal_Instant_On });
    await zelumo.registerEvent({ event: 90028 });
    hear("ITVS_Signal_Instant_Off")();
    hear("db/menu/volume");
    await zelumo.addVconfCallbackWithKey({ key: "db/menu/volume" });
    stop();
  });
  assert.deepEqual([await made("FCEMSProxy::Subscribe", since), await made("FCEMSProxy::Unsubscribe", since)], [2, 0]);
  assert.deepEqual(warnings, []);
  // It is the plug-in's to say that the page has it already.
  assert.equal((await page.evaluate(() => fails(zelumo.registerEvent({ event: 90027 })))).code, 28);
  await page.evaluate(() => zelumo.unRegisterEvent({ event: 90027 }));
  assert.equal((await event(90027)).delivered, 0);
  // What the page ends is ended for handlers, too; the next one subscribes anew, and the earlier ones' stops are none of its.
  await page.evaluate(async (name) => {
    const first = hear(name);
    await zelumo.unRegisterEvent({ event: 90027 });
    stop = hear(name);
    first();
  }, on);
  await event(90027);
  assert.equal((await heard(page, 1)).length, 1);
  await page.evaluate(() => stop());
  assert.deepEqual([(await event(90027)).delivered, warnings], [0, []]);
  // One that fails is told, and isn't taken for granted afterwards, by whomever.
  await tv.do({ tv: "answer", call: "FCEMSProxy::GetInstanceForPlugin", result: null, times: 1 });
  assert.equal((await page.evaluate(() => fails(zelumo.registerEvent({ event: 90027 })))).code, 28);
  await page.evaluate((name) => (stop = hear(name)), on);
  assert.equal((await event(90027)).delivered, 1);
  await heard(page, 1);
  await page.evaluate(() => stop());
  await tv.do({ tv: "answer", call: "FCEMSProxy::GetInstanceForPlugin", result: null, times: 1 });
  await page.evaluate((name) => hear(name), on);
  await until(() => warnings.some((text) => text.includes("RegisterEvent failed")), "a warning");
  await page.evaluate(() => zelumo.registerEvent({ event: 90027 }));
  await event(90027);
  assert.equal((await heard(page, 1)).length, 1);
});

browserTest("handlers hear again when the TV is back", async (context) => {
  const first = await start();
  const page = await open(context, first);
  await page.evaluate(() => hear("ITVS_Signal_Instant_On"));
  await first.end();
  const second = await start("--port", first.port);
  await until(async () => (await second.state()).subscriptions.events.includes(90027), "the subscription");
  await second.do({ tv: "event", event: 90027 });
  assert.deepEqual(await heard(page, 1), [["ITVS_Signal_Instant_On", { event: 90027 }]]);
  await second.end();
});
