// SPDX-License-Identifier: Apache-2.0
// The typings and the client: what compiles and what doesn't, and how large and how modern the client is.
import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { promisify } from "node:util";
import { gzipSync } from "node:zlib";
import { transform } from "esbuild";
import { makeFolder } from "../web/shared.mjs";

const CLIENT = fileURLToPath(new URL("../../kit/zelumo-tv/client.js", import.meta.url));
const MOST = 3000;

const file = (path) => fileURLToPath(new URL(path, import.meta.url));
const compile = (...options) =>
  promisify(execFile)(process.execPath, [file("node_modules/typescript/bin/tsc"), ...options], { cwd: file(".") })
    .then(() => "", ({ stdout, stderr }) => stdout + stderr);

test("pages compile against the typings, and what is wrong in them doesn't", async () => {
  assert.equal(await compile("-p", "."), "");
});

test("what docs/testing.md shows of the types compiles", async () => {
  const [, shown] = readFileSync(file("../../docs/testing.md"), "utf8").match(/```ts\n([^]*?)```/);
  const folder = makeFolder();
  writeFileSync(join(folder, "shown.ts"), `import { json } from "zelumo-tv/client";\n${shown}`);
  const compilerOptions = { types: [], paths: { "zelumo-tv/*": [file("../../kit/zelumo-tv/*.d.ts")] } };
  writeFileSync(join(folder, "tsconfig.json"), JSON.stringify({ extends: file("tsconfig.json"), compilerOptions, include: ["*.ts"] }));
  assert.equal(await compile("-p", folder), "");
});

test("the client is small and asks for ES2015 alone", async () => {
  const source = readFileSync(CLIENT, "utf8");
  const { code } = await transform(source, { minify: true, target: "es2015" });
  const size = gzipSync(code, { level: 9 }).length;
  assert.ok(size <= MOST, `${size} bytes`);
  // Newer syntax would be written otherwise for an old target, and newer built-in functions are unknown to the compiler.
  const [old, latest] = await Promise.all(["es2015", "esnext"].map((target) => transform(source, { target })));
  assert.equal(old.code, latest.code);
  assert.equal(await compile("--noEmit", "--allowJs", "--checkJs", "--target", "es2015", "--lib", "es2015,dom", "--module", "esnext", "--moduleResolution", "bundler", CLIENT), "");
});
