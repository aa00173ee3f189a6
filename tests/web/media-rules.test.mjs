// SPDX-License-Identifier: Apache-2.0
// One table of rules for all who play: a simulation, and the browser.
import assert from "node:assert/strict";
import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { after } from "node:test";
import { RULES, STATES, STREAMS } from "./player-rules.mjs";
import { StreamServer, makeStreams } from "./streams.mjs";
import { PAGES, Tv, browserTest, makeFolder, replays, until } from "./support.mjs";

const streams = await StreamServer.start(await makeStreams());
streams.startLive();
after(() => streams.close());

const FILES = { film: "film.mpd", other: "film.mpd?other", live: "live.mpd", missing: "nothing.mpd" };
const addressOf = (stream) => `${streams.url}/${FILES[stream]}`;
const folder = makeFolder();
const tvFile = join(folder, "tv.json");
const described = Object.entries(STREAMS).map(([name, stream]) => ({ pattern: addressOf(name), ...stream }));
writeFileSync(tvFile, JSON.stringify({ streams: described }));

/** The reports that a page has heard, as the rules write them. */
function written(heard) {
  const reports = [];
  for (const { event, type, param1 } of heard) {
    const isStep = type === 131 && !["0", "100"].includes(param1);
    if (event === "ZELUMO_EVENT" && type !== 137 && !isStep) reports.push(type === 131 && param1 === "100" ? "131(100)" : String(type));
  }
  return reports.join(" ");
}

/** Whether these are the reports that are expected. What really plays may stall at any time, on a busy machine say. */
function fits(heard, expected, media) {
  if (media === "simulated") return heard === expected;
  const due = expected.split(" ");
  let hasBegun = false;
  for (const report of heard.split(" ")) {
    if (report === due[0]) hasBegun = due.shift() === "144" || hasBegun;
    else if (!hasBegun || !report.startsWith("131")) return false;
  }
  return due.length === 0;
}

const joined = (...parts) => parts.filter(Boolean).join(" ");

const LANES = 4; // so many TVs side by side: most of the time goes by in waiting
const STEP_MS = 200; // by which a simulation's time is moved on while something is waited for

async function keeps(rules, media, context, lane) {
  const isSimulated = media === "simulated";
  const recording = join(folder, `${media}-${lane}.jsonl`);
  const tv = await Tv.start("--app", PAGES, "--tv", tvFile, "--media", media, "--speed", isSimulated ? "0" : "1", "--record", recording);
  const page = await context.newPage();
  const send = (commands) =>
    page.evaluate(
      (all) => all.map((message) => ask(message).data === true),
      commands.map(({ stream, ...message }) => (stream ? { ...message, url: addressOf(stream) } : message)),
    );
  const hears = (reports, what, also = reports) => {
    const hear = async () => written(await page.evaluate(() => heard));
    const isIt = async () => {
      const now = await hear();
      if ([reports, also].some((one) => fits(now, one, media))) return true;
      if (isSimulated) await tv.do({ tv: "advance", ms: STEP_MS });
      return false;
    };
    return until(isIt, async () => `${what}: ${reports}, not ${await hear()}`);
  };
  for (const [state, commands, reports, then, differs] of rules) {
    const here = media === "browser" ? differs : undefined;
    const what = `${state}: ${JSON.stringify(commands)}`;
    await page.goto(tv.url);
    await page.evaluate(() => ask({ command: "RegisterEvent", event: 90001 }));
    let expected = "";
    for (const [first, come] of STATES[state]) {
      await send(first);
      expected = joined(expected, come);
      await hears(expected, what);
    }
    const accepted = await send(commands.map(([command]) => command));
    assert.deepEqual(accepted, here?.accepted ?? commands.map(([, is]) => is), what);
    const also = here?.also && joined(expected, here.also);
    expected = joined(expected, here?.reports ?? reports);
    await hears(expected, what, also);
    await until(async () => (await tv.state()).players.at(-1).state === then, `${what}: ${then}`);
    // Reports come in order: behind this one none is left that nobody expects.
    await send([{ command: "Init", stream: "missing", timeOffset: 0 }]);
    await hears(joined(expected, "134"), what, also && joined(also, "134"));
  }
  await tv.end();
  replays(recording, "--tv", tvFile, "--media", media);
}

for (const media of ["simulated", "browser"]) {
  browserTest(
    `a player that is ${media} keeps the rules`,
    async (context) => {
      const lanes = Array.from({ length: LANES }, (_, lane) => RULES.filter((_, i) => i % LANES === lane));
      await Promise.all(lanes.map((rules, lane) => keeps(rules, media, context, lane)));
    },
    { timeout: 240_000 },
  );
}
