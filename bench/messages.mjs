// SPDX-License-Identifier: Apache-2.0
// Measures a blocking message of a page against a bare synchronous request of the same tab to an echo:
//   node bench/messages.mjs TV ECHO    (addresses, without a slash at their ends)
// Prints the two medians, in nanoseconds. The page of the TV holds one of the echo in a frame, so that both ask their own
// origin from one thread of one process, and they take turns, so that whatever else the machine does meets both.
import { launch } from "../tests/web/browser.mjs";

const ROUNDS = 150;
const [tv, echo] = process.argv.slice(2);

// The milliseconds that one takes of a batch, since the browser's clock has steps of 0.1 ms.
function batch(ask) {
  const count = 10;
  const begin = performance.now();
  for (let i = 0; i < count; ++i) ask({ command: "GetVersion", x: "" });
  return (performance.now() - begin) / count;
}

function viaPlugin(message) {
  const reply = document.querySelector("embed").postMessageAndAwaitResponse(message);
  if (reply.code !== 0) throw new Error(JSON.stringify(reply));
}

function viaEcho(message) {
  const body = JSON.stringify(message);
  const xhr = new XMLHttpRequest();
  xhr.open("POST", `${location.origin}/`, false);
  xhr.send(body);
  if (xhr.responseText !== body) throw new Error(`${xhr.status} ${xhr.responseText}`);
}

const browser = await launch();
try {
  const page = await browser.newPage();
  await page.goto(`${tv}/page-api.json`);
  await page.setContent(`<script src="/zelumo-embed.js"></script><embed type="application/x-zelumo"><iframe src="${echo}/"></iframe>`);
  const way = (frame, ask) => ({ frame, source: `(${batch})(${ask})`, times: [] });
  const ways = [way(page.mainFrame(), viaPlugin), way(page.frames()[1], viaEcho)];
  for (let round = 0; round < ROUNDS; ++round) {
    for (const { frame, source, times } of round % 2 ? ways : [...ways].reverse()) times.push(await frame.evaluate(source));
  }
  const median = ({ times }) => Math.round(times.sort((a, b) => a - b)[Math.floor(ROUNDS / 2)] * 1e6);
  console.log(ways.map(median).join(" "));
} finally {
  await browser.close();
}
