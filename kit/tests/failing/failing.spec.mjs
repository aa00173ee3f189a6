// SPDX-License-Identifier: Apache-2.0
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvOptions: { date: "2026-01-01T20:00:00Z" } });

// What each must say stands with it, for who runs this.
const says = (message) => ({ annotation: { type: "says", description: message.source } });
const failing = (name, act, message) =>
  test(name, says(message), async ({ page, tv }) => {
    await page.goto("/");
    await expect(page.locator("#started")).toBeAttached({ timeout: 10_000 });
    await tv.press("ChannelUp");
    await expect(tv).toBeTunedTo("Pellmoor News", { timeout: 10_000 });
    await tv.advance("00:05");
    await act(tv);
  });
const wrongPage = (tv) => expect(tv.url).toBe("");

for (const [name, act, message] of [
  ["toHaveSent", (tv) => expect(tv).toHaveSent("SetNextService", {}, { times: 2 }),
    /expected the page to have sent SetNextService, 2 times; it was so 1 time; commands that came.*\n(.*\n)*.*"command":"SetNextService"/],
  ["not.toHaveSent", (tv) => expect(tv).not.toHaveSent("SetNextService"), /not\.toHaveSent: expected not the page to have sent SetNextService/],
  ["toHaveCalled", (tv) => expect(tv).toHaveCalled("IServiceNavigation::SetNextService", { args: [{ mode: 99 }] }),
    /the call IServiceNavigation::SetNextService with \[\{"mode":99\}\]; calls that came/],
  ["toHavePosted", (tv) => expect(tv).toHavePosted("ITVS_Signal_Instant_On"), /posted "ITVS_Signal_Instant_On"; messages that came:\n(.*\n)*.*ChLoad/],
  ["toBeTunedTo", (tv) => expect(tv).toBeTunedTo("Fernwick One"), /tuned to "Fernwick One"; it shows "Pellmoor News", 1002/],
  ["toBePlaying", (tv) => expect(tv).toBePlaying("http://sample.tv/film.mpd"), /play "http:\/\/sample.tv\/film.mpd"; there is no player/],
  ["toHaveSetting", (tv) => expect(tv).toHaveSetting("db/menu/volume", -1), /db\/menu\/volume to be -1; it is \d+/],
  ["misspelt message", (tv) => expect(tv).not.toHavePosted("ITVS_Signal_Instant_Onn"),
    /nothing is posted under "ITVS_Signal_Instant_Onn"; did you mean "ITVS_Signal_Instant_On"\?/],
  ["no parameters", (tv) => expect(tv).toHaveSent("SetNextService", null), /toHaveSent: the parameters must be an object/],
  ["typo", (tv) => expect(tv).not.toHaveCalled("IServiceNavigation::SetNextServce"),
    /there is no platform call "IServiceNavigation::SetNextServce"; did you mean "IServiceNavigation::SetNextService"\?/],
  ["page", wrongPage, /Expected: ""/],
]) {
  failing(name, act, message);
}

test.describe("one for a worker", () => {
  test.use({ tvScope: "worker" });
  failing("worker", wrongPage, /Expected: ""/);
});

for (const [tvOptions, message] of [
  [{ devServer: { command: "echo no luck; exit 3", url: "http://127.0.0.1:9" } }, /devServer: "echo no luck; exit 3" ended with status 3: no luck/],
  [{ devServer: { command: "true", url: "localhost:5173" } }, /devServer: "localhost:5173" is no address: write http:/],
  [{ devserver: {} }, /tvOptions: there is no option "devserver"; did you mean "devServer"\?/],
]) {
  test.describe("no TV", () => {
    test.use({ tvOptions });
    test(JSON.stringify(tvOptions), says(message), ({ tv }) => tv);
  });
}
