// SPDX-License-Identifier: Apache-2.0
// The fixture against a page of React, as it was built for the TV: the fixture itself gives it what the desk needs.
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvOptions: { app: "react-page/dist", date: "2026-01-01T20:00:00Z" } });

test.beforeEach(async ({ page }) => {
  await page.goto("/");
  await expect(page.getByRole("heading")).toHaveText("Fernwick One");
});

for (let zaps = 1; zaps <= 14; zaps++) {
  test(`${zaps} channels up and down again`, async ({ page, tv }) => {
    const first = await tv.channel();
    for (let i = 0; i < zaps; i++) await tv.press("ChannelUp");
    await expect(tv).toHaveCalled("IServiceNavigation::SetNextService", { times: zaps });
    await expect(tv).not.toBeTunedTo(first.serviceId);
    await expect(page.getByRole("heading")).toHaveText((await tv.channel()).name);
    for (let i = 0; i < zaps; i++) await tv.press("ChannelDown");
    await expect(tv).toBeTunedTo(first.serviceId);
    await expect(page.getByRole("heading")).toHaveText(first.name);
  });
}

for (const [what, film, act] of [
  ["plays", "playing", async (tv) => {
    await expect(tv).toHaveSent("Init", { url: "http://sample.tv/film.mpd", timeOffset: expect.any(Number) });
    await tv.advance("00:05");
    await expect(tv).toBePlaying();
    await expect(tv).toBePlaying(/^http/);
    await expect(tv).not.toBePlaying("http://sample.tv/other.mpd");
    await expect(tv).toHavePosted("CurrentPosition");
  }],
  ["breaks off", "failed", (tv) => tv.report("Error")],
  ["ends", "over", (tv) => tv.report(97)],
]) {
  test(`a film ${what}`, async ({ page, tv }) => {
    await page.getByRole("button").click();
    await expect(page.locator(".film")).toHaveText("playing");
    await act(tv);
    await expect(page.locator(".film")).toHaveText(film);
  });
}
