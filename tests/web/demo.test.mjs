// The demo page's main ways, against the real plug-in.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { Tv, browserTest, until } from "./support.mjs";

const tv = await Tv.start();

async function open(context, host = tv) {
  const page = await context.newPage();
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(error.stack));
  await page.goto(`${host.url}/`);
  await page.waitForSelector("#started", { state: "attached" });
  return page;
}

function demoTest(name, body, options) {
  browserTest(
    name,
    async (context) => {
      const page = await open(context);
      await body(page, context);
      assert.deepEqual(page.faults, []);
    },
    options,
  );
}

const press = async (page, ...keys) => {
  await page.focus("channel-app");
  for (const key of keys) await page.keyboard.press(key);
};
const shows = (page, selector, text) => page.locator(selector).filter({ hasText: text }).first().waitFor();
const tunedTo = (test, what) => until(async () => test((await tv.state()).channel), `tuned: ${what}`);

demoTest("keys tune, and the banner follows", async (page) => {
  const first = (await tv.state()).channel;
  await shows(page, ".banner", first.name);
  assert.match(await page.locator(".banner .times").innerText(), /\d\d:\d\d/);

  await press(page, "ArrowUp");
  await tunedTo((c) => c.serviceId !== first.serviceId, "up");
  await shows(page, ".banner", (await tv.state()).channel.name);
  await press(page, "ArrowDown");
  await tunedTo((c) => c.serviceId === first.serviceId, "down");

  await press(page, "3", "Enter");
  const third = await tunedTo((c) => c.major === 3 && c, "digits");
  await shows(page, ".banner", third.name);
  await press(page, "9", "9", "9", "Enter");
  await shows(page, ".tv-notice", "no channel 999");

  await press(page, "c", "ArrowDown", "Enter");
  await tunedTo((c) => c.serviceId !== third.serviceId, "the list");

  // A service id that a double can't hold.
  const long = await page.evaluate(() => document.querySelector("channel-app").channels.find(({ id }) => BigInt(id) > 2n ** 53n));
  await press(page, "c");
  await page.locator(`.channel-list [data-id="${long.id}"]`).click();
  await tunedTo((c) => c.serviceId === long.id, long.id);
  await shows(page, ".banner", long.name);
});

demoTest("the guide shows programmes and tunes to them", async (page) => {
  await press(page, "1", "Enter");
  await tunedTo((c) => c.major === 1, "1");
  await press(page, "g");
  const title = () => page.locator(".guide-detail h2").innerText();
  const time = () => page.locator(".guide-detail .times").innerText();
  const channel = () => page.locator(".guide-detail .channel").innerText();
  const present = [await title(), await time(), await channel()];
  await press(page, "ArrowRight");
  assert.notDeepEqual([await title(), await time()], present.slice(0, 2));
  await press(page, "Enter");
  await shows(page, ".tv-notice", "marked");
  await press(page, "ArrowLeft", "ArrowDown");
  assert.notEqual(await channel(), present[2]);
  assert.equal(await page.locator(".guide-grid .guide-row").count(), 7);
  await press(page, "Enter");
  await tunedTo((c) => c.major !== 1, "from the guide");
  await page.locator(".view.live").waitFor();
});

demoTest("the player plays, and its picture stands where the TV has put it", async (page) => {
  const player = async () => (await tv.state()).players.at(-1);
  const is = (state) => until(async () => (await player())?.state === state, `the player is ${state}`);
  await press(page, "p", "Enter");
  await is("playing");
  const { rect, url } = await player();
  assert.match(url, /film/);
  const box = async () =>
    page.evaluate(() => {
      const screen = document.querySelector(".screen").getBoundingClientRect();
      const plane = document.querySelector(".video-plane").getBoundingClientRect();
      const k = 1920 / screen.width;
      const round = (n) => Math.round(n * k);
      return { x: round(plane.x - screen.x), y: round(plane.y - screen.y), width: round(plane.width), height: round(plane.height) };
    });
  await page.locator(".video-plane").waitFor();
  assert.deepEqual(await box(), rect);
  await page.click('[data-act="full"]');
  const full = { x: 0, y: 0, width: 1920, height: 1080 };
  await until(async () => JSON.stringify(await box()) === JSON.stringify(full), "the whole screen");
  assert.deepEqual((await player()).rect, full);
  await press(page, "Escape");

  await shows(page, ".heard", "137");
  await page.click('[data-act="pause"]');
  await is("paused");
  await shows(page, ".osd .status", "paused");
  await page.click('[data-act="resume"]');
  await is("playing");
  await press(page, "ArrowRight");
  await until(async () => (await player()).position >= 30_000, "30 s on");
  await page.locator(".osd input").evaluate((bar) => {
    bar.value = 300;
    bar.dispatchEvent(new Event("change"));
  });
  await until(async () => (await player()).position >= 300_000, "the place sought");
  await shows(page, ".osd .time", "10:00");

  await press(page, "ArrowDown", "ArrowDown", "Enter");
  await until(async () => (await player()).live, "a live stream");
  await page.click('[data-act="live"]');
  await is("playing");
  await press(page, "ArrowDown", "Enter");
  await shows(page, ".heard", "134");
  await press(page, "l");
  await page.locator(".video-plane").waitFor({ state: "hidden" });
});

demoTest("settings are read, written and watched", async (page) => {
  const row = (label) => page.locator(".setting", { hasText: label });
  await press(page, "s", "ArrowDown");
  const before = Number(await row("Volume").locator(".value").innerText());
  await press(page, "ArrowRight", "ArrowRight");
  await until(async () => (await tv.state()).settings["db/menu/volume"] === before + 2, "the volume");

  await page.click("#tab-settings");
  await page.fill('[data-verb="setting"] [name="value"]', '"fr"');
  await page.click('[data-verb="setting"] .primary');
  await row("Language").locator(".value", { hasText: "fr" }).waitFor();
  await shows(page, '[data-verb="setting"] .result', '"delivered":1');
});

demoTest("the remote's forms show the line that they send", async (page, context) => {
  await context.grantPermissions(["clipboard-read", "clipboard-write"]);
  const form = page.locator('[data-verb="event"]');
  await form.locator('[name="event"]').fill("90020");
  const line = await form.locator(".line").inputValue();
  assert.equal(line, '{"tv":"event","event":90020}');
  await form.getByText("Copy").click();
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), line);
  await form.locator(".primary").click();
  await shows(page, '[data-verb="event"] .result', '"delivered":1');

  await form.locator('[name="event"]').fill("soon");
  assert.equal(await form.locator(".primary").isDisabled(), true);
  await form.locator(".line").fill('{"tv":"event"}');
  await form.locator(".primary").click();
  await shows(page, '[data-verb="event"] .result.bad', "error");

  await page.locator('[data-verb="signal"] .primary').click();
  await shows(page, ".tv-notice", "The sound is on again");
  await page.click('[data-key="power"]');
  await page.locator(".tv-off").waitFor();
  await press(page, "ArrowUp");
  await page.locator(".tv-off").waitFor({ state: "hidden" });

  await press(page, "p", "Enter");
  await page.click("#tab-player");
  const report = page.locator('[data-verb="report"]');
  await report.locator('[name="type"]').fill("97");
  await report.locator(".primary").click();
  await shows(page, ".osd .status", "at the end");
});

demoTest("faults are set and taken away, and every command can be sent from its form", async (page) => {
  await press(page, "p");
  await page.click("#tab-faults");
  const answer = page.locator('[data-verb="answer"]');
  await answer.locator('[name="call"]').selectOption("BmsPlay");
  assert.equal(await answer.locator(".line").inputValue(), '{"tv":"answer","call":"BmsPlay","result":-1}');
  await answer.locator(".primary").click();
  await shows(page, ".answer", "BmsPlay");
  await press(page, "Enter");
  await shows(page, ".tv-notice", "Play: the player refused");
  await page.locator(".answer button").click();
  await shows(page, "#panel-faults", "every call works as usual");
  await press(page, "Enter");
  await until(async () => (await tv.state()).players.at(-1).state === "playing", "Play works again");

  const api = await (await fetch(`${tv.url}/page-api.json`)).json();
  await page.click("#tab-commands");
  const panel = page.locator("#panel-commands");
  for (const { name, example } of api.commands) {
    await panel.getByLabel("Command").selectOption(name);
    assert.deepEqual(JSON.parse(await panel.locator(".line").inputValue()), { await: example }, name);
  }
  await panel.getByLabel("Command").selectOption("GetVersion");
  await panel.locator(".primary").click();
  await panel.locator(".result").filter({ hasText: '"1.00"' }).waitFor();
  await panel.getByLabel("Way").selectOption("post");
  await panel.locator(".primary").click();
  await shows(page, ".lines .message", "NotSupportedError");
});

demoTest("the journal is filtered, searched, paused, cleared and saved", async (page) => {
  const lines = page.locator(".lines li:visible");
  const of = (kind) => page.locator(`.lines li.${kind}:visible`);
  await shows(page, ".lines .reply", '"code":0');
  await of("call").first().waitFor();
  await page.getByRole("button", { name: "Calls" }).click();
  assert.equal(await of("call").count(), 0);
  assert.notEqual(await of("reply").count(), 0);

  await page.getByLabel("Search the journal").fill("90020");
  await until(async () => (await lines.allInnerTexts()).every((text) => text.includes("90020")) && (await lines.count()) > 0, "only what was sought");
  await page.getByLabel("Search the journal").fill("");

  await page.getByRole("button", { name: "Pause" }).click();
  const before = await lines.count();
  await tv.do({ tv: "signal", signal: 177 });
  await shows(page, ".count", "waiting");
  assert.equal(await lines.count(), before);
  await page.getByRole("button", { name: "Go on" }).click();
  await shows(page, ".lines .message", "Unmute");

  await page.getByRole("button", { name: "Clear" }).click();
  assert.equal(await lines.count(), 0);
  await press(page, "ArrowUp");
  await shows(page, ".lines .message", "ChEnter");
  const [download] = await Promise.all([page.waitForEvent("download"), page.getByRole("button", { name: "Save" }).click()]);
  const script = readFileSync(await download.path(), "utf8").trim().split("\n").map((line) => JSON.parse(line));
  const asked = script.findIndex((line) => line.await?.command === "SetNextService");
  const replied = script.findIndex((line) => line.reply);
  const heard = script.findIndex((line) => line.message);
  assert.ok(asked >= 0 && asked < replied && replied < heard, JSON.stringify(script));
  assert.equal(script.some((line) => "call" in line), false);
});

demoTest("everything can be reached by keyboard, and the remote alone leaves the page its TV", async (page, context) => {
  await page.focus("channel-app");
  const reached = new Set();
  for (let i = 0; i < 60 && reached.size < 3; ++i) {
    await page.keyboard.press("Tab");
    const where = await page.evaluate(() => document.activeElement.closest(".keypad, .panel, .lines")?.className.split(" ")[0]);
    if (where) reached.add(where);
  }
  assert.deepEqual([...reached].sort(), ["keypad", "lines", "panel"]);
  await page.focus("#tab-tv");
  await page.keyboard.press("ArrowRight");
  assert.equal(await page.locator("#panel-player").isVisible(), true);
  assert.equal(await page.evaluate(() => document.activeElement.id), "tab-player");

  const { page: number } = await tv.state();
  const remote = await context.newPage();
  await remote.goto(`${tv.url}/demo/remote.html`);
  await shows(remote, "#connection.good", `Page ${number}`);
  await remote.locator('[data-verb="signal"] .primary').click();
  await shows(page, ".tv-notice", "The sound is on again");
  await shows(remote, ".lines .message", "Unmute");
  assert.equal(await remote.getByRole("tab", { name: "Commands" }).count(), 0);
  assert.equal((await tv.state()).page, number);
});

for (const [width, height, colorScheme] of [[1280, 720, "light"], [1920, 1080, "dark"]]) {
  const body = async (page) => {
    for (const tab of ["tv", "player", "settings", "faults", "commands", "state"]) {
      await page.click(`#tab-${tab}`);
      const wide = await page.evaluate(() => {
        const out = [...document.querySelectorAll("main > *, header > *, .toolbar > *, .keypad button, .panel:not([hidden]) *")]
          .filter((element) => {
            const box = element.getBoundingClientRect();
            return box.width && (box.right > innerWidth + 1 || box.left < -1);
          })
          .map((element) => element.outerHTML.slice(0, 80));
        const panel = document.querySelector(".panel:not([hidden])");
        if (panel.scrollWidth > panel.clientWidth) out.push("panel");
        if (document.documentElement.scrollHeight > innerHeight) out.push("page");
        return out;
      });
      assert.deepEqual(wide, [], tab);
    }
    const journal = await page.locator(".lines").boundingBox();
    assert.ok(journal.height > 120, `${journal.height} px of journal`);
    const screen = await page.locator("channel-app").boundingBox();
    assert.ok(Math.abs(screen.width / screen.height - 16 / 9) < 0.01);
  };
  demoTest(`nothing is cut off at ${width} by ${height}, ${colorScheme}`, body, { viewport: { width, height }, colorScheme });
}

browserTest("the demo goes on when its host comes back", async (context) => {
  let own = await Tv.start();
  const page = await open(context, own);
  await own.end("SIGKILL");
  await shows(page, "#connection.bad", "can't be reached");
  own = await Tv.start("--port", own.port);
  await shows(page, "#connection.good", "Page");
  await press(page, "5", "Enter");
  await until(async () => (await own.state()).channel.major === 5, "tuned");
  await shows(page, ".banner", (await own.state()).channel.name);
  await shows(page, ".lines .message", "ChEnter");

  const second = await open(context, own);
  await shows(page, "#connection.bad", "Another page");
  await press(second, "ArrowUp");
  await own.end();
});
