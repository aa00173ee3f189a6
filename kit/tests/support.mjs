// SPDX-License-Identifier: Apache-2.0
// What the tests share: processes that are waited for.
import { spawn } from "node:child_process";
import { readFileSync, readdirSync, readlinkSync } from "node:fs";
import { after } from "node:test";
import { fileURLToPath } from "node:url";

export { freePort, makeFolder, until } from "./shared.mjs"; // prepare.mjs puts it here

export const HERE = fileURLToPath(new URL(".", import.meta.url));

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

// Of a process that has ended meanwhile, or is somebody else's: nothing.
function ofProcess(read) {
  try {
    return read();
  } catch (error) {
    if (["ENOENT", "ESRCH", "EACCES"].includes(error.code)) return "";
    throw error;
  }
}

/** The command line of a process, or "" where it has ended. */
export const commandOf = (pid) => ofProcess(() => readFileSync(`/proc/${pid}/cmdline`, "utf8").replaceAll("\0", " "));

/** The program of a process, or "" where it has ended, though nobody may have waited for it yet. */
export const programOf = (pid) => ofProcess(() => readlinkSync(`/proc/${pid}/exe`));

export const runs = (pid) => programOf(pid) !== "";

const environmentOf = (pid) => ofProcess(() => readFileSync(`/proc/${pid}/environ`, "latin1").split("\0"));

/** Processes that run with this in their environment, so that what a test started can be told from anything else. */
export const processesWith = (name, value) =>
  readdirSync("/proc").filter((pid) => /^\d+$/.test(pid) && runs(pid) && environmentOf(pid).includes(`${name}=${value}`));

export const isUp = (url) => fetch(url).then(() => true, () => false);
