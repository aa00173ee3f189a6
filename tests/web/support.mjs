// SPDX-License-Identifier: Apache-2.0
// Starts the TV host and a browser for the tests.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { mkdirSync } from "node:fs";
import { dirname, join } from "node:path";
import { after, test } from "node:test";
import { fileURLToPath } from "node:url";
import { launch } from "./browser.mjs";

export { freePort, makeFolder, until } from "./shared.mjs";

const here = dirname(fileURLToPath(import.meta.url));
const SHOTS = join(here, "../../build/web-failures");
export const PAGES = join(here, "pages");

const WAIT_MS = 10_000;

export class Tv {
  static running = new Set();

  static async start(...args) {
    const binary = process.env.ZELUMO_TV;
    assert.ok(binary, "ZELUMO_TV names no TV host");
    const port = args.includes("--port") ? [] : ["--port", "0"];
    const tv = new Tv();
    tv.process = spawn(binary, ["serve", ...port, ...args], { stdio: ["ignore", "pipe", "inherit"] });
    Tv.running.add(tv);
    tv.ended = new Promise((resolve) => tv.process.once("exit", (code, signal) => resolve({ code, signal })));
    const line = await new Promise((resolve, reject) => {
      let text = "";
      tv.process.once("error", reject);
      tv.process.once("exit", (code) => reject(new Error(`${binary} ended with ${code}`)));
      tv.process.stdout.on("data", (data) => {
        text += data;
        if (text.split("\n").length > (args.includes("--relay") ? 2 : 1)) resolve(text);
      });
    });
    tv.url = line.match(/http:\/\/\S+?(?=\/?(\s|$))/)[0];
    tv.port = new URL(tv.url).port;
    tv.relay = line.match(/relay (http:\S+)/)?.[1]; // where a real TV comes in
    return tv;
  }

  async end(signal = "SIGINT") {
    Tv.running.delete(this);
    this.process.kill(signal);
    return this.ended;
  }

  async state() {
    return (await fetch(`${this.url}/tv/state`)).json();
  }

  /** The journal's lines from number `since` on, and the number of the next: { lines, next }. */
  async journal(since = 1) {
    return (await fetch(`${this.url}/journal?since=${since}`)).json();
  }

  /** The TV does something; gives the line out. */
  async do(verb) {
    const response = await fetch(`${this.url}/tv`, { method: "POST", body: JSON.stringify(verb) });
    const line = await response.json();
    assert.equal(response.status, 200, JSON.stringify(line));
    return line;
  }
}

/** A recording replays to the letter, without a browser. */
export function replays(recording, ...options) {
  const { status, stdout } = spawnSync(process.env.ZELUMO_TV, ["script", ...options, "--check", recording], { encoding: "utf8" });
  assert.deepEqual([status, stdout], [0, ""]);
}

let browser;

after(async () => {
  await browser?.close();
  for (const tv of [...Tv.running]) await tv.end("SIGKILL");
});

/** A test with a browser of its own state; where it fails, pictures of its pages stay in build/web-failures. */
export function browserTest(name, body, { timeout = 90_000, ...options } = {}) {
  test(name, { timeout }, async (t) => {
    browser ??= await launch();
    const context = await browser.newContext({ viewport: { width: 1280, height: 720 }, ...options });
    context.setDefaultTimeout(WAIT_MS);
    try {
      await body(context, t);
    } catch (error) {
      mkdirSync(SHOTS, { recursive: true });
      for (const [i, page] of context.pages().entries()) {
        const path = join(SHOTS, `${name.replace(/\W+/g, "-")}${i ? `-${i}` : ""}.png`);
        await page.screenshot({ path }).catch((reason) => console.error(`no picture of ${page.url()}: ${reason.message}`));
      }
      throw error;
    } finally {
      await context.close();
    }
  });
}
