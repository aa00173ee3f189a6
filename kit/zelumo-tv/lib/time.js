// SPDX-License-Identifier: Apache-2.0
// Times as people write them.

/** Playing time in milliseconds, of milliseconds, "mm:ss" or "hh:mm:ss", a fraction of a second allowed. */
export function playingTime(time) {
  const wrong = () => new TypeError(`${JSON.stringify(time)} is no playing time: write milliseconds, "mm:ss" or "hh:mm:ss"`);
  if (typeof time === "number") {
    if (!Number.isInteger(time) || time < 0) throw wrong();
    return time;
  }
  const parts = typeof time === "string" && /^(?:(\d{1,3}):)?(\d{1,3}):(\d{2})(?:\.(\d{1,3}))?$/.exec(time);
  if (!parts) throw wrong();
  const [, hours, minutes, seconds, fraction = ""] = parts;
  if (seconds >= 60 || (hours !== undefined && minutes >= 60)) throw wrong();
  return (Number(hours ?? 0) * 3600 + Number(minutes) * 60 + Number(seconds)) * 1000 + Number(fraction.padEnd(3, "0"));
}

/** Milliseconds since 1970, of an ISO text, a Date or such a number. A time without a zone is UTC, as on the TV's command line. */
export function dateOf(when) {
  let date = when;
  if (typeof when === "string") date = new Date(/T.*(Z|[+-]\d\d:?\d\d)$/.test(when) || !when.includes("T") ? when : `${when}Z`);
  const ms = date instanceof Date ? date.getTime() : date;
  if (typeof ms !== "number" || !Number.isFinite(ms)) {
    throw new TypeError(`${JSON.stringify(when)} is no date: write 2026-01-01T20:00:00Z, or give a Date`);
  }
  return Math.trunc(ms);
}
