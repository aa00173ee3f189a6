// SPDX-License-Identifier: Apache-2.0
// What tests need that have no browser of their own, too; the kit's have a copy beside them.
import assert from "node:assert/strict";
import { mkdtempSync, rmSync } from "node:fs";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after } from "node:test";

const WAIT_MS = 20_000;

/** Waits until `ask` gives something true, and gives that. `what` may be a function that says so in the end. */
export async function until(ask, what) {
  const end = Date.now() + WAIT_MS;
  for (;;) {
    const value = await ask();
    if (value) return value;
    if (Date.now() >= end) assert.fail(`waited in vain: ${typeof what === "function" ? await what() : what}`);
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
}

/** A folder of a test's own, which is gone at the end. */
export function makeFolder(within = tmpdir()) {
  const folder = mkdtempSync(join(within, "zelumo-tests-"));
  after(() => rmSync(folder, { recursive: true }));
  return folder;
}

/** A port of 127.0.0.1 on which nobody listens. */
export const freePort = () =>
  new Promise((resolve) => {
    const server = createServer().listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
