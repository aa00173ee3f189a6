// SPDX-License-Identifier: Apache-2.0
/** Hours and minutes of a time in milliseconds since 1970. */
export const clock = (ms) => new Date(ms).toLocaleTimeString([], { hour: "2-digit", minute: "2-digit" });

/** A position in a stream as 1:02:03 or 2:03. */
export function duration(ms) {
  const total = Math.max(0, Math.round(ms / 1000));
  const [hours, minutes, seconds] = [Math.floor(total / 3600), Math.floor(total / 60) % 60, total % 60];
  const two = (n) => String(n).padStart(2, "0");
  return hours ? `${hours}:${two(minutes)}:${two(seconds)}` : `${minutes}:${two(seconds)}`;
}

/** Number of a channel as people say it. */
export const channelNumber = ({ major, minor }) => (minor ? `${major}.${minor}` : String(major));
