// SPDX-License-Identifier: Apache-2.0
// The tables of docs/calls.md, from the description of the page's interface.
import { api, code, json, remake, table } from "./description.mjs";

const alike = (a, b) => ["args", "result", "out", "failure"].every((key) => JSON.stringify(a[key]) === JSON.stringify(b[key]));

// Calls that follow each other and are written alike share a row, those of one interface its name.
function rows() {
  const groups = [];
  for (const call of api.calls) {
    const last = groups.at(-1);
    if (last && alike(last[0], call)) last.push(call);
    else groups.push([call]);
  }
  return groups.map((group) => {
    const names = group.map(({ name }, i) => {
      const own = name.slice(name.lastIndexOf(":") + 1);
      const shared = i > 0 && own !== name && group[i - 1].name.replace(/\w+$/, "") === name.replace(/\w+$/, "");
      return code(shared ? `…::${own}` : name);
    });
    const [{ args, result, out, failure }] = group;
    return [names.join(", "), args, result, out, failure.map(json).join("")];
  });
}

// The calls of each command: the one that decides in bold, one that others than the example's way decide by behind it.
function commandRows() {
  return api.commands.map(({ name, calls, decidedBy }) => {
    const made = calls.map((call) => (decidedBy.includes(call) ? `**${code(call)}**` : code(call)));
    const others = decidedBy.filter((call) => !calls.includes(call)).map((call) => `or **${code(call)}**`);
    return [`[${name}](page-api.md#${name.toLowerCase()})`, [made.join(", "), ...others].filter(Boolean).join(" ") || "none"];
  });
}

/** The document with its tables made anew. */
export const callsDocument = (text) =>
  remake(text, {
    calls: () => table(["name", "args", "result", "out", "fails with"], rows()),
    commands: () => table(["command", "calls"], commandRows()),
  });
