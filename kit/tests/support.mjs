// SPDX-License-Identifier: Apache-2.0
// What the tests share: processes that are waited for.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync, readdirSync, readlinkSync } from "node:fs";
import { after } from "node:test";
import { fileURLToPath } from "node:url";

export const HERE = fileURLToPath(new URL(".", import.meta.url));
const WAIT_MS = 20_000;

/** Waits until `ask` gives something true, and gives that. */
export async function until(ask, what) {
  const end = Date.now() + WAIT_MS;
  for (;;) {
    const value = await ask();
    if (value) return value;
    assert.ok(Date.now() < end, `waited in vain: ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
}

const running = new Set();
after(() => {
  for (const child of running) child.kill("SIGKILL");
});

/** A program with its streams: what it says, and how it ends. */
export function start(command, args, options = {}) {
  const child = spawn(command, args, { cwd: HERE, stdio: ["pipe", "pipe", "pipe"], ...options });
  running.add(child);
  child.once("close", () => running.delete(child));
  const run = { child, out: "", err: "" };
  child.stdout.on("data", (data) => (run.out += data));
  child.stderr.on("data", (data) => (run.err += data));
  run.ended = new Promise((resolve, reject) => {
    child.once("error", reject);
    child.once("close", (code, signal) => resolve({ code, signal }));
  });
  return run;
}

/** A module's text, run by node in this folder. */
export const script = (text, options) => start(process.execPath, ["--input-type=module", "-e", text], options);

/** Whether the process runs. One that has ended, but was not waited for yet, has no program any more. */
export function runs(pid) {
  try {
    return Boolean(readlinkSync(`/proc/${pid}/exe`));
  } catch {
    return false;
  }
}

// Of a process that has ended meanwhile: nothing.
function ofProcess(read) {
  try {
    return read();
  } catch (error) {
    if (error.code === "ENOENT" || error.code === "ESRCH") return "";
    throw error;
  }
}

/** The command line of a process, or "" where it has ended. */
export const commandOf = (pid) => ofProcess(() => readFileSync(`/proc/${pid}/cmdline`, "utf8").replaceAll("\0", " "));

/** The program of a process, or "" where it has ended. */
export const programOf = (pid) => ofProcess(() => readlinkSync(`/proc/${pid}/exe`));

/** Processes that run with this in their environment, so that what a test started can be told from anything else. */
export const processesWith = (name, value) =>
  readdirSync("/proc").filter((pid) => {
    if (!/^\d+$/.test(pid) || !runs(pid)) return false;
    try {
      return readFileSync(`/proc/${pid}/environ`, "latin1").split("\0").includes(`${name}=${value}`);
    } catch {
      return false;
    }
  });

export const isUp = (url) => fetch(url).then(() => true, () => false);
