// SPDX-License-Identifier: Apache-2.0
// The remote's keys in a page.
import assert from "node:assert/strict";
import { PAGES, Tv, browserTest } from "./support.mjs";

const tv = await Tv.start("--app", PAGES);

browserTest("a key of the remote does what the keyboard's does", async (context) => {
  const page = await context.newPage();
  await page.goto(`${tv.url}/keys.html`);
  const log = (count) => page.waitForFunction((n) => log.length >= n && log, count).then((handle) => handle.jsonValue());
  // What has the focus, the key, and what the page does at its keydown: prevents it, or moves the focus there.
  for (const [focus, key, then] of [
    ["", "Enter"], ["", "ArrowUp"], ["plain", "ArrowLeft"], ["text", "1"], ["text", "Enter"], ["shadowed", "ArrowDown"],
    ["shadowed", "Enter"], ["framed", "Escape"], ["framed", "Enter"], ["link", "Enter"], ["button", "Enter"], ["summary", "Enter"],
    ["check", "Enter"], ["link", "Enter", "prevent"], ["button", "Enter", "prevent"], ["plain", "Enter", "button"],
    ["plain", "Enter", "link"], ["link", "Enter", "plain"], ["button", "ArrowRight", "text"],
  ]) {
    const what = `${key} at ${focus || "the body"}, ${then ?? "nothing"} at keydown`;
    await page.evaluate(([id, more]) => begin(id, more), [focus, then]);
    await page.keyboard.press(key);
    const expected = await page.evaluate(() => [...log]);
    assert.ok(expected.length >= 2, what);
    await page.evaluate(([id, more]) => begin(id, more), [focus, then]);
    await tv.do({ tv: "key", key });
    assert.deepEqual(await log(expected.length), expected, what);
  }
});

browserTest("the TV's own keys come to a page behind another, until it has lost the TV", async (context) => {
  const page = await context.newPage();
  await page.goto(`${tv.url}/keys.html`);
  const remote = await context.newPage();
  await remote.goto(`${tv.url}/demo/remote.html`);
  await remote.bringToFront();
  const seen = () => page.evaluate(() => log.splice(0).map((line) => line.split(",").slice(0, 3).join()));
  const keys = [["ColorF0Red", "", 403], ["GoBack", "", 461], ["ChannelUp", "", 427], ["MediaPlayPause", "MediaPlayPause", 179]];
  for (const [key] of keys) await remote.click(`[data-key="${key}"]`);
  await page.waitForFunction((n) => log.length >= n, 2 * keys.length);
  assert.deepEqual(await seen(), keys.flatMap((key) => [`keydown ${key}`, `keyup ${key}`]));

  const second = await context.newPage();
  await second.goto(`${tv.url}/keys.html`);
  await tv.do({ tv: "key", key: "Info" });
  await second.waitForFunction(() => log.length >= 2);
  assert.deepEqual(await seen(), []);
});
