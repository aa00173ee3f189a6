// SPDX-License-Identifier: Apache-2.0
// Pages of a dev server: the example of examples/vite, changed while it runs.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { cpSync, writeFileSync } from "node:fs";
import { basename, join } from "node:path";
import { after } from "node:test";
import { fileURLToPath } from "node:url";
import { Tv, browserTest, freePort, makeFolder, until } from "./support.mjs";

const EXAMPLE = fileURLToPath(new URL("../../examples/vite", import.meta.url));
const folder = makeFolder();
cpSync(EXAMPLE, folder, { recursive: true, filter: (path) => basename(path) !== "node_modules" });

// Which origin is allowed has to be known before the TV starts.
const port = await freePort();
const tv = await Tv.start("--allow-origin", `http://localhost:${port}`);
const vite = spawn(process.execPath, [join(EXAMPLE, "node_modules/vite/bin/vite.js"), folder, "--host", "127.0.0.1", "--port", port], {
  env: { ...process.env, ZELUMO_TV_URL: tv.url },
  stdio: ["ignore", "pipe", "inherit"],
});
after(() => vite.kill());
await new Promise((resolve, reject) => {
  vite.once("exit", (code) => reject(new Error(`vite ended with ${code}`)));
  vite.stdout.on("data", (text) => String(text).includes("Local") && resolve());
});

browserTest("a module that changes is taken in while the page keeps its TV", async (context) => {
  const page = await context.newPage();
  await page.goto(`http://localhost:${port}`);
  const shows = async (text) => page.locator("#banner", { hasText: text }).waitFor();
  const name = async () => (await tv.state()).channel.name;
  const first = await name();
  await shows(`On now: ${first}`);
  const { page: number } = await tv.state();
  await page.evaluate(() => (window.livesOn = true));
  const change = (text) => writeFileSync(join(folder, "banner.js"), `export const bannerText = (channel) => \`${text} \${channel.channelName}\`;\n`);
  change("You see");
  await shows(`You see ${first}`);
  assert.deepEqual([await page.evaluate(() => window.livesOn), (await tv.state()).page], [true, number]);

  // Keys, calls and messages still pass, and another change finds them where they were.
  await tv.do({ tv: "key", key: "ArrowUp" });
  const second = await until(async () => ((now) => now !== first && now)(await name()), "another channel");
  await shows(`You see ${second}`);
  change("There is");
  await shows(`There is ${second}`);
  assert.equal((await tv.state()).page, number);
  await page.goto("about:blank");
  await until(async () => (await tv.state()).page === null, "the page that left closes its instance");
});

browserTest("a page of an origin that isn't allowed gets nothing", async (context) => {
  const page = await context.newPage();
  const before = await tv.state();
  await page.goto(`http://127.0.0.1:${port}`);
  const got = await page.evaluate(async (url) => {
    const fails = (ask) => ask().then((response) => response.status ?? response, () => "refused");
    const socket = (path) => new Promise((resolve, reject) => Object.assign(new WebSocket(url.replace("http", "ws") + path), { onopen: resolve, onclose: reject }));
    const post = (body, options) => fails(() => fetch(`${url}/tv`, { method: "POST", body, ...options }));
    const verb = '{"tv":"event","event":90001}';
    navigator.sendBeacon(`${url}/page/open`);
    return {
      script: typeof document.querySelector("embed").postMessage,
      state: await fails(() => fetch(`${url}/tv/state`)),
      verb: await post(verb),
      typed: await post(verb, { headers: { "Content-Type": "application/json" } }),
      opaque: await post('{"tv":"setting","key":"db/menu/volume","value":1}', { mode: "no-cors" }),
      journal: await fails(() => socket("/journal")),
    };
  }, tv.url);
  const refused = "refused";
  assert.deepEqual(got, { script: "undefined", state: refused, verb: refused, typed: refused, opaque: 0, journal: refused });
  const { page: opened, settings } = await tv.state();
  assert.deepEqual({ opened, settings }, { opened: before.page, settings: before.settings });
});
