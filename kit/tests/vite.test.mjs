// SPDX-License-Identifier: Apache-2.0
// The plug-in for Vite, with an older Vite and a newer one.
import assert from "node:assert/strict";
import { cpSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { HERE, isUp, makeFolder, processesWith, programOf, script, start, until } from "./support.mjs";

const VITES = ["vite", "vite8"];
const cli = (vite) => `node_modules/${vite}/bin/vite.js`;
const mark = `vite-${process.pid}`;
const environment = (more) => ({ ...process.env, NO_COLOR: "1", KIT_MARK: mark, ...more });
const left = () => processesWith("KIT_MARK", mark);
const tvs = () => left().map(programOf).filter((program) => program.endsWith("/zelumo-tv"));
const serve = (version, more) =>
  start(process.execPath, [cli(version), "react-page", "--host", "127.0.0.1", "--port", "0"], { env: environment(more) });

test("in the dev server the TV comes and goes with it, and its pages have the script", async () => {
  for (const [version, signal] of VITES.flatMap((one) => [[one, "SIGTERM"], [one, "SIGKILL"]])) {
    const vite = serve(version);
    await until(() => /Remote: .*\n/.test(vite.out), `the banner: ${vite.out}${vite.err}`);
    const tv = /TV: +(http\S+)\//.exec(vite.out)[1];
    const page = /Local: +(http\S+)\//.exec(vite.out)[1];
    const html = await (await fetch(page)).text();
    assert.ok(html.indexOf(`<script src="${tv}/zelumo-embed.js"></script>`) > 0 && html.indexOf("zelumo-embed") < html.indexOf("main.jsx"));
    for (const [origin, status] of [[page, 200], [page.replace("127.0.0.1", "localhost"), 200], ["http://localhost:1", 403]]) {
      assert.equal((await fetch(`${tv}/tv/state`, { headers: { Origin: origin } })).status, status, origin);
    }
    assert.equal(tvs().length, 1);
    const state = await (await fetch(`${tv}/tv/state`)).json();
    assert.equal(state.speed, 1);
    assert.ok(Math.abs(state.time - Date.UTC(2026, 0, 1, 20)) < 60_000);
    vite.child.kill(signal);
    await vite.ended;
    await until(async () => !(await isUp(tv)) && !left().length, `nothing is left of ${version} after ${signal}`);
  }
});

test("a restart brings another TV in the place of the one before, whose paths are those of Vite's root", async () => {
  const folder = makeFolder(HERE);
  cpSync(join(HERE, "react-page/index.html"), join(folder, "index.html"));
  writeFileSync(join(folder, "tv.json"), '{ "channels": [{ "id": "7", "name": "Only One" }] }');
  const configure = (volume) =>
    writeFileSync(
      join(folder, "vite.config.js"),
      `import { zelumoTv } from "zelumo-tv/vite";
      export default { plugins: [zelumoTv({ file: "tv.json", settings: { "db/menu/volume": ${volume} } })] };`,
    );
  for (const version of VITES) {
    configure(0);
    const vite = script(
      `import { createServer } from "${version}";
      const server = await createServer({ root: ${JSON.stringify(folder)}, server: { host: "127.0.0.1", port: 0, watch: null } });
      await server.listen();
      server.printUrls();
      process.stdin.on("data", (text) => (String(text) === "restart" ? server.restart() : server.close()));`,
      { env: environment() },
    );
    let earlier;
    for (const volume of [0, 1, 2]) {
      if (volume) {
        configure(volume);
        vite.child.stdin.write("restart");
      }
      const told = () => [...vite.out.matchAll(/TV: +(http\S+)\//g)];
      await until(() => told().length === volume + 1, `${version}: TV ${volume} is told: ${vite.out}${vite.err}`);
      const [, tv] = told().at(-1);
      const state = await (await fetch(`${tv}/tv/state`)).json();
      assert.deepEqual([state.channel.name, state.settings["db/menu/volume"]], ["Only One", volume], version);
      if (earlier) await until(async () => !(await isUp(earlier)), `${version}: the TV before number ${volume} is gone`);
      assert.equal(tvs().length, 1, version);
      earlier = tv;
    }
    vite.child.stdin.end("close");
    await until(() => !tvs().length, `${version}: the TV is gone with the server`);
    vite.child.kill();
    await vite.ended;
  }
});

test("with a TV that is given there is no other", async () => {
  for (const [url, has] of [["http://127.0.0.1:9", true], ["", false]]) {
    const vite = serve("vite", { ZELUMO_TV_URL: url });
    await until(() => /Local: .*\n/.test(vite.out), "the banner");
    const html = await (await fetch(/Local: +(http\S+)\//.exec(vite.out)[1])).text();
    assert.equal(html.includes(`src="http://127.0.0.1:9/zelumo-embed.js"`), has);
    assert.deepEqual(tvs(), []);
    vite.child.kill();
    await vite.ended;
  }
});

test("a TV that can't start is told, and the dev server with it", async () => {
  const vite = serve("vite", { ZELUMO_TV: "/no/such" });
  assert.notEqual((await vite.ended).code, 0);
  assert.match(vite.err, /there is no program at \/no\/such/);
});

test("of a build nothing is left", async () => {
  for (const version of VITES) {
    const out = `dist-${version}-${mark}`;
    const vite = start(process.execPath, [cli(version), "build", "react-page", "--outDir", out], { env: environment() });
    assert.equal((await vite.ended).code, 0, vite.err);
    const texts = readdirSync(join(HERE, "react-page", out), { recursive: true, withFileTypes: true })
      .filter((entry) => entry.isFile())
      .map((entry) => readFileSync(join(entry.parentPath, entry.name), "utf8"));
    assert.ok(texts.length >= 2);
    for (const text of texts) assert.ok(!/<script[^>]*zelumo-embed|127\.0\.0\.1|tv\/state/.test(text));
    assert.deepEqual(tvs(), []);
  }
});
