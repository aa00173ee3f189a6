// SPDX-License-Identifier: Apache-2.0
// Makes the picture of the desk that the README shows: node docs/desk.mjs, with ZELUMO_TV naming the built program.
// The TV's date is that of its file and its time stands still, so that the picture changes only where the desk does.
import { spawn } from "node:child_process";
import { once } from "node:events";
import { writeFileSync } from "node:fs";
import { launch } from "../tests/web/browser.mjs";

const MOST = 200_000;
const file = new URL("desk.png", import.meta.url);

// Its input is ours, so that it ends with this script however that ends.
const serve = ["serve", "--port", "0", "--date", "file", "--speed", "0", "--end-with-input"];
const tv = spawn(process.env.ZELUMO_TV, serve, { stdio: ["pipe", "pipe", "inherit"] });
const [line] = await once(tv.stdout, "data");
const browser = await launch();
try {
  const page = await browser.newPage({ viewport: { width: 1120, height: 640 }, colorScheme: "dark", timezoneId: "UTC", locale: "en-GB" });
  await page.clock.setFixedTime("2026-01-01T19:00:00Z");
  await page.goto(String(line).match(/http:\/\/\S+/)[0]);
  await page.waitForSelector("#started", { state: "attached" });
  await page.focus("channel-app");
  for (const key of ["1", "Enter", "g", "ArrowRight"]) await page.keyboard.press(key);
  await page.locator(".guide-grid .guide-row").first().waitFor();
  await page.click("#tab-faults");
  await page.mouse.move(0, 0);
  await page.evaluate(() => document.fonts.ready);
  const picture = await page.screenshot({ animations: "disabled" });
  if (picture.length >= MOST) throw new Error(`${picture.length} bytes are too many`);
  writeFileSync(file, picture);
  console.log(`docs/desk.png: ${picture.length} bytes`);
} finally {
  await browser.close();
  tv.stdin.end();
}
