// The remote's keys in a page.
import assert from "node:assert/strict";
import { PAGES, Tv, browserTest, until } from "./support.mjs";

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
