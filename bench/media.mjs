// SPDX-License-Identifier: Apache-2.0
// Measures what plays in the browser against shaka-player alone on the same page: the time to the first picture, and the
// processor time of the browser while it plays.
//   ZELUMO_TV=build/run/bin/zelumo-tv node bench/media.mjs [ROUNDS]
import { readFileSync, readdirSync } from "node:fs";
import { launch } from "../tests/web/browser.mjs";
import { StreamServer, makeStreams } from "../tests/web/streams.mjs";
import { PAGES, Tv } from "../tests/web/support.mjs";

const ROUNDS = Number(process.argv[2] ?? 15);
const PLAYING_MS = 15_000;
const CPU_ROUNDS = 3;
const TICK_MS = 10; // of a process's times in /proc

const streams = await StreamServer.start(await makeStreams());
const tv = await Tv.start("--app", PAGES, "--media", "browser");
const browser = await launch();
const url = `${streams.url}/long.mpd`;

// In the page. Each gives the milliseconds from the moment at which a page asks for playing to the first picture. `known`: "nothing"
// is there before, or the "library", as after an earlier stream, or the "stream" is open.
async function alone([address, known]) {
  let asked = performance.now();
  const script = Object.assign(document.createElement("script"), { src: "/zelumo-media/shaka-player.dash.js" });
  await new Promise((resolve) => {
    script.onload = resolve;
    document.head.append(script);
  });
  if (known === "library") asked = performance.now();
  const video = document.createElement("video");
  video.style.cssText = "position:fixed;inset:0;width:100%;height:100%;z-index:-1";
  document.body.append(video);
  const player = new shaka.Player();
  await player.attach(video);
  await player.load(address);
  if (known === "stream") {
    await new Promise((resolve) => setTimeout(resolve, 500));
    asked = performance.now();
  }
  const picture = new Promise((resolve) => video.requestVideoFrameCallback((now) => resolve(now)));
  await video.play();
  return (await picture) - asked;
}

async function viaPlugin([address, known]) {
  const is = (type) => heard.some((message) => message.type === type);
  const come = async (there) => {
    while (!there()) await new Promise((resolve) => setTimeout(resolve, 1));
  };
  ask({ command: "RegisterEvent", event: 90001 });
  if (known === "library") {
    ask({ command: "Init", url: `${address}?earlier`, timeOffset: 0 });
    await come(() => is(32));
    heard.length = 0;
  }
  let asked = performance.now();
  ask({ command: "Init", url: address, timeOffset: 0 });
  ask({ command: "SetDisplayRect", x: 0, y: 0, width: 1920, height: 1080 });
  if (known === "stream") {
    await come(() => is(32));
    await new Promise((resolve) => setTimeout(resolve, 500));
    asked = performance.now();
  }
  const next = () => new Promise((resolve) => document.querySelector("video").requestVideoFrameCallback((now) => resolve(now)));
  let picture = known === "stream" ? next() : null;
  ask({ command: "Play" });
  await come(() => document.querySelector("video"));
  picture ??= next();
  return (await picture) - asked;
}

/** Milliseconds of processor time that a process and all below it have taken. */
function processorTime(root) {
  const parents = new Map();
  const times = new Map();
  for (const id of readdirSync("/proc").filter((name) => /^\d+$/.test(name))) {
    try {
      const fields = readFileSync(`/proc/${id}/stat`, "utf8").replace(/^.*\) /, "").split(" ");
      parents.set(Number(id), Number(fields[1]));
      times.set(Number(id), (Number(fields[11]) + Number(fields[12])) * TICK_MS);
    } catch (error) {
      if (error.code !== "ENOENT" && error.code !== "ESRCH") throw error;
    }
  }
  const isBelow = (id) => id === root || (parents.has(id) && isBelow(parents.get(id)));
  return [...times].reduce((sum, [id, time]) => (isBelow(id) ? sum + time : sum), 0);
}

const root = Number(readdirSync("/proc").find((id) => /^\d+$/.test(id) && isBrowser(id)));
function isBrowser(id) {
  try {
    const text = readFileSync(`/proc/${id}/cmdline`, "utf8");
    return /chromium/.test(text) && !/--type=|crashpad/.test(text) && Number(readFileSync(`/proc/${id}/stat`, "utf8").replace(/^.*\) /, "").split(" ")[1]) === process.pid;
  } catch {
    return false;
  }
}

async function onPage(use) {
  const context = await browser.newContext();
  const page = await context.newPage();
  await page.goto(tv.url);
  const result = await use(page);
  await context.close();
  return result;
}

const median = (values) => values.sort((a, b) => a - b)[Math.floor(values.length / 2)];
const row = (what, ours, floor, unit) =>
  console.log(`${what}: ${median(ours).toFixed(0)} ${unit}, alone ${median(floor).toFixed(0)} ${unit}, ratio ${(median(ours) / median(floor)).toFixed(2)}`);

try {
  for (const known of ["nothing", "library", "stream"]) {
    const ours = [];
    const floor = [];
    for (let round = 0; round < ROUNDS; round += 1) {
      ours.push(await onPage((page) => page.evaluate(viaPlugin, [url, known])));
      floor.push(await onPage((page) => page.evaluate(alone, [url, known])));
    }
    row(`first picture, ${known} there before`, ours, floor, "ms");
  }
  const ours = [];
  const floor = [];
  for (let round = 0; round < CPU_ROUNDS; round += 1) {
    for (const [play, times] of [[viaPlugin, ours], [alone, floor]]) {
      times.push(
        await onPage(async (page) => {
          await page.evaluate(play, [url, "nothing"]);
          await page.waitForTimeout(1000);
          const before = processorTime(root);
          await page.waitForTimeout(PLAYING_MS);
          return processorTime(root) - before;
        }),
      );
    }
  }
  row(`processor time of the browser in ${PLAYING_MS / 1000} s of playing`, ours, floor, "ms");
} finally {
  await browser.close();
  await streams.close();
  await tv.end();
}
