// SPDX-License-Identifier: Apache-2.0
// Where the program is: in the package of this machine's architecture, or where ZELUMO_TV says. Run by itself it prints that.
import { realpathSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

export function program() {
  if (process.env.ZELUMO_TV) return process.env.ZELUMO_TV;
  const name = `zelumo-tv-${process.platform}-${process.arch}`;
  try {
    return join(dirname(createRequire(import.meta.url).resolve(`${name}/package.json`)), "bin/zelumo-tv");
  } catch {
    throw new Error(
      `zelumo-tv has no program for ${process.platform} on ${process.arch}: the package ${name} isn't installed. ` +
        "Install it beside zelumo-tv, or name a program in the environment's ZELUMO_TV.",
    );
  }
}

if (process.argv[1] && realpathSync(process.argv[1]) === fileURLToPath(import.meta.url)) {
  try {
    console.log(program());
  } catch (error) {
    console.error(error.message);
    process.exitCode = 2;
  }
}
