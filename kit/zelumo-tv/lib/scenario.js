// SPDX-License-Identifier: Apache-2.0
// Scenarios: what happens at the TV, and when. Each line is a verb with the playing time `at` which it is carried out.
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { playingTime } from "./time.js";
import { program } from "./where.js";

/** The lines of a scenario as `at` verbs, each with the place where it stands. Rejects where the TV would refuse one. */
export async function readScenario(file) {
  const lines = [];
  for (const [i, text] of readFileSync(file, "utf8").split("\n").entries()) {
    if (!text.trim() || text.startsWith("#")) continue;
    const place = `${file}: line ${i + 1}`;
    try {
      lines.push({ place, verb: readLine(JSON.parse(text)) });
    } catch (error) {
      throw new TypeError(`${place}: ${error.message}; nothing is scheduled`);
    }
  }
  await tryOut(lines);
  return lines;
}

function readLine(line) {
  if (line === null || typeof line !== "object" || !("tv" in line)) throw new TypeError('expected {"at": …, "tv": VERB, …}');
  const { at, ...verb } = line;
  return { tv: "at", ms: playingTime(at), do: verb };
}

// What has been scheduled can't be taken back, so another TV is asked first, whose time stands still.
async function tryOut(lines) {
  const child = spawn(program(), ["script"], { stdio: ["pipe", "pipe", "pipe"] });
  let out = "";
  let said = "";
  child.stdout.setEncoding("utf8").on("data", (text) => (out += text));
  child.stderr.setEncoding("utf8").on("data", (text) => (said += text));
  child.stdin.on("error", () => {});
  child.stdin.end(lines.map(({ verb }) => `${JSON.stringify(verb)}\n`).join(""));
  const status = await new Promise((resolve, reject) => {
    child.once("error", reject);
    child.once("close", resolve);
  });
  if (status === 0) return;
  const [, number, mistake] = /^\{"error":"line (\d+): (.*)"\}$/m.exec(out) ?? [];
  if (number === undefined) throw new Error(`the scenario couldn't be checked: ${said.trim() || `status ${status}`}`);
  throw new TypeError(`${lines[number - 1].place}: ${JSON.parse(`"${mistake}"`)}; nothing is scheduled`);
}
