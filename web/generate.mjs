// SPDX-License-Identifier: Apache-2.0
// Makes from web/page-api.json what is listed at the end: typings, client and documents.
// With --check it writes nothing and names each file that differs; exit status 1 if one does.
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { callsDocument } from "./generate/calls-document.mjs";
import { client, clientTypings } from "./generate/client.mjs";
import { pageDocument } from "./generate/page-document.mjs";
import { typesModule, typings } from "./generate/typings.mjs";

const root = dirname(dirname(fileURLToPath(import.meta.url)));

// A file that isn't there is empty.
function current(name) {
  try {
    return readFileSync(join(root, name), "utf8");
  } catch (error) {
    if (error.code !== "ENOENT") throw error;
    return "";
  }
}

const files = {
  "web/zelumo.d.ts": typings(),
  "kit/zelumo-tv/types.d.ts": typesModule(),
  "kit/zelumo-tv/client.js": client(current("kit/zelumo-tv/client.js")),
  "kit/zelumo-tv/client.d.ts": clientTypings(current("kit/zelumo-tv/client.d.ts")),
  "docs/page-api.md": pageDocument(),
  "docs/calls.md": callsDocument(current("docs/calls.md")),
};
const check = process.argv.includes("--check");
for (const [name, text] of Object.entries(files)) {
  if (check) {
    if (current(name) === text) continue;
    console.error(`${name} differs from what web/page-api.json makes: run node web/generate.mjs`);
    process.exitCode = 1;
  } else {
    mkdirSync(dirname(join(root, name)), { recursive: true });
    writeFileSync(join(root, name), text);
  }
}
