// The fixture against a page of React, as it was built for the TV: the fixture itself gives it what the desk needs.
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvOptions: { app: "react-page/dist", date: "2026-01-01T20:00:00Z" } });

async function open(page) {
  await page.goto("/");
  await expect(page.getByRole("heading")).toHaveText("Fernwick One");
}

test("retries when the tuner is busy", async ({ page, tv }) => {
  await tv.fail("SetNextService", { times: 1 });
  await open(page);
  await tv.press("ChannelUp");
  await expect(page.getByRole("alert")).toHaveText("Try again");
  await expect(tv).toHaveCalled("IServiceNavigation::SetNextService", { times: 1 });
  await tv.advance("00:10");
  await tv.press("ChannelUp");
  await expect(page.getByRole("heading")).toHaveText("Pellmoor News");
  await expect(page.getByRole("alert")).toHaveCount(0);
});

for (let zaps = 1; zaps <= 9; zaps++) {
  test(`${zaps} channels up and down again`, async ({ page, tv }) => {
    await open(page);
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
  ["plays", "playing", (tv) => expect(tv).toHaveSent("Init", { url: "http://sample.tv/film.mpd", timeOffset: expect.any(Number) })],
  ["breaks off", "failed", (tv) => tv.report("Error")],
  ["ends", "over", (tv) => tv.report(97)],
]) {
  test(`a film ${what}`, async ({ page, tv }) => {
    await open(page);
    await page.getByRole("button").click();
    await expect(page.locator(".film")).toHaveText("playing");
    await act(tv);
    await expect(page.locator(".film")).toHaveText(film);
  });
}

for (const command of ["Init", "Play"]) {
  test(`a film whose ${command} fails`, async ({ page, tv }) => {
    await tv.fail(command);
    await open(page);
    await page.getByRole("button").click();
    await expect(page.locator(".film")).toHaveText("failed");
  });
}

test("a setting is followed, a slow call waited for", async ({ page, tv }) => {
  await open(page);
  await tv.delay("GetIntegerFromVconfWithKey", 150);
  await tv.set("db/menu/volume", 77);
  await expect(page.getByRole("status")).toHaveText("Volume 77");
  await tv.restore("GetIntegerFromVconfWithKey");
});

test("suspend is told", async ({ page, tv }) => {
  await open(page);
  await tv.powerOff("suspend");
  await expect(page.getByRole("alert")).toHaveText("Good night");
});
