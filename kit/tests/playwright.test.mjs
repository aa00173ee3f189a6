// SPDX-License-Identifier: Apache-2.0
// The fixture, run by Playwright itself: 40 cases over 8 workers, and tests that fail.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, readdirSync } from "node:fs";
import { cpus, loadavg } from "node:os";
import { join } from "node:path";
import { before, test } from "node:test";
import { commandOf, freePort, isUp, makeFolder, processesWith, start, until } from "./support.mjs";

const MOST_SECONDS = 60;
const MOST_FRESH_MS = 150;
const folder = makeFolder();
const port = await freePort();

let runs = 0;
/** Runs Playwright; gives its report, each test's results by its title, and what of it still runs. */
async function playwright(args, onStart = () => {}) {
  const mark = `playwright-${process.pid}-${++runs}`;
  const report = join(folder, `${mark}.json`);
  const temporary = mkdtempSync(join(folder, "tmp-"));
  const begin = Date.now();
  const env = { ...process.env, KIT_MARK: mark, KIT_REPORT: report, KIT_DEV_PORT: String(port), TMPDIR: temporary };
  const run = start(process.execPath, ["node_modules/@playwright/test/cli.js", "test", "--output", join(folder, mark), ...args], { env });
  await onStart(run, () => processesWith("KIT_MARK", mark));
  const { code, signal } = await run.ended;
  const ms = Date.now() - begin;
  const tests = new Map();
  const walk = (suite, titles = []) => {
    for (const { title, tests: [{ annotations, results }] } of suite.specs ?? []) tests.set([...titles, title].join(": "), { ...results.at(-1), annotations });
    for (const inner of suite.suites ?? []) walk(inner, [...titles, inner.title]);
  };
  if (signal === null) JSON.parse(readFileSync(report, "utf8")).suites.forEach((suite) => walk(suite, [suite.title]));
  await until(() => !processesWith("KIT_MARK", mark).length, `no process is left of ${args}`);
  assert.ok(!(await isUp(`http://localhost:${port}`)), "the dev server is gone");
  assert.deepEqual(readdirSync(temporary).filter((name) => name.startsWith("zelumo")), []);
  return { code, tests, ms, said: run.out + run.err };
}

before(async () => {
  const build = start(process.execPath, ["node_modules/vite/bin/vite.js", "build", "react-page"]);
  assert.equal((await build.ended).code, 0, build.err);
});

test("40 cases over 8 workers pass in time, and leave nothing", async (t) => {
  const [load] = loadavg();
  const { code, tests, ms, said } = await playwright([]);
  const bad = [...tests].filter(([, { status }]) => status !== "passed").map(([title]) => title);
  assert.deepEqual([code, bad], [0, []], said.slice(-6000));
  assert.ok(tests.size >= 40, `${tests.size} tests`);
  // Where the machine has much else to do, it may take so much longer.
  const most = load < cpus().length ? MOST_SECONDS : 2 * MOST_SECONDS;
  const seconds = ms / 1000;
  t.diagnostic(`${tests.size} cases took ${seconds.toFixed(1)} s, with a load of ${load.toFixed(1)} before`);
  assert.ok(seconds < most, `${seconds} s, ${most} s at most`);
});

test("a test that fails says what did happen, and attaches it; a TV that can't be had says why", async () => {
  const { code, tests } = await playwright(["--config", "failing.config.mjs"]);
  assert.equal(code, 1);
  assert.equal(tests.size, 15);
  for (const [name, { status, error, annotations, attachments }] of tests) {
    assert.equal(status, "failed", name);
    const [{ description }] = annotations;
    assert.match(error.message.replaceAll(/\x1b\[\d+m/g, ""), new RegExp(description), name);
    if (/no TV/.test(name)) continue;
    const attached = (wanted) => attachments.find((one) => one.name === wanted);
    const journal = Buffer.from(attached("zelumo-journal").body, "base64").toString().trim().split("\n").map((line) => JSON.parse(line));
    assert.ok(journal.some((line) => line.await?.command === "RegisterEvent"), name);
    const state = JSON.parse(Buffer.from(attached("zelumo-state").body, "base64"));
    assert.notEqual(state.page, null, "the page had the TV then");
    assert.equal(state.playingTime, 5000, name);
    const { path } = attached("zelumo-recording");
    assert.match(path, /\.jsonl$/);
    const replay = start("node_modules/.bin/zelumo-tv", ["script", "--check", path]);
    assert.deepEqual([await replay.ended, replay.out], [{ code: 0, signal: null }, ""], name);
    assert.match(readFileSync(path, "utf8"), /"advance","ms":5000/, name);
  }
});

test("a TV of its own takes a test little time", async (t) => {
  const { code, tests, said } = await playwright(["--config", "figures.config.mjs"]);
  assert.equal(code, 0, said.slice(-3000));
  // Of each kind the test in the middle.
  const usual = (kind) => {
    const all = [...tests].filter(([title]) => title.includes(`: ${kind} `)).map(([, { duration }]) => duration).sort((a, b) => a - b);
    return all[Math.floor(all.length / 2)];
  };
  const [plain, tv] = [usual("plain"), usual("tv")];
  t.diagnostic(`a new page takes ${plain} ms, with a fresh TV ${tv} ms`);
  assert.ok(tv - plain < MOST_FRESH_MS, `${tv - plain} ms`);
});

test("a run that is killed leaves nothing", async () => {
  await playwright(["specs/dev.spec.mjs", "--workers", "2"], async (run, processes) => {
    await until(async () => (await isUp(`http://localhost:${port}`)) && processes().length > 5, "tests that run");
    for (const pid of processes().filter((one) => commandOf(one).includes("@playwright/test/cli.js"))) process.kill(pid, "SIGKILL");
  });
});
