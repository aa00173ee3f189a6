// SPDX-License-Identifier: Apache-2.0
// Measures a blocking message through the relay against its two ways over the network, which no relay can do without:
//   ZELUMO_TV=build/run/bin/zelumo-tv node bench/relay.mjs
// The first is a bare synchronous request of the page to the same host, the second a text that a WebSocket carries to the page of
// the TV and back. Both and the message are measured in turns. The TV's plug-in answers at once, so that it doesn't count.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { createHash } from "node:crypto";
import { createServer } from "node:http";
import { launch } from "../tests/web/browser.mjs";

const ROUNDS = 40;
const COUNT = 25; // in a round
const MOST = 1.5;
const MESSAGE = JSON.stringify({ command: "GetVersion", x: "" });

/** A WebSocket server for one page that sends back what it gets: `ask` gives a promise of the text that comes back. */
async function startEcho() {
  const server = createServer();
  const echo = {};
  echo.connected = new Promise((resolve) => {
    server.on("upgrade", (request, socket) => {
      const accept = createHash("sha1").update(`${request.headers["sec-websocket-key"]}258EAFA5-E914-47DA-95CA-C5AB0DC85B11`).digest("base64");
      socket.write(`HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Accept: ${accept}\r\n\r\n`);
      socket.setNoDelay(true);
      let waits = null;
      // One short frame at a time.
      socket.on("data", (data) => {
        const mask = data.subarray(2, 6);
        waits?.(Buffer.from(data.subarray(6, 6 + (data[1] & 0x7f)).map((byte, i) => byte ^ mask[i % 4])).toString());
      });
      socket.on("error", () => {});
      echo.ask = (text) => {
        const bytes = Buffer.from(text);
        socket.write(Buffer.concat([Buffer.from([0x81, bytes.length]), bytes]));
        return new Promise((done) => (waits = done));
      };
      resolve();
    });
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  echo.url = `ws://127.0.0.1:${server.address().port}/`;
  echo.end = () => server.close();
  return echo;
}

function startDesk() {
  const host = spawn(process.env.ZELUMO_TV, ["serve", "--port", "0", "--relay", "127.0.0.1"], { stdio: ["ignore", "pipe", "inherit"] });
  return new Promise((resolve, reject) => {
    let text = "";
    host.once("exit", (code) => reject(new Error(`the host ended with ${code}`)));
    host.stdout.on("data", (data) => {
      text += data;
      const [desk, relay] = text.match(/http:\S+/g) ?? [];
      if (relay && text.endsWith("\n")) resolve({ host, desk, relay });
    });
  });
}

// In the page: milliseconds of one of so many requests, since the browser's clock has steps of 0.1 ms.
function batch({ method, path, body, count }) {
  const begin = performance.now();
  for (let i = 0; i < count; ++i) {
    const xhr = new XMLHttpRequest();
    xhr.open(method, path, false);
    xhr.send(body);
    if (xhr.status !== 200) throw new Error(`${path}: ${xhr.status} ${xhr.responseText}`);
  }
  return (performance.now() - begin) / count;
}

const median = (times) => times.sort((a, b) => a - b)[Math.floor(times.length / 2)];

const { host, desk, relay } = await startDesk();
const echo = await startEcho();
const browser = await launch();
try {
  const tv = await browser.newPage();
  await tv.addInitScript(() => (HTMLEmbedElement.prototype.postMessageAndAwaitResponse = (message) => message));
  await tv.goto(relay);
  await tv.evaluate((url) => {
    const socket = new WebSocket(url);
    socket.onmessage = ({ data }) => socket.send(data);
  }, echo.url);
  await echo.connected;
  const page = await (await browser.newContext()).newPage();
  await page.goto(`${desk}page-api.json`);
  await page.waitForFunction(async () => (await (await fetch("/tv/state")).json()).relay === "ready");
  const number = await page.evaluate(async () => (await (await fetch("/page/open", { method: "POST" })).json()).page);

  const ask = (method, path, body) => page.evaluate(batch, { method, path, body, count: COUNT });
  const ways = {
    message: () => ask("POST", `/page/${number}/await`, MESSAGE),
    first: () => ask("GET", "/tv/state", null),
    async second() {
      const begin = performance.now();
      for (let i = 0; i < COUNT; ++i) assert.equal(await echo.ask(MESSAGE), MESSAGE);
      return (performance.now() - begin) / COUNT;
    },
  };
  const times = { message: [], first: [], second: [] };
  for (let round = 0; round < ROUNDS; ++round) {
    for (const [name, measure] of Object.entries(ways)) times[name].push(await measure());
  }
  const [message, first, second] = [times.message, times.first, times.second].map(median);
  const ratio = message / (first + second);
  const us = (ms) => `${Math.round(ms * 1000)} µs`;
  console.log(`a blocking message ${us(message)}; a request to the desk ${us(first)}, to the TV and back ${us(second)}; ratio ${ratio.toFixed(2)}`);
  process.exitCode = ratio <= MOST ? 0 : 1;
} finally {
  await browser.close();
  echo.end();
  host.removeAllListeners("exit");
  host.kill("SIGINT");
}
