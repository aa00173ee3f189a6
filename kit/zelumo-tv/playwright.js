// SPDX-License-Identifier: Apache-2.0
// Playwright's `test` and `expect` with a TV for each test.
import { closeSync } from "node:fs";
import { writeFile } from "node:fs/promises";
import { dirname } from "node:path";
import { test as base, expect as baseExpect } from "@playwright/test";

import { devServer, devServerOrigin } from "./lib/dev-server.js";
import { embedBefore } from "./lib/embed.js";
import { expectations } from "./lib/expectations.js";
import { OPTIONS, namelessFile, pathsFrom, readNameless } from "./lib/host.js";
import { checkOptions } from "./lib/near.js";
import { BEGIN, KEEPER, startTv } from "./lib/tv.js";

export const expect = baseExpect.extend(expectations);

const failed = (testInfo) => testInfo.status !== testInfo.expectedStatus;

/** The origins of pages that the TV is there for, beside its own. */
const originsOf = ({ allowOrigins = [], devServer: server }) => [allowOrigins, server ? devServerOrigin(server) : []].flat();

// Paths are those of the project that is tested, wherever the runner was started.
function startOptions({ devServer: _, ...options }, testInfo) {
  const { configFile, rootDir } = testInfo.config;
  const root = configFile ? dirname(configFile) : rootDir;
  return { root, options: pathsFrom(root, options) };
}

/** A TV that is recorded, unless the test has it recorded itself. */
async function start(options) {
  const record = options.record === undefined ? namelessFile() : undefined;
  try {
    const tv = await startTv(record === undefined ? options : { ...options, record });
    return { tv, record };
  } catch (error) {
    if (record !== undefined) closeSync(record);
    throw error;
  }
}

async function end({ tv, record }) {
  await tv.close();
  if (record !== undefined) closeSync(record);
}

// The state when the test had failed, by its TestInfo: pages that close take their players with them.
const states = new WeakMap();
async function keepState(tv, testInfo) {
  if (failed(testInfo) && !states.has(testInfo)) states.set(testInfo, await tv.state().catch((error) => ({ error: error.message })));
}

async function attach({ tv, record }, testInfo, ended) {
  await keepState(tv, testInfo);
  const keeper = tv[KEEPER];
  await keeper.caughtUp().catch(() => {});
  const journal = keeper.sinceBegin().map((line) => JSON.stringify(line)).join("\n");
  await testInfo.attach("zelumo-journal", { body: `${journal}\n`, contentType: "text/plain" });
  await testInfo.attach("zelumo-state", { body: JSON.stringify(states.get(testInfo), null, 2), contentType: "application/json" });
  if (record === undefined) return;
  // What has passed since the last line is written with the next one, or at the end.
  await (ended ? tv.close() : tv.advance(0).catch(() => {}));
  const path = testInfo.outputPath("zelumo-recording.jsonl");
  await writeFile(path, readNameless(record).replaceAll(/^(# zelumo-tv .*) \/dev\/fd\/\d+$/gm, "$1 zelumo-recording.jsonl"));
  await testInfo.attach("zelumo-recording", { path, contentType: "application/x-ndjson" });
}

export const test = base.extend({
  tvOptions: [{}, { option: true }],
  tvScope: ["test", { option: true }],

  // The TVs of this worker, by their options.
  zelumoTvs: [
    async ({}, use) => {
      const tvs = new Map();
      await use(tvs);
      for (const started of tvs.values()) await end(started);
    },
    { scope: "worker", box: true },
  ],

  tv: [
    async ({ tvOptions, tvScope, zelumoTvs }, use, testInfo) => {
      if (tvScope !== "test" && tvScope !== "worker") throw new TypeError('tvScope is "test" or "worker"');
      checkOptions("tvOptions", tvOptions, [...OPTIONS, "devServer"]);
      const { root, options } = startOptions({ ...tvOptions, allowOrigins: originsOf(tvOptions) }, testInfo);
      if (tvOptions.devServer) await devServer(tvOptions.devServer, root);
      if (tvScope === "test") {
        const started = await start(options);
        try {
          await use(started.tv);
          if (failed(testInfo)) await attach(started, testInfo, true);
        } finally {
          await end(started);
        }
        return;
      }
      const key = JSON.stringify(options);
      if (!zelumoTvs.has(key)) zelumoTvs.set(key, await start(options));
      const started = zelumoTvs.get(key);
      // What an earlier test made fail works again.
      await started.tv.restore();
      await started.tv[BEGIN]();
      await use(started.tv);
      if (failed(testInfo)) await attach(started, testInfo, false);
    },
    { box: true },
  ],

  baseURL: async ({ baseURL, tv, tvOptions }, use) => {
    await use(baseURL ?? tvOptions.devServer?.url ?? tv.url);
  },

  context: async ({ context, tv, tvOptions }, use, testInfo) => {
    await context.addInitScript(await embedBefore(tv.url, [tv.url, ...originsOf(tvOptions)]));
    await use(context);
    await keepState(tv, testInfo);
  },

  page: async ({ page, tv }, use, testInfo) => {
    await use(page);
    await keepState(tv, testInfo);
  },
});
