// SPDX-License-Identifier: Apache-2.0
// The description of the page's interface, and what all that is made from it has in common.
import { readFileSync } from "node:fs";

export const api = JSON.parse(readFileSync(new URL("../page-api.json", import.meta.url), "utf8"));

export const MADE = "Made by web/generate.mjs from web/page-api.json: don't edit.";
/** How typings begin. */
export const TYPINGS_HEAD = `// SPDX-License-Identifier: Apache-2.0\n// ${MADE}`;

const texts = new Map(api.texts.map((text) => [text.name, text]));

/** Whether a JSON text has whole numbers in it that a double may not hold. */
export const isWide = (name) => (texts.get(name)?.fields ?? []).some((f) => f.wide || isWide(f.type));

// Markdown

export const code = (text) => `\`${text}\``;
export const json = (value) => code(JSON.stringify(value));
const cell = (text) => String(text).replace(/\|/g, "\\|");

export function table(head, rows) {
  const row = (cells) => `| ${cells.map(cell).join(" | ")} |`;
  return [row(head), row(head.map(() => "---")), ...rows.map(row), ""].join("\n");
}

// Files that people write, and of which parts are made

/**
 * The text with its made parts made anew: what stands between a line that holds "made: NAME" and the next one that holds "made",
 * each in a comment of the file's kind. `parts` makes them, by their names.
 */
export function remake(text, parts) {
  return text.replace(/(^.*\bmade: (\w+).*\n)[^]*?(?=^ *(?:\/\/|<!--) made\b)/gm, (whole, head, name) => {
    if (!parts[name]) throw new Error(`nothing makes "${name}"`);
    return `${head}${parts[name]().trimEnd()}\n`;
  });
}
