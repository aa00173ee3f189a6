// SPDX-License-Identifier: Apache-2.0
// A dev server for tests: one for all workers of a run, however many there are.
import { spawn } from "node:child_process";
import { createHash } from "node:crypto";
import { connect } from "node:net";
import { fileURLToPath } from "node:url";
import { checkOptions } from "./near.js";

const KEEPER = fileURLToPath(new URL("./dev-server-keeper.js", import.meta.url));
const AGAIN_MS = 20;

const connected = new Map();

/** The origin of its pages. */
export function devServerOrigin(options) {
  checkOptions("devServer", options, ["command", "url", "timeout"]);
  const { url } = options;
  if (!url) throw new TypeError("devServer: a url is required");
  if (!URL.canParse(url) || !/^https?:/.test(url)) throw new TypeError(`devServer: ${JSON.stringify(url)} is no address: write http://localhost:5173`);
  return new URL(url).origin;
}

/**
 * Resolves when the server of `{ command, url }` answers: one that runs already, or one that is started, in the folder `root`.
 * The connection that is held until this process ends says that it is needed.
 */
export async function devServer(options, root) {
  devServerOrigin(options);
  const { command, url, timeout = 60_000 } = options;
  const task = JSON.stringify({ command, url, root, timeout, runner: process.ppid });
  // In the abstract name space, so that there is no file to be left over.
  const name = `\0zelumo-tv-${createHash("sha256").update(task).digest("hex").slice(0, 32)}`;
  if (!connected.has(name)) connected.set(name, join(name, task, Date.now() + timeout));
  const said = await connected.get(name);
  if (said !== "ready") {
    connected.delete(name);
    throw new Error(`devServer: ${said}`);
  }
}

async function join(name, task, end) {
  let started = false;
  for (;;) {
    const said = await ask(name);
    if (said !== undefined) return said;
    if (Date.now() > end) return "the process that keeps it doesn't answer";
    if (!started) {
      spawn(process.execPath, [KEEPER, name.slice(1), task], { detached: true, stdio: "ignore" }).unref();
      started = true;
    }
    await new Promise((resolve) => setTimeout(resolve, AGAIN_MS));
  }
}

// What the keeper says; undefined where there is none.
const ask = (name) =>
  new Promise((resolve) => {
    const socket = connect(name);
    let said = "";
    socket.setEncoding("utf8");
    socket.on("data", (text) => {
      said += text;
      if (!said.endsWith("\n")) return;
      socket.unref();
      resolve(said.trimEnd());
    });
    socket.on("error", () => {});
    socket.on("close", () => resolve(undefined));
  });
