// Scenarios: what happens at the TV, and when. Each line is a verb with the playing time `at` which it is carried out.
import { readFileSync } from "node:fs";
import { playingTime } from "./time.js";

/** The lines of a scenario as `at` verbs, each with the place where it stands. */
export function readScenario(file) {
  const put = [];
  for (const [i, text] of readFileSync(file, "utf8").split("\n").entries()) {
    if (!text.trim() || text.startsWith("#")) continue;
    const place = `${file}: line ${i + 1}`;
    try {
      const { at, ...verb } = JSON.parse(text);
      if (!("tv" in verb)) throw new TypeError('expected {"at": …, "tv": VERB, …}');
      put.push({ place, verb: { tv: "at", ms: playingTime(at), do: verb } });
    } catch (error) {
      throw new TypeError(`${place}: ${error.message}`);
    }
  }
  return put;
}
