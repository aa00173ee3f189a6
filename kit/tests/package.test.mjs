// SPDX-License-Identifier: Apache-2.0
// What is installed, and the program as it is started by its name.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { existsSync, lstatSync, readFileSync, readdirSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { HERE, runs, start, until } from "./support.mjs";

const MODULES = join(HERE, "node_modules");
const LAUNCHER = join(MODULES, ".bin/zelumo-tv");
const MOST_BYTES = 12_000_000;
const NEWEST_GLIBC = [2, 35];

const json = (name) => JSON.parse(readFileSync(join(MODULES, name, "package.json"), "utf8"));
const files = (name) =>
  readdirSync(join(MODULES, name), { recursive: true, withFileTypes: true })
    .filter((entry) => !entry.isDirectory())
    .map((entry) => join(entry.parentPath, entry.name));
const platforms = Object.keys(json("zelumo-tv").optionalDependencies);
const installed = platforms.filter((name) => existsSync(join(MODULES, name)));

/** Serves until its input ends; gives the address, too. */
async function serve(args = [], options = {}) {
  const run = start(LAUNCHER, ["serve", "--port", "0", ...args], options);
  await until(() => run.out.includes("http://"), "the address");
  run.url = run.out.match(/http:\S+?(?=\/?\s)/)[0];
  return run;
}

test("the packages run no scripts, hold no links, and name each other", () => {
  assert.ok(platforms.includes("zelumo-tv-linux-x64"));
  for (const name of ["zelumo-tv", ...installed]) {
    const { scripts, dependencies, version, license } = json(name);
    assert.equal(license, "Apache-2.0", name);
    for (const file of ["LICENSE", "NOTICE"]) assert.ok(existsSync(join(MODULES, name, file)), `${name}: ${file}`);
    assert.deepEqual([scripts, dependencies, version], [undefined, undefined, json("zelumo-tv").version], name);
    assert.ok(!lstatSync(join(MODULES, name)).isSymbolicLink(), name);
    for (const file of files(name)) assert.ok(lstatSync(file).isFile(), file);
  }
  const { os, cpu } = json("zelumo-tv-linux-x64");
  assert.deepEqual([os, cpu], [["linux"], ["x64"]]);
});

test("every export is there, with its types", () => {
  for (const [name, targets] of Object.entries(json("zelumo-tv").exports)) {
    for (const file of typeof targets === "string" ? [targets] : Object.values(targets)) {
      if (!file.includes("*")) assert.ok(existsSync(join(MODULES, "zelumo-tv", file)), `${name}: ${file}`);
    }
  }
});

test("an architecture takes less than 12 MB, and what others have made comes with its licence", (t) => {
  for (const name of installed) {
    const bytes = ["zelumo-tv", name].flatMap(files).reduce((sum, file) => sum + lstatSync(file).size, 0);
    t.diagnostic(`${name} with zelumo-tv: ${(bytes / 1e6).toFixed(1)} MB`);
    assert.ok(bytes < MOST_BYTES, `${name}: ${bytes}`);
    const folder = join(MODULES, name);
    const libraries = readdirSync(join(folder, "lib")).filter((file) => !/^(lib)?zelumo/.test(file));
    assert.ok(libraries.length >= 4);
    for (const one of [...libraries, "libcli11-dev", "GPL-3"]) {
      assert.match(readFileSync(join(folder, "share/zelumo/licences", `${one}.txt`), "utf8"), /copyright|public domain/i, one);
    }
    const media = join(folder, "share/zelumo/web/zelumo-media");
    assert.match(readFileSync(join(media, "shaka-player.LICENSE"), "utf8"), /Apache License/);
    assert.ok(lstatSync(join(media, "shaka-player.dash.js")).size > 100_000);
  }
});

test("nothing but glibc 2.35 is asked of the system", (t) => {
  const binaries = files("zelumo-tv-linux-x64").filter((file) => readFileSync(file).subarray(0, 4).toString("latin1") === "\x7fELF");
  assert.ok(binaries.length >= 4);
  const own = new Set(binaries.map((file) => file.slice(file.lastIndexOf("/") + 1)));
  let newest = [0, 0];
  for (const file of binaries) {
    const text = execFileSync("objdump", ["-p", "-T", file], { encoding: "utf8", maxBuffer: 1 << 26 });
    for (const [, major, minor] of text.matchAll(/GLIBC_(\d+)\.(\d+)/g)) {
      const version = [Number(major), Number(minor)];
      if (version[0] > newest[0] || (version[0] === newest[0] && version[1] > newest[1])) newest = version;
    }
    for (const [, needed] of text.matchAll(/NEEDED\s+(\S+)/g)) {
      assert.ok(own.has(needed) || /^(lib(c|m)\.so\.6|ld-linux-x86-64\.so\.2)$/.test(needed), `${file} needs ${needed}`);
    }
  }
  t.diagnostic(`glibc ${newest.join(".")}`);
  assert.ok(newest[0] === NEWEST_GLIBC[0] && newest[1] <= NEWEST_GLIBC[1], newest.join("."));
});

test("the program runs with the libraries beside it, and plays streams in the browser with what is packed", async () => {
  const env = { ...process.env, LD_LIBRARY_PATH: "/usr/lib/x86_64-linux-gnu" };
  const run = await serve(["--media", "browser", "--end-with-input"], { env });
  assert.ok((await fetch(`${run.url}/zelumo-media/shaka-player.dash.js`)).ok);
  const { page } = await (await fetch(`${run.url}/page/open`, { method: "POST" })).json();
  assert.ok(page);
  const loaded = [...new Set(readFileSync(`/proc/${run.child.pid}/maps`, "utf8").match(/\/\S+\.so[.\d]*/g))];
  for (const name of ["libstdc++", "libgcc_s", "libjsoncpp", "libsqlite3", "libzelumo-platform", "libzelumo.so"]) {
    const [path] = loaded.filter((file) => file.includes(`/${name}`));
    assert.ok(path?.startsWith(join(MODULES, "zelumo-tv-linux-x64", "lib")), `${name}: ${path}`);
  }
  run.child.stdin.end();
  assert.deepEqual(await run.ended, { code: 0, signal: null });
  assert.doesNotMatch(run.err, /warning/);
});

test("status, streams and signals are the program's", async () => {
  const version = start(LAUNCHER, ["--version"]);
  assert.deepEqual([await version.ended, version.out], [{ code: 0, signal: null }, `${json("zelumo-tv").version}\n`]);
  const wrong = start(LAUNCHER, ["serv"]);
  assert.equal((await wrong.ended).code, 2);
  assert.match(wrong.err, /did you mean serve\?/);

  const script = start(LAUNCHER, ["script"]);
  script.child.stdin.end('{"await":{"command":"GetVersion"}}\n{"bad"}\n');
  assert.equal((await script.ended).code, 1);
  assert.match(script.out, /^\{"reply":\{"code":0,"data":"1.00"\}\}\n\{"error":"line 2: /);

  for (const [signal, ending] of [
    ["SIGINT", { code: 0, signal: null }],
    ["SIGTERM", { code: 0, signal: null }],
    ["SIGKILL", { code: null, signal: "SIGKILL" }],
  ]) {
    const serving = await serve();
    serving.child.kill(signal);
    assert.deepEqual(await serving.ended, ending, signal);
    assert.ok(!runs(serving.child.pid), "the launcher is the program itself");
  }
});

test("ZELUMO_TV names another program, and a missing one is told", async () => {
  const other = start(LAUNCHER, ["a b", "c"], { env: { ...process.env, ZELUMO_TV: "/bin/echo" } });
  assert.deepEqual([(await other.ended).code, other.out], [0, "a b c\n"]);
  const text = 'import { startTv } from "zelumo-tv"; await startTv().catch((error) => console.log(error.message));';
  for (const [program, said] of [
    ["/no/such/program", "zelumo-tv: there is no program at /no/such/program\n"],
    ["/bin/false", "zelumo-tv ended before it served: status 1\n"],
  ]) {
    const driver = start(process.execPath, ["--input-type=module", "-e", text], { env: { ...process.env, ZELUMO_TV: program } });
    await driver.ended;
    assert.equal(driver.out, said);
  }
});
