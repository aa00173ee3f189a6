// SPDX-License-Identifier: Apache-2.0
// One TV for a worker.
import { test, expect } from "zelumo-tv/playwright";

test.use({ tvScope: "worker" });
test.describe.configure({ mode: "serial" });

let url;

test("leaves something behind", async ({ tv }) => {
  url = tv.url;
  await tv.set("my/key", 5);
  await tv.send("RegisterEvent", { event: 90027 });
  await tv.fail("GetVersion").catch(() => {});
  await tv.fail("GetIntegerFromVconfWithKey");
  await expect(tv.send("GetIntegerFromVconfWithKey", { key: "my/key" })).rejects.toMatchObject({ name: "ZelumoError", code: 9999 });
  await tv.fire("ITVS_Signal_Instant_On");
  expect(tv.messages).toHaveLength(1);
});

test("the next test has the same TV, whose faults and journal are its own", async ({ tv }) => {
  expect(tv.url).toBe(url);
  expect(tv.messages).toHaveLength(0);
  await expect(tv).not.toHaveSent("RegisterEvent");
  await expect(tv).toHaveSetting("my/key", 5);
  expect(await tv.send("GetIntegerFromVconfWithKey", { key: "my/key" })).toBe(5);
});

test.describe("with an address of the project's own", () => {
  test.use({ baseURL: "http://localhost:9" });
  test("it is kept", ({ baseURL, tv }) => {
    expect(baseURL).toBe("http://localhost:9");
    expect(tv.url).toMatch(/^http:\/\/127\.0\.0\.1:\d+$/);
  });
});
