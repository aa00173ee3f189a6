// SPDX-License-Identifier: Apache-2.0
// A process of its own that starts a dev server and ends it when nobody needs it: when the test runner is gone, however that
// went, or no worker has been connected for a while.
import { spawn } from "node:child_process";
import { createServer } from "node:net";

const [name, task] = process.argv.slice(2);
const { command, url, root, timeout, runner } = JSON.parse(task);
const LOOK_MS = 200;
const UNUSED_MS = 10_000;
const ENDING_MS = 2000;
const KEPT_CHARACTERS = 4096;

let said = "";
let outcome;
const waiting = new Set();
let connections = 0;
let unusedSince = Date.now();

function tell(text) {
  outcome = text;
  for (const socket of waiting) socket.write(`${outcome}\n`);
  waiting.clear();
}

const server = createServer((socket) => {
  connections++;
  socket.on("error", () => {});
  socket.on("close", () => {
    waiting.delete(socket);
    if (--connections === 0) unusedSince = Date.now();
  });
  if (outcome) socket.write(`${outcome}\n`);
  else waiting.add(socket);
});
// Another worker was first: its keeper serves all.
server.on("error", () => process.exit(0));
server.listen(`\0${name}`, run);

const answers = () =>
  fetch(url, { redirect: "manual", signal: AbortSignal.timeout(2000) }).then(() => true, () => false);
const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

let child;

async function run() {
  watch();
  if (await answers()) return tell("ready");
  if (!command) return tell(`nothing answers at ${url}, and there is no command that would start it`);
  // The TV of a test is injected by the test, so the plug-in for Vite has nothing to do.
  child = spawn(command, { cwd: root, shell: true, detached: true, stdio: ["ignore", "pipe", "pipe"], env: { ...process.env, ZELUMO_TV_URL: "" } });
  for (const stream of [child.stdout, child.stderr]) stream.on("data", (text) => (said = (said + text).slice(-KEPT_CHARACTERS)));
  let ended;
  child.on("error", (error) => {
    ended = "couldn't be started";
    said += error.message;
  });
  child.on("exit", (code, signal) => (ended = `ended with ${signal ?? `status ${code}`}`));
  const end = Date.now() + timeout;
  for (;;) {
    if (await answers()) return tell("ready");
    if (ended) return tell(`${JSON.stringify(command)} ${ended}: ${said.trim().replaceAll("\n", " | ")}`);
    if (Date.now() > end) return tell(`${url} doesn't answer after ${timeout} ms: ${said.trim().replaceAll("\n", " | ")}`);
    await pause(50);
  }
}

async function watch() {
  for (;;) {
    await pause(LOOK_MS);
    const needed = connections > 0 || Date.now() - unusedSince < UNUSED_MS;
    if (!needed || !lives(runner)) return stop();
  }
}

function lives(pid) {
  try {
    process.kill(pid, 0);
    return true;
  } catch (error) {
    return error.code === "EPERM";
  }
}

async function stop() {
  server.close();
  if (child?.pid !== undefined) {
    signal("SIGTERM");
    for (let waited = 0; waited < ENDING_MS && group(); waited += 20) await pause(20);
    signal("SIGKILL");
  }
  process.exit(0);
}

// The command's own process group, which is what it started, too.
function signal(name) {
  try {
    process.kill(-child.pid, name);
  } catch {
    // It has ended by itself.
  }
}

function group() {
  try {
    return process.kill(-child.pid, 0);
  } catch {
    return false;
  }
}
