// SPDX-License-Identifier: Apache-2.0
import { checkPosted, reportType } from "./api.js";

function read(text) {
  try {
    return JSON.parse(text);
  } catch {
    return text;
  }
}

// Whether a value has what is expected of it: objects may have more members, lists are of the same length, a text that holds
// JSON may be expected as what it holds, and the test runner's own placeholders (`expect.any(Number)`) decide for themselves.
export function matches(actual, expected) {
  if (typeof expected?.asymmetricMatch === "function") return expected.asymmetricMatch(actual);
  if (expected === null || typeof expected !== "object") return Object.is(actual, expected);
  if (typeof actual === "string") actual = read(actual);
  if (actual === null || typeof actual !== "object" || Array.isArray(actual) !== Array.isArray(expected)) return false;
  if (Array.isArray(expected)) return actual.length === expected.length && expected.every((item, i) => matches(actual[i], item));
  return Object.keys(expected).every((key) => key in actual && matches(actual[key], expected[key]));
}

/** Arguments of a call: what is expected may be shorter, and null stands for any, as in the verb `answer`. */
export const matchesArgs = (actual, expected) =>
  expected === undefined || (expected.length <= actual.length && expected.every((item, i) => item === null || matches(actual[i], item)));

/** What a filter asks of a message: its name, that of a player's report, some of its members, or what a function says. */
export function messageFilter(filter) {
  if (filter === undefined) return () => true;
  if (typeof filter === "function") return filter;
  if (filter === null) throw new TypeError("null is no filter: give a name, members, or a function");
  if (typeof filter === "object") return (message) => matches(message, filter);
  checkPosted(filter);
  const type = reportType(filter);
  return (message) => message?.command === filter || message?.event === filter || (type !== undefined && message?.type === type);
}
