// SPDX-License-Identifier: Apache-2.0
// Real streams in the browser page: what is seen, what the page hears, and what a recording of it replays.
import assert from "node:assert/strict";
import { readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, test } from "node:test";
import { KEY, KEY_ID, StreamServer, UNKNOWN_CODEC, makeStreams } from "./streams.mjs";
import { PAGES, Tv, browserTest, makeFolder, replays, until } from "./support.mjs";

const streams = await StreamServer.start(await makeStreams());
after(() => streams.close());
const folder = makeFolder();
const tvFile = join(folder, "tv.json");
writeFileSync(tvFile, JSON.stringify({ drm: { own: "org.w3.clearkey", lacking: "com.example.rights" } }));
const recording = join(folder, "recording.jsonl");
const tv = await Tv.start("--app", PAGES, "--tv", tvFile, "--media", "browser", "--record", recording);

const SEEKING_MS = process.env.CI ? 60_000 : 15_000;
const FULL = { x: 0, y: 0, width: 1920, height: 1080 };

/** A page, with player events where it was loaded by open() or load(). */
class Viewer {
  static async open(context, host) {
    const viewer = new Viewer(await context.newPage(), host);
    await viewer.load();
    return viewer;
  }

  constructor(page, host = tv) {
    Object.assign(this, { page, tv: host, since: 1 });
  }

  async load() {
    this.since = (await this.tv.journal()).next;
    await this.page.goto(this.tv.url);
    await this.send({ command: "RegisterEvent", event: 90001 });
  }

  send(message) {
    return this.page.evaluate((asked) => ask(asked).data, message);
  }

  /** Makes a player and lets it play. `name`: of a file of the server, or an address. */
  async play(name, more = {}) {
    const url = name.includes("://") ? name : `${streams.url}/${name}`;
    assert.equal(await this.send({ command: "Init", url, timeOffset: 0, ...more }), true);
    await this.send({ command: "SetDisplayRect", ...FULL });
    await this.send({ command: "Play" });
  }

  /** The reports so far: [{type, param1, param2}]. */
  reports() {
    return this.page.evaluate(() => heard.filter(({ event }) => event === "ZELUMO_EVENT"));
  }

  /** The first report of that type that comes after `count` others have come; all since then. */
  async hears(type, count = 0, fits = () => true) {
    const has = (all) => all.slice(count).some((report) => report.type === type && fits(report));
    let all;
    await until(async () => has((all = await this.reports())), () => `report ${type} after ${count}: ${all.slice(-20).map(({ type, param1 }) => `${type} ${param1}`)}`);
    return all.slice(count);
  }

  /** Sends a command, and gives the reports that come from then on until one of that type has. */
  async does(message, type) {
    const count = await this.count();
    await this.send(message);
    return this.hears(type, count);
  }

  async count() {
    return (await this.reports()).length;
  }

  async player() {
    return (await this.tv.state()).players.at(-1);
  }

  /** The browser tells this beside a report since the page was loaded. */
  async detail(part) {
    let told;
    const has = async () => {
      told = (await this.tv.journal(this.since)).lines.flatMap((line) => (line.tv === "media" && line.detail) || []);
      return told.some((detail) => detail.includes(part));
    };
    await until(has, () => `${part}: ${told}`);
  }

  videos() {
    return this.page.evaluate(() => document.querySelectorAll("video").length);
  }

  /** The screen says this. */
  shows(part) {
    return this.page.getByText(part).first().waitFor();
  }
}

const types = (reports) => reports.map(({ type }) => type).filter((type) => type !== 131 && type !== 137);

browserTest("a film plays under the page where it is placed, to its end", async (context) => {
  for (const name of ["film.mpd", "film.mp4", "film.webm"]) {
    const viewer = await Viewer.open(context);
    await viewer.play(name, { timeOffset: 16 });
    await viewer.send({ command: "SetDisplayRect", x: 960, y: 540, width: 480, height: 270 });
    await viewer.hears(137);
    const seen = await viewer.page.evaluate(() => {
      const video = document.querySelector("video");
      const { x, y, width, height } = video.getBoundingClientRect();
      const above = document.elementFromPoint(x + 5, y + 5);
      return { place: [x, y, width, height], size: [video.videoWidth, video.videoHeight], above: above.tagName };
    });
    assert.deepEqual(seen, { place: [640, 360, 320, 180], size: [320, 180], above: "HTML" }, name);
    await viewer.hears(97);
    const reports = await viewer.reports();
    assert.deepEqual(types(reports), [32, 144, 97], name);
    for (const { type, param1, param2 } of reports) {
      if (type !== 137) continue;
      // A second of playing each, give or take what it takes to begin.
      assert.ok(Math.abs(((Number(param1) + 500) % 1000) - 500) < 250, `${name}: told ${param1}`);
      assert.ok(Math.abs(Number(param2) - 20_000) < 100, `${name}: of ${param2}`);
    }
    const { state, position, duration } = await viewer.player();
    assert.equal(state, "ended");
    assert.equal(position, duration);
    await viewer.does({ command: "Stop" }, 36);
    assert.equal(await viewer.videos(), 0);
    await viewer.page.close();
  }
});

browserTest("a live stream has an edge and a window that slides", async (context) => {
  streams.startLive();
  const viewer = await Viewer.open(context);
  await viewer.play("live.mpd");
  await viewer.hears(137);
  const edge = await viewer.player();
  assert.ok(edge.live && edge.duration - edge.position < 6000, JSON.stringify(edge));
  await viewer.does({ command: "JumpBackward", sec: 4 }, 35);
  await viewer.does({ command: "Pause" }, 33);
  const paused = (await viewer.player()).position;
  // Held where it is, until the window's start comes by and takes it along.
  await until(async () => (await viewer.player()).position > paused + 500, "the window slides");
  await viewer.does({ command: "Resume" }, 34);
  await viewer.hears(137, await viewer.count());
  const late = await viewer.player();
  assert.ok(late.duration - late.position > 6000, JSON.stringify(late));
  const { param1, param2 } = (await viewer.does({ command: "ResumeLive", reason: "test" }, 35)).find(({ type }) => type === 35);
  assert.ok(param2 - param1 < 6000, `${param1} of ${param2}`);
  await viewer.does({ command: "Seek", sec: 0 }, 37);
  streams.stopLive();
});

browserTest("streams that can't be played say why, to the page, in the journal and on the screen", async (context, t) => {
  t.after(() => (streams.cors = true));
  const rights = (drmType, drmData) => ({ drmType, drmData: typeof drmData === "string" ? drmData : JSON.stringify(drmData) });
  const cases = [
    ["a manifest that isn't there", "nothing.mpd", {}, [134], "1001", null],
    ["a file that isn't there", "nothing.mp4", {}, [134], "nothing.mp4", null],
    ["a codec that no browser here has", "hevc.mpd", {}, [98], UNKNOWN_CODEC],
    ["no CORS headers", "film.mpd", { cors: false }, [98], "Access-Control-Allow-Origin"],
    ["nobody there", "http://127.0.0.1:9/film.mpd", {}, [98], "can't be reached"],
    ["HLS", "film.m3u8", {}, [98], "HLS"],
    ["rights that aren't mapped", "clear.mpd", rights("unknown", {}), [98], 'drmType "unknown"'],
    ["rights that the browser lacks", "clear.mpd", rights("lacking", {}), [98], "com.example.rights"],
    ["rights that are no JSON", "clear.mpd", rights("own", "{"), [98], "drmData"],
    ["rights of a wrong form", "clear.mpd", rights("own", { clearKeys: 5 }), [98], "clearKeys"],
  ];
  for (const [what, name, { cors = true, ...more }, expected, part, shown = part] of cases) {
    const viewer = await Viewer.open(context);
    streams.cors = cors;
    await viewer.play(name, more);
    await viewer.hears(expected[0]);
    assert.deepEqual(types(await viewer.reports()), expected, what);
    await viewer.detail(part);
    // A page knows by itself what to say of a stream that isn't there.
    if (shown) await viewer.shows(shown);
    assert.equal((await viewer.player()).state, "failed", what);
    assert.equal(await viewer.send({ command: "Play" }), false, what);
    assert.equal(await viewer.videos(), 0, what);
    await viewer.page.close();
  }
});

browserTest("a page that came by https learns that it can load nothing by http", async (context) => {
  const origin = "https://page.example";
  const host = await Tv.start("--media", "browser", "--allow-origin", origin);
  await context.grantPermissions(["local-network-access"], { origin });
  await context.route(`${origin}/`, (route) =>
    route.fulfill({ contentType: "text/html", body: `<script>const heard = [];</script><script crossorigin src="${host.url}/zelumo-embed.js"></script>
      <embed id="tv" type="application/x-zelumo"><script>const ask = (message) => tv.postMessageAndAwaitResponse(message);</script>` }));
  const viewer = new Viewer(await context.newPage(), host);
  await viewer.page.goto(`${origin}/`);
  await viewer.play("http://stream.example/film.mpd");
  await viewer.detail("mixed content");
  await viewer.shows("mixed content");
});

browserTest("what is lost or held up in the middle of a stream", async (context) => {
  const viewer = await Viewer.open(context);
  // It is asked for at once, and needed 4 s later.
  streams.stall("long/video-8", 7000);
  await viewer.play("long.mpd", { timeOffset: 10 });
  await viewer.hears(144);
  const begun = await viewer.count();
  const stalled = await viewer.hears(131, begun, ({ param1 }) => param1 === "100");
  assert.equal(stalled.find(({ type }) => type === 131).param1, "0");
  const count = await viewer.count();
  await viewer.hears(137, count);
  // Another player begins, and its stream has a hole.
  streams.missing.add("film/video-4");
  await viewer.play("film.mpd", { timeOffset: 3 });
  await viewer.hears(98, count);
  streams.missing.clear();
  assert.deepEqual(types((await viewer.reports()).slice(count)).sort(), [144, 32, 36, 98]);
  await viewer.detail("1001");
  assert.ok((await viewer.player()).position > 3000);
});

browserTest("what can't be loaded in time holds up nothing else", async (context) => {
  const viewer = await Viewer.open(context);
  // A stop comes at once, and what the server says at last is of no account. Then it can be played all the same.
  streams.stall("film.mpd", 1500);
  await viewer.play("film.mpd");
  await viewer.does({ command: "Stop" }, 36);
  assert.deepEqual(types(await viewer.reports()), [36]);
  await viewer.does({ command: "Play" }, 144);
  // Another player takes the decoder of one that has yet to load, and one that nobody plays is forgotten.
  streams.stall("clear.mpd", 1500);
  await viewer.play("clear.mpd");
  streams.stall("hevc.mpd", 1500);
  await viewer.send({ command: "Init", url: `${streams.url}/hevc.mpd`, timeOffset: 0 });
  await viewer.play("long.mpd");
  await viewer.hears(137, await viewer.count());
  await viewer.hears(137, await viewer.count());
  const all = types(await viewer.reports());
  assert.deepEqual([all.slice(0, 4), all.slice(4).sort()], [[36, 32, 144, 36], [144, 32, 36]]);
});

browserTest("rights reach the browser", async (context) => {
  const viewer = await Viewer.open(context);
  await viewer.play("clear.mpd", { drmType: "own", drmData: JSON.stringify({ clearKeys: { [KEY_ID]: KEY } }) });
  await viewer.hears(137);
  assert.ok(await viewer.page.evaluate(() => document.querySelector("video").mediaKeys !== null));
  // The keys may come from a server, which gets the page's headers; the streams' doesn't.
  const asked = [];
  await context.route("https://licences.example/", async (route) => {
    const request = route.request();
    if (request.method() === "POST") asked.push([request.headers().authorization, JSON.parse(request.postData()).kids.length]);
    const key = (hex) => Buffer.from(hex, "hex").toString("base64url");
    const body = JSON.stringify({ keys: [{ kty: "oct", kid: key(KEY_ID), k: key(KEY) }], type: "temporary" });
    await route.fulfill({ headers: { "Access-Control-Allow-Origin": "*", "Access-Control-Allow-Headers": "*" }, body });
  });
  const count = await viewer.count();
  const rights = { licenseServer: "https://licences.example/", headers: { Authorization: "let me in" } };
  await viewer.play("clear.mpd", { drmType: "own", drmData: JSON.stringify(rights) });
  await viewer.hears(137, count);
  assert.deepEqual(asked[0], ["let me in", 1]);
});

browserTest("where no page may start with sound, it comes with the first click", async (context) => {
  const viewer = new Viewer(await context.newPage());
  viewer.since = (await tv.journal()).next;
  // By itself: what a test evaluates in the page counts as somebody's click.
  await viewer.page.goto(`${tv.url}/plays.html?url=${encodeURIComponent(`${streams.url}/film.mpd`)}`);
  await viewer.detail("muted");
  await until(async () => (await viewer.player()).state === "playing", "it plays all the same");
  await viewer.page.getByRole("button").click();
  assert.equal(await viewer.page.evaluate(() => document.querySelector("video").muted), false);
  assert.equal(await viewer.page.getByRole("button").count(), 0);
});

browserTest("the position is what the reports say, wherever it is sought", async (context) => {
  const viewer = await Viewer.open(context);
  await viewer.play("long.mpd");
  await viewer.hears(144);
  // What is told before a seek may arrive after it, so reports are compared once the last seek is done.
  await viewer.page.evaluate(() => {
    window.compared = [];
    tv.addEventListener("message", ({ data: { type, param1 } }) => {
      if (type !== 35 && type !== 137) return;
      if (type === 35 && Math.abs(param1 - sought) < 900) window.sought = null;
      if (window.sought === null) compared.push([type, Number(param1) - document.querySelector("video").currentTime * 1000]);
    });
  });
  let seed = 7;
  const random = (below) => (seed = (seed * 48271) % 2147483647) % below;
  const end = Date.now() + SEEKING_MS;
  while (Date.now() < end) {
    const count = await viewer.count();
    const targets = Array.from({ length: 1 + random(3) }, () => random(57));
    const sec = targets.at(-1);
    await viewer.page.evaluate((all) => {
      window.sought = all.at(-1) * 1000;
      for (const one of all) ask({ command: "Seek", sec: one });
    }, targets);
    const seen = await viewer.hears(35, count, ({ param1 }) => Math.abs(param1 - sec * 1000) < 900);
    assert.ok(seen.filter(({ type }) => type === 35).length <= targets.length);
    // What the page asks for between two reports runs on the TV's clock, which moves in steps of a tenth of a second.
    const now = () => viewer.page.evaluate(() => document.querySelector("video").currentTime * 1000);
    let told = "";
    const agrees = async () => {
      const before = await now();
      const { position } = await viewer.player();
      const after = await now();
      told = `${before}, ${position}, ${after}`;
      return position > before - 400 && position < after + 400;
    };
    // A decoder that begins late may leap once.
    if (!(await agrees())) await until(agrees, () => told);
    if (random(3) === 0) await viewer.hears(137, await viewer.count());
  }
  const compared = await viewer.page.evaluate(() => compared);
  assert.ok(compared.length > 5, `${compared.length} reports`);
  // Where something else has the machine, a report in many may wait its turn.
  const late = compared.filter(([, by]) => Math.abs(by) > 250);
  assert.ok(late.length <= compared.length / 20 && late.every(([, by]) => Math.abs(by) < 1000), `${late.length} of ${compared.length} are off: ${late}`);
});

browserTest("many players leave nothing behind", async (context) => {
  const viewer = await Viewer.open(context);
  const heap = async () => {
    const session = await context.newCDPSession(viewer.page);
    await session.send("HeapProfiler.collectGarbage");
    const { usedSize } = await session.send("Runtime.getHeapUsage");
    await session.detach();
    return usedSize;
  };
  let first = 0;
  for (let i = 0; i < 200; i += 1) {
    const count = await viewer.count();
    await viewer.play("film.mpd");
    await viewer.hears(144, count);
    assert.ok((await viewer.videos()) <= 2);
    if (i === 20) first = await heap();
    if (i % 20 === 0) await viewer.page.evaluate(() => heard.splice(0));
  }
  await viewer.does({ command: "Stop" }, 36);
  assert.equal(await viewer.videos(), 0);
  const grown = (await heap()) - first;
  assert.ok(grown < 3_000_000, `${grown} bytes more`);
}, { timeout: 180_000 });

browserTest("pages that play nothing ask for nothing more, and a host that goes takes what plays along", async (context) => {
  const host = await Tv.start("--app", PAGES, "--media", "browser");
  const page = await context.newPage();
  const asked = [];
  page.on("request", (request) => asked.push(new URL(request.url()).pathname));
  await page.goto(host.url);
  await page.evaluate(() => ask({ command: "GetVersion" }));
  assert.ok(!asked.some((path) => path.includes("media")), String(asked));
  // With the first stream everything is asked for, once and at once.
  asked.length = 0;
  await page.evaluate(() => ask({ command: "Init", url: "/nothing.mpd", timeOffset: 0 }));
  await until(() => asked.includes("/nothing.mpd"), "the stream is asked for");
  const parts = readdirSync(new URL("../../web/zelumo-media", import.meta.url)).filter((name) => name.endsWith(".js")).sort();
  const fetched = asked.slice(0, asked.indexOf("/nothing.mpd")).flatMap((path) => path.match(/zelumo-media\/(.*)/)?.[1] ?? []);
  assert.deepEqual(fetched.sort(), parts);
  const viewer = new Viewer(page, host);
  await viewer.load();
  await viewer.play("long.mpd");
  await viewer.hears(144);
  await host.end("SIGKILL");
  await until(async () => (await viewer.videos()) === 0, "nothing plays without a host");
});

test("all that was played here replays without a browser", async () => {
  await tv.end();
  replays(recording, "--tv", tvFile, "--media", "browser");
});
