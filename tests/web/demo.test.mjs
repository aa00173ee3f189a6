// SPDX-License-Identifier: Apache-2.0
// The demo page's main ways, against the real plug-in.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { Tv, browserTest, until } from "./support.mjs";

const tv = await Tv.start();
const { commands } = JSON.parse(readFileSync(new URL("../../web/page-api.json", import.meta.url), "utf8"));

async function open(context, host = tv) {
  const page = await context.newPage();
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(error.stack));
  await page.goto(`${host.url}/`);
  await page.waitForSelector("#started", { state: "attached" });
  return page;
}

function demoTest(name, body, options) {
  const run = async (context) => {
    const page = await open(context);
    await body(page, context);
    assert.deepEqual(page.faults, []);
  };
  browserTest(name, run, options);
}

const press = async (page, ...keys) => {
  await page.focus("channel-app");
  for (const key of keys) await page.keyboard.press(key);
};
const shows = (page, selector, text) => page.locator(selector).filter({ hasText: text }).first().waitFor();
const send = (page, verb) => page.click(`[data-verb="${verb}"] .primary`);
const channel = async (is, host = tv) => until(async () => ((now) => is(now) && now)((await host.state()).channel), `a channel that ${is}`);
const player = async (is) => until(async () => ((now) => now && is(now) && now)((await tv.state()).players.at(-1)), `a player that ${is}`);

demoTest("keys tune, and the banner follows", async (page) => {
  const first = (await tv.state()).channel;
  await shows(page, ".banner", first.name);
  assert.match(await page.locator(".banner .times").innerText(), /\d\d:\d\d/);
  for (const [keys, is] of [
    [["ArrowUp"], (c) => c.serviceId !== first.serviceId],
    [["ArrowDown"], (c) => c.serviceId === first.serviceId],
    [["3", "Enter"], (c) => c.major === 3],
    [["c", "ArrowDown", "Enter"], (c) => c.major !== 3],
  ]) {
    await press(page, ...keys);
    await shows(page, ".banner", (await channel(is)).name);
  }
  await press(page, "9", "9", "9", "Enter");
  await shows(page, ".tv-notice", "no channel 999");
  // A service id that a double can't hold.
  const long = await page.evaluate(() => document.querySelector("channel-app").channels.find(({ id }) => BigInt(id) > 2n ** 53n));
  await press(page, "c");
  await page.click(`.channel-list [data-id="${long.id}"]`);
  await shows(page, ".banner", (await channel((c) => c.serviceId === long.id)).name);
});

demoTest("the guide shows programmes and tunes to them", async (page) => {
  await press(page, "1", "Enter");
  await channel((c) => c.major === 1);
  await press(page, "g");
  const repeated = await page.evaluate(() => {
    const { plugin, channels } = document.querySelector("channel-app");
    return channels.flatMap(({ id, name }) => {
      const { programs } = plugin.query("GetProgramList", { TCServiceId: id, from: Date.now(), to: Date.now() + 86_400_000 });
      return programs.filter(({ title }, i) => title === programs[i + 1]?.title).map(({ title }) => `${name}: ${title}`);
    });
  });
  assert.deepEqual(repeated, [], "the same now and next");
  const detail = () => Promise.all(["h2", ".times", ".channel"].map((part) => page.locator(`.guide-detail ${part}`).innerText()));
  const present = await detail();
  await press(page, "ArrowRight");
  assert.notDeepEqual((await detail()).slice(0, 2), present.slice(0, 2));
  await press(page, "Enter");
  await shows(page, ".tv-notice", "marked");
  await press(page, "ArrowLeft", "ArrowDown");
  assert.notEqual((await detail())[2], present[2]);
  assert.equal(await page.locator(".guide-grid .guide-row").count(), 7);
  await press(page, "Enter");
  await channel((c) => c.major !== 1);
  await page.locator(".view.live").waitFor();
});

demoTest("the player plays, and its picture stands where the TV has put it", async (page) => {
  // Where the picture is, in the TV's pixels.
  const box = () =>
    page.evaluate(() => {
      const [screen, plane] = [".screen", ".video-plane"].map((name) => document.querySelector(name).getBoundingClientRect());
      const round = (n) => Math.round((n * 1920) / screen.width);
      return { x: round(plane.x - screen.x), y: round(plane.y - screen.y), width: round(plane.width), height: round(plane.height) };
    });
  const stands = async ({ rect }) => JSON.stringify(await box()) === JSON.stringify({ x: rect.x, y: rect.y, width: rect.width, height: rect.height });
  const act = (name) => () => page.click(`[data-act="${name}"]`);
  const seek = (bar) => Object.assign(bar, { value: 300 }).dispatchEvent(new Event("change"));
  for (const [does, is, selector, text] of [
    [() => press(page, "p", "Enter"), (p) => p.state === "playing" && /film/.test(p.url) && p.rect.width < 1920, ".osd", ""],
    [act("full"), (p) => p.rect.width === 1920 && p.rect.height === 1080, ".video-plane", ""],
    [() => press(page, "Escape"), (p) => p.state === "playing", ".heard", "137"],
    [act("pause"), (p) => p.state === "paused", ".osd .status", "paused"],
    [act("resume"), (p) => p.state === "playing", ".osd .status", "playing"],
    [() => press(page, "ArrowRight"), (p) => p.position >= 30_000, ".osd .time", "10:00"],
    [() => page.locator(".osd input").evaluate(seek), (p) => p.position >= 300_000, ".osd .time", "10:00"],
    [() => press(page, "ArrowDown", "ArrowDown", "Enter"), (p) => p.live, ".osd", ""],
    [act("live"), (p) => p.state === "playing", ".osd", ""],
    [() => press(page, "ArrowDown", "ArrowDown", "ArrowDown", "Enter"), (p) => p.state === "failed", ".heard", "134"],
  ]) {
    await does();
    const now = await player(is);
    await shows(page, selector, text);
    if (now.state === "playing") await until(() => stands(now), "the picture in its place");
  }
  await press(page, "l");
  await page.locator(".video-plane").waitFor({ state: "hidden" });
});

demoTest("the remote's forms show the line that they send, and the page sees what comes of it", async (page, context) => {
  await context.grantPermissions(["clipboard-read", "clipboard-write"]);
  const form = page.locator('[data-verb="event"]');
  await form.locator('[name="event"]').fill("90020");
  const line = await form.locator(".line").inputValue();
  assert.equal(line, '{"tv":"event","event":90020}');
  await form.getByText("Copy").click();
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), line);
  await send(page, "event");
  await shows(page, '[data-verb="event"] .result', '"delivered":1');
  await form.locator('[name="event"]').fill("soon");
  assert.equal(await form.locator(".primary").isDisabled(), true);
  await form.locator(".line").fill('{"tv":"event"}');
  await send(page, "event");
  await shows(page, '[data-verb="event"] .result.bad', "error");

  await send(page, "signal");
  await shows(page, ".tv-notice", "The sound is on again");
  await page.click(".suspend");
  await page.locator(".tv-off").waitFor();
  await press(page, "ArrowUp");
  await page.locator(".tv-off").waitFor({ state: "hidden" });

  const value = (label) => page.locator(".setting", { hasText: label }).locator(".value");
  await press(page, "s", "ArrowDown");
  const before = Number(await value("Volume").innerText());
  await press(page, "ArrowRight", "ArrowRight");
  await until(async () => (await tv.state()).settings["db/menu/volume"] === before + 2, "the volume");
  await page.click("#tab-settings");
  await page.fill('[data-verb="setting"] [name="value"]', '"fr"');
  await send(page, "setting");
  await value("Language").filter({ hasText: "fr" }).waitFor();

  await press(page, "l", "p", "Enter");
  await player((p) => p.state === "playing");
  await tv.do({ tv: "speed", factor: 0 }); // the next position would say that it plays
  await page.click("#tab-player");
  await page.fill('[data-verb="report"] [name="type"]', "97");
  await send(page, "report");
  await shows(page, ".osd .status", "at the end");
  await tv.do({ tv: "speed", factor: 1 });
});

demoTest("faults are set and taken away, and every command that can fail is offered", async (page) => {
  await press(page, "p");
  await page.click("#tab-faults");
  await page.locator('[data-verb="answer"] [name="call"]').selectOption("BmsPlay");
  await send(page, "answer");
  await shows(page, ".answer", "BmsPlay");
  await press(page, "Enter");
  await shows(page, ".tv-notice", "Play: the player refused");
  await page.locator(".answer button").click();
  await shows(page, "#panel-faults", "every call works as usual");
  await press(page, "Enter");
  await player((p) => p.state === "playing");

  const form = page.locator('[data-verb="fail"]');
  const offered = await form.locator("option").evaluateAll((options) => options.map(({ value, label }) => [value, label]));
  const decisions = commands.flatMap(({ name, decidedBy }) =>
    decidedBy.map((call) => [`${name} ${call}`, decidedBy.length > 1 ? `${name}: ${call}` : name]));
  assert.deepEqual(offered, decisions);
  await form.locator("select").selectOption("GetZELumoServices IServiceNavigation::GetServiceList");
  await form.locator('[name="times"]').fill("1");
  await send(page, "fail");
  await shows(page, ".answer", '{"call":"IServiceNavigation::GetServiceList","result":-1,"times":1}');
  const codes = await page.evaluate(() => [1, 2].map(() => document.querySelector("channel-app").plugin.ask("GetZELumoServices").code));
  assert.deepEqual(codes, [28, 0]);
});

demoTest("every command can be sent from its form", async (page) => {
  await page.click("#tab-commands");
  const panel = page.locator("#panel-commands");
  for (const { name, example } of commands) {
    await panel.getByLabel("Command").selectOption(name);
    assert.deepEqual(JSON.parse(await panel.locator(".line").inputValue()), { await: example }, name);
  }
  await panel.getByLabel("Command").selectOption("GetVersion");
  await panel.locator(".primary").click();
  await shows(page, "#panel-commands .result", '"1.00"');
  await panel.getByLabel("Way").selectOption("post");
  await panel.locator(".primary").click();
  await shows(page, ".lines .message", "NotSupportedError");
});

demoTest("the journal is filtered, searched, paused, cleared and saved", async (page) => {
  const lines = page.locator(".lines li:visible");
  const click = (name) => page.locator(".toolbar").getByRole("button", { name }).click();
  const count = (kind) => page.locator(`.lines li.${kind}:visible`).count();
  await shows(page, ".lines .reply", '"code":0');
  await until(() => count("call"), "calls");
  await click("Calls");
  assert.deepEqual([await count("call"), (await count("reply")) > 0], [0, true]);
  const search = page.getByLabel("Search the journal");
  await search.fill("90020");
  const found = (texts) => texts.length > 0 && texts.every((text) => text.includes("90020"));
  await until(async () => found(await lines.allInnerTexts()), "only what was sought");
  await search.fill("");

  await click("Pause");
  const before = await lines.count();
  await tv.do({ tv: "signal", signal: 177 });
  await shows(page, ".count", "waiting");
  assert.equal(await lines.count(), before);
  await click("Go on");
  await shows(page, ".lines .message", "Unmute");
  await click("Clear");
  assert.equal(await lines.count(), 0);
  await press(page, "ArrowUp");
  await shows(page, ".lines .message", "ChEnter");
  const [download] = await Promise.all([page.waitForEvent("download"), click("Save")]);
  const script = readFileSync(await download.path(), "utf8").trim().split("\n").map((line) => JSON.parse(line));
  const kinds = script.map((line) => Object.keys(line)[0]);
  assert.equal(script.find((line) => line.await).await.command, "SetNextService");
  assert.deepEqual([...new Set(kinds)].slice(0, 3), ["await", "reply", "message"], kinds.join());
  assert.ok(!kinds.includes("call"));
});

demoTest("everything can be reached by keyboard", async (page) => {
  await page.focus("channel-app");
  const reached = new Set();
  for (let i = 0; i < 120; ++i) {
    await page.keyboard.press("Tab");
    reached.add(await page.evaluate(() => document.activeElement.closest("remote-keys > div, .panel, .lines")?.className.split(" ")[0]));
  }
  assert.ok(["dpad", "panel", "lines"].every((part) => reached.has(part)), [...reached].join());
  await page.focus("#tab-tv");
  await page.keyboard.press("ArrowRight");
  await page.locator("#panel-player").waitFor();
  assert.equal(await page.evaluate(() => document.activeElement.id), "tab-player");
});

demoTest("the remote alone leaves the page its TV, and its keys reach that like a person's own", async (page, context) => {
  await press(page, "1", "Enter");
  await channel((c) => c.major === 1);
  const { page: number } = await tv.state();
  const remote = await context.newPage();
  await remote.goto(`${tv.url}/demo/remote.html`);
  await shows(remote, "#connection.good", "Page open");
  assert.equal(await remote.getByRole("tab", { name: "Commands" }).count(), 0);
  await send(remote, "signal");
  await shows(page, ".tv-notice", "The sound is on again");
  await shows(remote, ".lines .message", "Unmute");
  assert.equal((await tv.state()).page, number);
  const viewIs = (name) => page.locator(`channel-app[data-view="${name}"]`).waitFor();
  for (const [where, keys, seen] of [
    [remote, ["ChannelUp"], () => channel((c) => c.major === 2)],
    [remote, ["3", "Enter"], () => channel((c) => c.major === 3)],
    [remote, ["Guide"], () => viewIs("guide")],
    [page, ["GoBack"], () => viewIs("live")],
    [page, ["ColorF2Yellow", "Enter"], () => player((p) => p.state === "playing")],
    [page, ["MediaPlayPause"], () => player((p) => p.state === "paused")],
    [remote, ["MediaFastForward"], () => player((p) => p.position >= 30_000)],
    [remote, ["MediaStop"], () => player((p) => p.state === "stopped")],
    [remote, ["ColorF0Red"], () => viewIs("live")],
  ]) {
    for (const key of keys) await where.click(`[data-key="${key}"]`);
    await seen();
  }
  // A button that has the focus itself isn't clicked by the key that comes back.
  await page.focus('[data-key="Enter"]');
  const presses = () => page.locator(".lines .tv", { hasText: '{"key":"Enter"}' }).count();
  const before = await presses();
  await page.keyboard.press("Enter");
  await until(async () => (await presses()) > before, "the key in the journal");
  await page.keyboard.press("Tab");
  await remote.click('[data-key="ArrowUp"]');
  await channel((c) => c.major === 4);
  assert.equal(await presses(), before + 1);
  // Every key that has a button is one of the TV's.
  for (const key of await page.locator("remote-keys [data-key]").evaluateAll((all) => all.map(({ dataset }) => dataset.key))) await tv.do({ tv: "key", key });
});

demoTest("time is in the person's hand", async (page) => {
  await page.click("#tab-time");
  const pace = () => tv.state().then(({ speed, playingTime }) => ({ speed, playingTime }));
  await page.getByRole("button", { name: "Stand still" }).click();
  await until(async () => (await pace()).speed === 0, "a clock that stands still");
  await page.locator('[data-verb="speed"] [data-value="0"][aria-pressed="true"]').waitFor();
  const { playingTime } = await pace();

  await page.click("#tab-tv");
  await page.locator('[data-verb="signal"] .later').fill("soon");
  assert.equal(await page.locator('[data-verb="signal"] .primary').isDisabled(), true);
  await page.locator('[data-verb="signal"] .later').fill("90.5");
  assert.equal(await page.locator('[data-verb="signal"] .line').inputValue(), '{"tv":"at","ms":90500,"do":{"tv":"signal","signal":177}}');
  await send(page, "signal");
  await page.click("#tab-time");
  await shows(page, ".scheduled", 'in 90.5 s {"tv":"signal"');
  await page.getByRole("button", { name: "1 min" }).click();
  await shows(page, ".scheduled", "in 30.5 s");
  await page.locator('[data-verb="advance"] [name="ms"]').fill("30500");
  await send(page, "advance");
  await shows(page, ".tv-notice", "The sound is on again");
  await shows(page, ".scheduled", "Nothing");
  assert.equal((await pace()).playingTime, playingTime + 90_500);
  // The page's clock and programme are those of the TV's date.
  await page.locator('[data-verb="clock"] [name="date"]').fill("2031-02-03T04:05:06");
  await send(page, "clock");
  await shows(page, ".tv-clock", "04:05");
  await page.getByRole("button", { name: "1 ×", exact: true }).click();
  await until(async () => (await pace()).speed === 1, "the usual speed");
});

browserTest("a remote's journal has what was before, each line once, across a lost connection; it and the page go on with a new host", async (context) => {
  let own = await Tv.start("--speed", "0");
  const remote = await context.newPage();
  const signal = (n) => own.do({ tv: "signal", signal: n });
  const seen = () => remote.locator(".lines li").evaluateAll((rows) => rows.flatMap((row) => row.textContent.match(/did.*signal.*|signal \{"signal":\d+\}$/)?.[0].match(/"signal":(\d+)/)?.[1] ?? []).map(Number));
  const upTo = (n) => Array.from({ length: n }, (_, i) => i + 1);
  const has = (n) => until(async () => JSON.stringify(await seen()) === JSON.stringify(upTo(n)), `the signals up to ${n}`);
  for (const n of upTo(3)) await signal(n);
  let socket;
  await remote.routeWebSocket(/journal/, (route) => {
    socket = route;
    route.connectToServer();
  });
  await remote.goto(`${own.url}/demo/remote.html`);
  await has(3);
  await signal(4);
  await has(4);
  await socket.close();
  await signal(5);
  await has(5);
  const rows = await remote.locator(".lines li").count();
  for (let n = 0; n < 1600; n += 1) await own.do({ tv: "event", event: 1 });
  await until(async () => (await remote.locator(".lines li").count()) > rows + 100, "the many lines");
  await signal(6);
  await shows(remote, ".lines .tv", '"signal":6');
  assert.ok((await remote.locator(".lines li").count()) <= 3000);

  const page = await open(context, own);
  await own.end("SIGKILL");
  for (const one of [page, remote]) await shows(one, "#connection.bad", "can't be reached");
  own = await Tv.start("--port", own.port);
  await signal(7);
  await shows(remote, ".lines .note", "started anew");
  await shows(remote, ".lines .tv", '"signal":7');
  await shows(page, "#connection.good", "Page");
  await press(page, "5", "Enter");
  await shows(page, ".banner", (await channel((c) => c.major === 5, own)).name);
  await shows(page, ".lines .message", "ChEnter");
  const second = await open(context, own);
  await shows(page, "#connection.bad", "Another page");
  await press(second, "ArrowUp");
  await own.end();
});

for (const [width, height, colorScheme] of [[1280, 720, "light"], [1920, 1080, "dark"], [800, 600, "light"]]) {
  const body = async (page) => {
    const narrow = width < 1000;
    const tabs = await page.getByRole("tab").evaluateAll((all) => all.map(({ id }) => id));
    assert.equal(tabs.length, narrow ? 8 : 7, tabs.join());
    for (const tab of tabs) {
      await page.click(`#${tab}`);
      const cut = await page.evaluate(() => {
        const sides = (element) => element.getBoundingClientRect();
        const all = [...document.querySelectorAll("main > *, header > *, .toolbar > *, .buttons > *, .tabs > *, remote-keys button, .panel:not([hidden]) *")];
        const wide = all.filter((element) => {
          const [own, around] = [element, element.parentElement].map(sides);
          return own.width && (own.right > Math.min(innerWidth, around.right) + 1 || own.left < Math.max(0, around.left) - 1);
        });
        const held = document.querySelectorAll("header, .toolbar, .tabs, .panel:not([hidden]), remote-keys, remote-keys button, button.kind, .buttons button");
        wide.push(...[...held].filter((element) => element.scrollWidth > element.clientWidth));
        if (document.documentElement.scrollHeight > innerHeight) wide.push(document.documentElement);
        return wide.map((element) => element.outerHTML.slice(0, 80));
      });
      assert.deepEqual(cut, [], tab);
    }
    if (narrow) await page.click("#tab-journal");
    const last = page.locator(".lines .text:visible").last();
    await last.click();
    const [opened, list] = await Promise.all([".lines pre", ".lines"].map((part) => page.locator(part).last().boundingBox()));
    assert.ok(opened.y >= list.y && opened.y + opened.height <= list.y + list.height + 1, `the detail at ${JSON.stringify(opened)} in ${JSON.stringify(list)}`);
    const names = await page.evaluate(() => {
      const app = document.querySelector("channel-app");
      app.press("guide");
      return [...app.querySelectorAll(".guide-channel span")].map((name) => [name.title === name.textContent, getComputedStyle(name).textOverflow]);
    });
    assert.deepEqual(names, names.map(() => [true, "ellipsis"]));
    const [journal, screen] = await Promise.all([".lines", "channel-app"].map((part) => page.locator(part).boundingBox()));
    assert.ok(journal.height > 120, `${journal.height} px of journal`);
    assert.ok(Math.abs(screen.width / screen.height - 16 / 9) < 0.01);
  };
  demoTest(`nothing is cut off at ${width} by ${height}, ${colorScheme}`, body, { viewport: { width, height }, colorScheme });
}
