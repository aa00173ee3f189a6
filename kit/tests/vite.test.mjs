// The plug-in for Vite.
import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { HERE, isUp, processesWith, programOf, start, until } from "./support.mjs";

const VITE = ["node_modules/vite/bin/vite.js"];
const mark = `vite-${process.pid}`;
const environment = (more) => ({ ...process.env, NO_COLOR: "1", KIT_MARK: mark, ...more });
const left = () => processesWith("KIT_MARK", mark);
const tvs = () => left().map(programOf).filter((program) => program.endsWith("/zelumo-tv"));

test("in the dev server the TV comes and goes with it, and its pages have the script", async () => {
  for (const signal of ["SIGTERM", "SIGKILL"]) {
    const vite = start(process.execPath, [...VITE, "react-page", "--host", "127.0.0.1", "--port", "0"], { env: environment() });
    await until(() => /Remote: .*\n/.test(vite.out), `the banner: ${vite.out}${vite.err}`);
    const tv = /TV: +(http\S+)\//.exec(vite.out)[1];
    const page = /Local: +(http\S+)\//.exec(vite.out)[1];
    const html = await (await fetch(page)).text();
    assert.ok(html.indexOf(`<script src="${tv}/zelumo-embed.js"></script>`) > 0 && html.indexOf("zelumo-embed") < html.indexOf("main.jsx"));
    const { port } = new URL(page);
    for (const [origin, status] of [[page, 200], [`http://localhost:${port}`, 200], ["http://localhost:1", 403]]) {
      assert.equal((await fetch(`${tv}/tv/state`, { headers: { Origin: origin } })).status, status, origin);
    }
    assert.equal(tvs().length, 1);
    const state = await (await fetch(`${tv}/tv/state`)).json();
    assert.equal(state.speed, 1);
    assert.ok(Math.abs(state.time - Date.UTC(2026, 0, 1, 20)) < 60_000);
    vite.child.kill(signal);
    await vite.ended;
    await until(async () => !(await isUp(tv)) && !left().length, `nothing is left after ${signal}`);
  }
});

test("with a TV that is given there is no other", async () => {
  for (const [url, has] of [["http://127.0.0.1:9", true], ["", false]]) {
    const vite = start(process.execPath, [...VITE, "react-page", "--host", "127.0.0.1", "--port", "0"], { env: environment({ ZELUMO_TV_URL: url }) });
    await until(() => /Local: .*\n/.test(vite.out), "the banner");
    const html = await (await fetch(/Local: +(http\S+)\//.exec(vite.out)[1])).text();
    assert.equal(html.includes(`src="http://127.0.0.1:9/zelumo-embed.js"`), has);
    assert.deepEqual(tvs(), []);
    vite.child.kill();
    await vite.ended;
  }
});

test("a TV that can't start is told, and the dev server with it", async () => {
  const vite = start(process.execPath, [...VITE, "react-page", "--host", "127.0.0.1", "--port", "0"], { env: environment({ ZELUMO_TV: "/no/such" }) });
  assert.notEqual((await vite.ended).code, 0);
  assert.match(vite.err, /there is no program at \/no\/such/);
});

test("of a build nothing is left", async () => {
  const vite = start(process.execPath, [...VITE, "build", "react-page", "--outDir", `dist-${mark}`], { env: environment() });
  assert.equal((await vite.ended).code, 0, vite.err);
  const folder = join(HERE, "react-page", `dist-${mark}`);
  const texts = readdirSync(folder, { recursive: true, withFileTypes: true })
    .filter((entry) => entry.isFile())
    .map((entry) => readFileSync(join(entry.parentPath, entry.name), "utf8"));
  assert.ok(texts.length >= 2);
  for (const text of texts) assert.ok(!/<script[^>]*zelumo-embed|127\.0\.0\.1|tv\/state/.test(text));
  assert.deepEqual(tvs(), []);
});
