// SPDX-License-Identifier: Apache-2.0
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvOptions: { date: "2026-01-01T20:00:00Z" } });

const failing = (name, act) =>
  test(name, async ({ page, tv }) => {
    await page.goto("/");
    await expect(page.locator("#started")).toBeAttached();
    await tv.press("ChannelUp");
    await expect(tv).toBeTunedTo("Pellmoor News", { timeout: 10_000 });
    await tv.advance("00:05");
    await act(tv);
  });
const wrongPage = (tv) => expect(tv.url).toBe("");

for (const [name, act] of [
  ["toHaveSent", (tv) => expect(tv).toHaveSent("SetNextService", {}, { times: 2 })],
  ["not.toHaveSent", (tv) => expect(tv).not.toHaveSent("SetNextService")],
  ["toHaveCalled", (tv) => expect(tv).toHaveCalled("IServiceNavigation::SetNextService", { args: [{ mode: 99 }] })],
  ["toHavePosted", (tv) => expect(tv).toHavePosted("ITVS_Signal_Instant_On")],
  ["toBeTunedTo", (tv) => expect(tv).toBeTunedTo("Fernwick One")],
  ["toBePlaying", (tv) => expect(tv).toBePlaying("http://sample.tv/film.mpd")],
  ["toHaveSetting", (tv) => expect(tv).toHaveSetting("db/menu/volume", -1)],
  ["misspelt message", (tv) => expect(tv).not.toHavePosted("ITVS_Signal_Instant_Onn")],
  ["no parameters", (tv) => expect(tv).toHaveSent("SetNextService", null)],
  ["typo", (tv) => expect(tv).not.toHaveCalled("IServiceNavigation::SetNextServce")],
  ["page", wrongPage],
]) {
  failing(name, act);
}

test.describe("one for a worker", () => {
  test.use({ tvScope: "worker" });
  failing("worker", wrongPage);
});

for (const [name, tvOptions] of [
  ["a dev server that ends", { devServer: { command: "echo no luck; exit 3", url: "http://127.0.0.1:9" } }],
  ["a dev server without an address", { devServer: { command: "true", url: "localhost:5173" } }],
  ["an option that isn't there", { devserver: {} }],
]) {
  test.describe("with", () => {
    test.use({ tvOptions });
    test(name, ({ tv }) => tv);
  });
}
