// SPDX-License-Identifier: Apache-2.0
// The fixture against the same page in the dev server, which all workers share while each test has a TV of its own.
import { test, expect } from "zelumo-tv/playwright";

const port = Number(process.env.KIT_DEV_PORT ?? 5197);
const devServer = { command: `npx vite react-page --port ${port} --strictPort`, url: `http://localhost:${port}` };
test.use({ tvOptions: { date: "2026-01-01T20:00:00Z", devServer } });

for (let n = 1; n <= 12; n++) {
  test(`page ${n} of the dev server has the test's TV`, async ({ page, tv, baseURL }) => {
    expect(baseURL).toBe(devServer.url);
    await page.goto("/");
    await tv.set("db/menu/volume", n);
    await expect(page.getByRole("status")).toHaveText(`Volume ${n}`);
    await tv.press("ChannelUp");
    await expect(tv).toBeTunedTo("Pellmoor News");
    await expect(page.getByRole("heading")).toHaveText("Pellmoor News");
  });
}
