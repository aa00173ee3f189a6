// SPDX-License-Identifier: Apache-2.0
// The fixture against the demo, which is what the address shows where no page is given.
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvOptions: { date: "2026-01-01T20:00:00Z" } });
test.beforeEach(async ({ page }) => {
  await page.goto("/");
  await expect(page.locator("#started")).toBeAttached();
});

test("the page asks at its start, and the journal has it", async ({ tv }) => {
  await expect(tv).toHaveSent("LaunchedZELumoWebApp", {}, { times: 1 });
  await expect(tv).toHaveSent("RegisterEvent", { event: 90019 });
  await expect(tv).not.toHaveSent("RegisterEvent", { event: 1 });
  await expect(tv).toHaveCalled("FCEMSProxy::Subscribe", { args: [90019], times: 1 });
  expect(tv.journal.calls("FCEMSProxy::Subscribe").length).toBeGreaterThan(1);
  await expect(tv).not.toHaveCalled("FCEMSProxy::Subscribe", { times: 1 });
  expect(tv.journal.replies().every(({ reply }) => "code" in reply)).toBe(true);
});

test("an event reaches the page", async ({ tv }) => {
  await tv.press("ChannelUp");
  await expect(tv).toHavePosted("ITVS_Signal_ZELumo_Control_State_ChLoad", { ch_info: { channelName: "Pellmoor News" } });
  expect(await tv.fire("ITVS_Signal_ZELumo_Control_State_ChEnter")).toMatchObject({ delivered: 1 });
  expect(await tv.fire(90000)).toMatchObject({ delivered: 0 });
});

test("the TV is suspended and wakes, and raises a signal at its time", async ({ page, tv }) => {
  await tv.powerOff();
  await expect(tv).toHavePosted("ITVS_Signal_Instant_Off", { event: 90028 }, { times: 1 });
  await expect(page.locator(".tv-off")).toBeVisible();
  await tv.fire("ITVS_Signal_Instant_On");
  await expect(tv).toHavePosted("ITVS_Signal_Instant_On");
  await tv.powerOff("suspend");
  await expect(tv).toHavePosted("ITVS_Signal_Instant_Off", { event: 90028 }, { times: 2 });
  await tv.at("00:30", tv.verbs.signal(177));
  await tv.advance("00:29");
  expect(tv.messages.filter(({ command }) => command === "ITVS_Signal_Unmute_by_pincode_input")).toHaveLength(0);
  await tv.advance(1000);
  await tv.waitForMessage("ITVS_Signal_Unmute_by_pincode_input");
});

test("somebody else writes settings", async ({ tv }) => {
  for (const [key, value, other] of [["db/menu/volume", 42, 41], ["db/menu/subtitles", false, 0]]) {
    await tv.set(key, value);
    await expect(tv).toHaveSetting(key, value);
    await expect(tv).toHavePosted(key, key);
    await expect(tv).not.toHaveSetting(key, other);
  }
});

for (const scenario of ["evening", "film", "first-use"]) {
  test(`the scenario ${scenario} plays without an error`, async ({ tv }) => {
    await tv.play(new URL(`../node_modules/zelumo-tv/scenarios/${scenario}.jsonl`, import.meta.url));
    expect((await tv.state()).scheduled.length).toBeGreaterThan(5);
    for (let minute = 0; minute < 31; minute++) await tv.advance("01:00");
    expect((await tv.state()).scheduled).toHaveLength(0);
    // The film's scenario is about a player, which this page hasn't made.
    const errors = tv.journal.filter((line) => "error" in line && !/there is no player/.test(line.error));
    expect(errors).toEqual([]);
  });
}

test.describe("with a TV of one's own", () => {
  test.use({
    tvOptions: { file: { channels: [{ id: "7", name: "Only One" }] }, settings: { "db/menu/volume": 3, "my/key": "x" }, date: "file", speed: 2 },
  });
  test("it is as described", async ({ tv }) => {
    await expect(tv).toBeTunedTo("Only One");
    await expect(tv).toHaveSetting("my/key", "x");
    expect((await tv.state()).speed).toBe(2);
  });
});
