// SPDX-License-Identifier: Apache-2.0
// Starts the program and ends it.
import { spawn } from "node:child_process";
import { randomBytes } from "node:crypto";
import { closeSync, fstatSync, openSync, readSync, readlinkSync, unlinkSync, writeSync } from "node:fs";
import { tmpdir } from "node:os";
import { isAbsolute, join, resolve } from "node:path";
import { TvError } from "./errors.js";
import { checkOptions } from "./near.js";
import { dateOf } from "./time.js";
import { getNow, request } from "./web.js";
import { program } from "./where.js";

const ENDING_MS = 5000;
const NOTICED_MS = 1000; // how soon it is known that a process has ended
const KEPT_CHARACTERS = 8192;
export const OPTIONS = [
  "app", "file", "date", "speed", "clock", "settings", "allowOrigins", "record", "media", "port", "log", "scenario",
];

const PATHS = ["app", "file", "settings", "record", "scenario"];

/** The options with their paths taken from the folder `root`. */
export function pathsFrom(root, options) {
  const paths = PATHS.filter((name) => typeof options[name] === "string" && !isAbsolute(options[name]));
  return { ...options, ...Object.fromEntries(paths.map((name) => [name, resolve(root, options[name])])) };
}

/** A file without a name, which is gone with the last process that has it open, however that ends. */
export function namelessFile(text = "") {
  const path = join(tmpdir(), `zelumo-tv-${process.pid}-${randomBytes(8).toString("hex")}`);
  const descriptor = openSync(path, "wx+", 0o600);
  unlinkSync(path);
  if (text) writeSync(descriptor, text);
  return descriptor;
}

/** What a file without a name holds. */
export function readNameless(descriptor) {
  const data = Buffer.alloc(fstatSync(descriptor).size);
  let length = 0;
  while (length < data.length) {
    const count = readSync(descriptor, data, length, data.length - length, length);
    if (count === 0) break;
    length += count;
  }
  return data.subarray(0, length).toString();
}

function speedOf({ clock, speed }) {
  if (clock !== undefined && clock !== "manual" && clock !== "real") throw new TypeError('startTv: "clock" is "manual" or "real"');
  if (clock === "manual" && speed) throw new TypeError('startTv: with the clock "manual" the speed is 0');
  return speed ?? (clock === "real" ? 1 : 0);
}

/** The arguments of `serve`, and the descriptors that it inherits beside the standard ones. */
function argumentsOf(options) {
  const { app, file, date, settings, allowOrigins = [], record, media, port = 0, scenario } = options;
  const args = ["serve", "--end-with-input", "--port", String(port), "--speed", String(speedOf(options))];
  const inherited = [];
  const inherit = (descriptor) => `/dev/fd/${2 + inherited.push(descriptor)}`;
  if (app !== undefined) args.push("--app", app);
  if (file !== undefined) args.push("--tv", typeof file === "string" ? file : inherit(namelessFile(JSON.stringify(file))));
  if (date !== undefined) args.push("--date", date === "file" ? date : new Date(dateOf(date)).toISOString());
  if (typeof settings === "string") args.push("--settings", settings);
  for (const origin of [allowOrigins].flat()) args.push("--allow-origin", origin);
  if (record !== undefined) args.push("--record", typeof record === "number" ? inherit(record) : record, "--overwrite");
  if (media !== undefined) args.push("--media", media);
  if (scenario !== undefined) args.push("--scenario", scenario);
  return { args, inherited };
}

// Whether the process still runs: while this thread stands still, nobody is told that it ended.
function hasProgram(pid) {
  try {
    return Boolean(readlinkSync(`/proc/${pid}/exe`));
  } catch {
    return false;
  }
}

/**
 * Starts a host. It reads this process's pipe, whose end is its end, so it goes with this process however that dies. Rejects
 * with what the host said. Keeps this process alive no longer than until it serves.
 */
export async function startHost(options) {
  checkOptions("startTv", options, OPTIONS);
  for (const [name, value] of Object.entries(options)) if (value === null) throw new TypeError(`startTv: "${name}" is null; leave it out`);
  const { settings } = options;
  if (settings !== undefined && typeof settings !== "string" && (typeof settings !== "object" || Array.isArray(settings))) {
    throw new TypeError('startTv: "settings" is an object with the settings by key, or the name of a file');
  }
  const { args, inherited } = argumentsOf(options);
  const { log } = options;
  const child = spawn(program(), args, { stdio: ["pipe", "pipe", "pipe", ...inherited] });
  for (const descriptor of inherited) if (descriptor !== options.record) closeSync(descriptor);
  const host = { said: "", url: undefined, ending: undefined, status: undefined };
  host.ended = new Promise((resolve) => {
    child.once("error", (error) => {
      host.said ||= error.code === "ENOENT" ? `zelumo-tv: there is no program at ${program()}` : error.message;
      resolve((host.status = { code: null, signal: null }));
    });
    // Once all that it said is read.
    child.once("close", (code, signal) => resolve((host.status = { code, signal })));
  });
  child.stdin.on("error", () => {});
  child.stderr.setEncoding("utf8");
  let unfinished = "";
  child.stderr.on("data", (text) => {
    host.said = (host.said + text).slice(-KEPT_CHARACTERS);
    const lines = (unfinished + text).split("\n");
    unfinished = lines.pop();
    if (typeof log === "function") for (const line of lines) log(line);
    else if (log) process.stderr.write(text);
  });
  let first = "";
  const address = new Promise((resolve) => {
    child.stdout.setEncoding("utf8");
    child.stdout.on("data", (text) => {
      if (host.url !== undefined) return;
      first += text;
      const found = /http:\/\/\S+?(?=\/?\s*\n)/.exec(first);
      if (found) resolve(found[0]);
    });
  });
  host.end = async () => {
    host.ending ??= (async () => {
      child.ref();
      child.stdin.end();
      const late = setTimeout(() => child.kill("SIGKILL"), ENDING_MS);
      await host.ended;
      clearTimeout(late);
    })();
    return host.ending;
  };
  host.checkRuns = () => {
    if (!host.status || host.ending) return;
    const { code, signal } = host.status;
    throw new TvError(`the TV host has ended: ${[host.said.trim(), signal ?? `status ${code}`].filter(Boolean).join("; ")}`);
  };
  // Throws what a request's failure comes from. The connection may break before it is known that the process has ended.
  host.explain = async (error) => {
    if (host.ending) throw new TvError("the TV is closed");
    if (error.code) {
      let timer;
      await Promise.race([host.ended, new Promise((resolve) => (timer = setTimeout(resolve, NOTICED_MS)))]);
      clearTimeout(timer);
    }
    host.checkRuns();
    throw error;
  };
  host.request = (method, path, body) => request(host.url, method, path, body).catch(host.explain);
  host.getNow = (path) => {
    try {
      return getNow(host.url + path);
    } catch (error) {
      host.checkRuns();
      throw hasProgram(child.pid) ? error : new TvError("the TV host has ended");
    }
  };
  host.url = await Promise.race([address, host.ended.then(() => undefined)]);
  if (host.url === undefined) {
    const { code, signal } = host.status;
    throw new Error(host.said.trim() || `zelumo-tv ended before it served: ${signal ?? `status ${code}`}`);
  }
  for (const handle of [child, child.stdin, child.stdout, child.stderr]) handle.unref();
  host.pid = child.pid;
  return host;
}
