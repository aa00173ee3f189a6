// SPDX-License-Identifier: Apache-2.0
// What docs/testing.md leads to: its files in an empty folder, as they stand there.
import assert from "node:assert/strict";
import { copyFileSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { test } from "node:test";
import { HERE, makeFolder, start } from "./support.mjs";

const guide = readFileSync(process.env.KIT_GUIDE, "utf8");
// Inside this folder, so that the packages are found.
const folder = makeFolder(HERE);

// A block that a file's name stands before, alone or with what there is to say of it.
for (const [, name, text] of guide.matchAll(/^`([\w./-]+\.(?:html|js|yml))`[^]*?^```\w+\n([^]*?)^```$/gm)) {
  mkdirSync(dirname(join(folder, name)), { recursive: true });
  writeFileSync(join(folder, name), text);
}
writeFileSync(join(folder, "package.json"), '{ "type": "module" }');

async function passes(args, expected) {
  const { NODE_TEST_CONTEXT: _, ...env } = process.env; // a runner within this one reports for itself
  const run = start(process.execPath, args, { cwd: folder, env });
  const { code } = await run.ended;
  assert.equal(code, 0, run.out + run.err);
  assert.match(run.out, expected);
}

test("the first tests are green", async () => {
  copyFileSync(join(HERE, "node_modules/zelumo-tv/client.js"), join(folder, "page/client.js"));
  // The same, but for the browser, which is this machine's own.
  const launchOptions = { executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium" };
  writeFileSync(
    join(folder, "here.config.js"),
    `import config from "./playwright.config.js";\nexport default { ...config, use: { ...config.use, launchOptions: ${JSON.stringify(launchOptions)} } };\n`,
  );
  await passes([join(HERE, "node_modules/@playwright/test/cli.js"), "test", "-c", "here.config.js"], /2 passed/);
});

test("what needs no browser is green under node's own runner", async () => {
  const [, text] = guide.match(/^```js\n([^`]*node:test[^`]*)^```$/m);
  writeFileSync(join(folder, "film.test.js"), text);
  await passes(["--test", "film.test.js"], /pass 1$/m);
});
