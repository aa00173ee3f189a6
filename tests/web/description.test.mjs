// The generated files against the description.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

const root = join(dirname(fileURLToPath(import.meta.url)), "../..");
const check = (at) => spawnSync(process.execPath, [join(at, "web/generate.mjs"), "--check"], { encoding: "utf8" });

test("typings and docs are as the description makes them", () => {
  const { status, stderr } = check(root);
  assert.equal(status, 0, stderr);
});

test("a file that is behind the description, or gone, is named", () => {
  const copy = mkdtempSync(join(tmpdir(), "zelumo-web-"));
  try {
    for (const path of ["web/page-api.json", "web/generate.mjs", "web/zelumo.d.ts", "docs/page-api.md"]) cpSync(join(root, path), join(copy, path));
    const path = join(copy, "web/page-api.json");
    writeFileSync(path, readFileSync(path, "utf8").replaceAll('"GetVersion"', '"GetEdition"'));
    const { status, stderr } = check(copy);
    assert.equal(status, 1);
    assert.match(stderr, /zelumo\.d\.ts/);
    assert.match(stderr, /page-api\.md/);

    assert.equal(spawnSync(process.execPath, [join(copy, "web/generate.mjs")]).status, 0);
    rmSync(join(copy, "docs/page-api.md"));
    const gone = check(copy);
    assert.equal(gone.status, 1);
    assert.match(gone.stderr, /page-api\.md/);
    assert.doesNotMatch(gone.stderr, /zelumo\.d\.ts/);
  } finally {
    rmSync(copy, { recursive: true });
  }
});
