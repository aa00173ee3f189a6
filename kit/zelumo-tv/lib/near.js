// SPDX-License-Identifier: Apache-2.0
// Names that aren't known are told with the one that was probably meant.

// How many letters must be left out, put in, replaced or swapped to make one of the other.
function distance(a, b) {
  let beforeLast;
  let last = Array.from({ length: b.length + 1 }, (_, j) => j);
  for (let i = 1; i <= a.length; i++) {
    const row = [i];
    for (let j = 1; j <= b.length; j++) {
      row[j] = Math.min(last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] === b[j - 1] ? 0 : 1));
      if (i > 1 && j > 1 && a[i - 1] === b[j - 2] && a[i - 2] === b[j - 1]) row[j] = Math.min(row[j], beforeLast[j - 2] + 1);
    }
    [beforeLast, last] = [last, row];
  }
  return last[b.length];
}

/** `; did you mean "…"?`, or "". Of a name with "::" what follows is compared, too. */
export function didYouMean(name, known) {
  const wanted = String(name).toLowerCase().slice(0, 200);
  let nearest;
  let least = 4;
  for (const whole of known) {
    for (const candidate of new Set([whole, whole.slice(whole.lastIndexOf("::") + 1).replace(/^:/, "")])) {
      const far = distance(wanted, candidate.toLowerCase());
      const allowed = Math.min(Math.floor(Math.min(wanted.length, candidate.length) / 3), 3);
      if (far <= allowed && far < least) [least, nearest] = [far, whole];
    }
  }
  return nearest ? `; did you mean ${JSON.stringify(nearest)}?` : "";
}

/** Throws where it is no list. */
export function checkList(what, given) {
  if (given !== undefined && !Array.isArray(given)) throw new TypeError(`${what} must be a list`);
}

/** Throws where an option isn't known. */
export function checkOptions(what, given, known) {
  if (given === null || typeof given !== "object" || Array.isArray(given)) throw new TypeError(`${what}: the options must be an object`);
  for (const name of Object.keys(given)) {
    if (!known.includes(name)) throw new TypeError(`${what}: there is no option "${name}"${didYouMean(name, known)}`);
  }
}
