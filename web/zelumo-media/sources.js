// SPDX-License-Identifier: Apache-2.0
// Which kind of source an address needs.
import { DASH, DashSource } from "./dash.js";
import { readRights } from "./rights.js";
import { FileSource } from "./source.js";
import { brief, known } from "./trouble.js";

// Plain files, by how their names end; all else is DASH.
const FILES = {
  "3gp": "video/3gpp", aac: "audio/aac", flac: "audio/flac", m4a: "audio/mp4", m4v: "video/mp4", mkv: "video/x-matroska", mov: "video/mp4",
  mp3: "audio/mpeg", mp4: "video/mp4", oga: "audio/ogg", ogg: "audio/ogg", ogv: "video/ogg", opus: "audio/ogg", wav: "audio/wav",
  weba: "audio/webm", webm: "video/webm",
};

// A key system is asked for with a codec, whatever the file's own is.
const CODECS = { "audio/mp4": "mp4a.40.2", "audio/webm": "opus", "video/mp4": "avc1.42E01E", "video/webm": "vp9" };
const withCodec = (type) => (type in CODECS ? `${type}; codecs="${CODECS[type]}"` : type);

/** Makes a source for a player's stream; throws Trouble where there can't be one. `listeners` as Source takes them. */
export function makeSource({ player, url, drm }, listeners) {
  if (!URL.canParse(url, document.baseURI)) throw known("", `${brief(url)} is no address`);
  const { href, pathname } = new URL(url, document.baseURI);
  const ending = pathname.match(/\.(\w+)$/)?.[1].toLowerCase();
  if (ending === "m3u8") throw known(brief(href), "HLS isn't played, only DASH and plain files");
  const rights = readRights(drm);
  const type = FILES[ending];
  if (type && !rights) return new FileSource(player, href, listeners);
  return new DashSource(player, href, { type: type ? withCodec(type) : DASH, rights, ...listeners });
}
