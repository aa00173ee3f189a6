// SPDX-License-Identifier: Apache-2.0
// Makes the project in which the kit is tested, as somebody else would have it: prepare.mjs FOLDER. Packs, copies these tests
// there, and installs what they need and the tarballs.
import { execFileSync } from "node:child_process";
import { cpSync, existsSync, mkdirSync, readdirSync, rmSync } from "node:fs";
import { basename, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const folder = resolve(process.argv[2]);
const tarballs = join(folder, "tarballs");
const project = join(folder, "project");
const run = (command, args) => execFileSync(command, args, { cwd: project, stdio: "inherit" });

rmSync(tarballs, { recursive: true, force: true });
mkdirSync(project, { recursive: true });
// Of an earlier time only what npm has installed stays.
for (const name of readdirSync(project)) if (name !== "node_modules") rmSync(join(project, name), { recursive: true });
cpSync(here, project, { recursive: true, filter: (path) => !["node_modules", "dist"].includes(basename(path)) });
cpSync(join(here, "../../tests/web/shared.mjs"), join(project, "shared.mjs"));
run(join(here, "../pack"), [tarballs, process.arch]);

const machine = `zelumo-tv-linux-${process.arch}-`;
const packages = readdirSync(tarballs).filter((name) => name.startsWith(machine) || !name.startsWith("zelumo-tv-linux-"));
const npm = ["--ignore-scripts", "--no-audit", "--no-fund", "--prefer-offline"];
// npm takes a package of the same version for the same.
for (const name of packages) rmSync(join(project, "node_modules", name.replace(/-[\d.]+\.tgz$/, "")), { recursive: true, force: true });
if (!existsSync(join(project, "node_modules/@playwright/test"))) run("npm", ["ci", ...npm]);
run("npm", ["install", "--no-save", ...npm, ...packages.map((name) => join(tarballs, name))]);
