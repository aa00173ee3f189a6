// SPDX-License-Identifier: Apache-2.0
// The rules of a player, whoever plays: what it does with each command in each state, and which reports follow in which order.

/** The streams of the rules, which a simulation and a real server both have. */
export const STREAMS = {
  film: { duration: 20_000, bufferMs: 600 },
  other: { duration: 20_000, bufferMs: 600 },
  live: { duration: 10_000, live: true, windowMs: 10_000, bufferMs: 600 },
  missing: { fault: "missing" },
};

const init = (stream, timeOffset = 0) => ({ command: "Init", stream, timeOffset });
const play = { command: "Play" };
const pause = { command: "Pause" };
const resume = { command: "Resume" };
const stop = { command: "Stop" };
const seek = { command: "Seek", sec: 5 };
const seekToEnd = { command: "Seek", sec: 20 };
const seekPast = { command: "Seek", sec: 1000 };
const seekBefore = { command: "Seek", sec: -1 };
const toEdge = { command: "ResumeLive", reason: "rules" };

const BUFFERED = "131 131(100)";
const BEGUN = `${BUFFERED} 144`;

/** How a player comes into a state: commands that are sent at once, until these reports have come. */
export const STATES = {
  created: [[[init("film")], "32"]],
  playing: [[[init("film"), play], `32 ${BEGUN}`]],
  paused: [[[init("film"), play], `32 ${BEGUN}`], [[pause], "33"]],
  stopped: [[[init("film"), play], `32 ${BEGUN}`], [[stop], "36"]],
  ended: [[[init("film", 19), play], `32 ${BEGUN} 97`]],
  failed: [[[init("missing")], "134"]],
  "playing live": [[[init("live"), play], `32 ${BEGUN}`]],
  "paused live": [[[init("live"), play], `32 ${BEGUN}`], [[pause], "33"]],
};

// What was loaded ahead may be through with one command before the next one has arrived.
const sooner = (also) => ({ also, why: "the browser may be through with the first before the next one has arrived" });

const YES = true;
const NO = false;

/**
 * Rows: the state; commands that are sent at once, each with whether it is accepted; the reports that follow, of buffering only
 * the begin and the end, of the position none; the state then. What isn't accepted changes nothing, so it stands together; how
 * a playing one is paused and stopped, STATES says. Where a browser can't do as a simulation does, what it does instead, or may
 * do also, and why.
 */
// prettier-ignore
export const RULES = [
  ["created", [[pause, NO], [resume, NO], [stop, NO], [seek, NO], [toEdge, NO]], "", "created"],

  // The first buffering, in which nothing is told before the begin.
  ["created", [[play, YES], [play, NO], [resume, NO], [toEdge, NO]], BEGUN, "playing"],
  ["created", [[play, YES], [pause, YES], [pause, NO]],  `${BEGUN} 33`, "paused"],
  ["created", [[play, YES], [pause, YES], [resume, YES]], `${BEGUN} 33 34`, "playing"],
  ["created", [[play, YES], [stop, YES]],                "131 36", "stopped", sooner(`${BEGUN} 36`)],
  ["created", [[play, YES], [pause, YES], [stop, YES]],  "131 36", "stopped", sooner(`${BEGUN} 33 36`)],
  ["created", [[play, YES], [seek, YES]],                `131 ${BEGUN} 35`, "playing", sooner(`${BEGUN} ${BUFFERED} 35`)],
  ["created", [[play, YES], [pause, YES], [seek, YES]],  `131 ${BEGUN} 33 35`, "paused", sooner(`${BEGUN} 33 ${BUFFERED} 35`)],
  ["created", [[play, YES], [seekPast, YES]],            "131 37 131(100) 144", "playing", sooner(`${BEGUN} 37`)],

  ["playing", [[play, NO], [resume, NO], [toEdge, NO]], "", "playing"],
  ["playing", [[seek, YES]],       `${BUFFERED} 35`, "playing"],
  ["playing", [[seekPast, YES]],   "37", "playing"],
  ["playing", [[seekBefore, YES]], "37", "playing"],

  // A later buffering, in which everything is told at once, and holds when it is done.
  ["playing", [[seek, YES], [play, NO], [resume, NO], [toEdge, NO]], "131 131(100) 35", "playing"],
  ["playing", [[seek, YES], [pause, YES]],              "131 33 131(100) 35", "paused", sooner(`${BUFFERED} 35 33`)],
  ["playing", [[seek, YES], [stop, YES]],               "131 36", "stopped", sooner(`${BUFFERED} 35 36`)],
  ["playing", [[seek, YES], [seek, YES]],               "131 131 131(100) 35", "playing", sooner(`${BUFFERED} 35 ${BUFFERED} 35`)],
  ["playing", [[seek, YES], [seekPast, YES]],           "131 37 131(100) 35", "playing", sooner(`${BUFFERED} 35 37`)],
  ["paused",  [[seek, YES], [resume, YES]],             "131 34 131(100) 35", "playing", sooner(`${BUFFERED} 35 34`)],
  ["paused",  [[seek, YES], [pause, NO]],               "131 131(100) 35", "paused"],

  ["paused", [[play, NO], [pause, NO], [toEdge, NO]], "", "paused"],
  ["paused", [[resume, YES]],      "34", "playing"],
  ["paused", [[stop, YES]],        "36", "stopped"],
  ["paused", [[seek, YES]],        `${BUFFERED} 35`, "paused"],
  ["paused", [[seekToEnd, YES]],   `${BUFFERED} 35`, "paused"],
  ["paused", [[seekPast, YES]],    "37", "paused"],

  ["stopped", [[play, YES]],       BEGUN, "playing"],
  ["stopped", [[pause, NO], [resume, NO], [stop, NO], [seek, NO], [toEdge, NO]], "", "stopped"],

  ["ended", [[play, YES]],         BEGUN, "playing"],
  ["ended", [[pause, NO], [resume, NO], [toEdge, NO]], "", "ended"],
  ["ended", [[stop, YES]],         "36", "stopped"],
  ["ended", [[seek, YES]],         `${BUFFERED} 35`, "playing"],
  ["ended", [[seekPast, YES]],     "37", "ended"],

  ["failed", [[play, NO], [pause, NO], [resume, NO], [stop, NO], [seek, NO], [toEdge, NO]], "", "failed"],

  ["playing live", [[toEdge, YES]],     `${BUFFERED} 35`, "playing"],
  ["playing live", [[seekBefore, YES]], "37", "playing"],
  ["playing live", [[seekPast, YES]],   "37", "playing"],
  ["playing live", [[stop, YES], [toEdge, NO]], "36", "stopped"],
  ["paused live",  [[toEdge, YES]],     `34 ${BUFFERED} 35`, "playing"],
  ["paused live",  [[resume, YES]],     "34", "playing"],

  // From the end that a seek led to while paused, playing on is over at once.
  ["paused", [[seekToEnd, YES], [resume, YES]], "131 34 131(100) 35 97", "ended", sooner(`${BUFFERED} 35 34 97`)],

  // One player has the decoder.
  ["playing", [[init("other"), YES]],               "32", "created"],
  ["playing", [[init("other"), YES], [play, YES]],  "32 36 131 131(100) 144", "playing",
    { reports: "36 32 131 131(100) 144", also: "32 36 131 131(100) 144", why: "what is stopped is told at once, and whether a stream is there when it is known" }],
  ["paused",  [[init("other"), YES], [play, YES]],  "32 36 131 131(100) 144", "playing",
    { reports: "36 32 131 131(100) 144", also: "32 36 131 131(100) 144", why: "as above" }],

  // What isn't known yet.
  ["created", [[init("missing"), YES], [play, NO]], "134", "failed",
    { accepted: [YES, YES], why: "whether a stream is there is known only later" }],
  ["created", [[init("live"), YES], [play, YES], [toEdge, YES]], `32 131 ${BEGUN} 35`, "playing",
    { accepted: [YES, YES, NO], reports: `32 ${BEGUN}`, why: "whether a stream is live is known only later" }],
];
