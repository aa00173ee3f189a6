// SPDX-License-Identifier: Apache-2.0
// Streams to play: makes them with ffmpeg, and serves them as well or as badly as a test wants.
import { execFile } from "node:child_process";
import { createCipheriv, createHash } from "node:crypto";
import { once } from "node:events";
import { existsSync } from "node:fs";
import { mkdir, mkdtemp, readFile, readdir, rename, rm, writeFile } from "node:fs/promises";
import { createServer } from "node:http";
import { dirname, extname, join, normalize } from "node:path";
import { setTimeout as passed } from "node:timers/promises";
import { fileURLToPath } from "node:url";
import { promisify } from "node:util";

const here = fileURLToPath(import.meta.url);

/** Of clear.mpd, in hexadecimal digits. */
export const KEY_ID = "0123456789abcdef0123456789abcdef";
export const KEY = "00112233445566778899aabbccddeeff";

/** The codec that hevc.mpd names: HEVC with Dolby Vision, which Debian's Chromium plays on no machine. */
export const UNKNOWN_CODEC = "dvh1.05.06";

const SEGMENT_S = 2;
const FILM_S = 20;
const LONG_S = 60;

/**
 * Makes the streams, unless they are there, and gives the folder that holds them:
 * - film.mpd (20 s) and long.mpd (60 s): H.264 and AAC in segments of 2 s, film/video-1.m4s, film/audio-1.m4s and so on;
 * - film.mp4 and film.webm (VP8 and Opus): the same 20 s as plain files;
 * - clear.mpd: film.mpd with its sound encrypted ("cenc") with KEY, which has the id KEY_ID;
 * - hevc.mpd: names UNKNOWN_CODEC.
 * `folder` keeps the streams of this version of the file. Several processes may ask at once: each gets a whole set.
 */
export async function makeStreams(folder = join(dirname(here), "../../build/test-streams")) {
  const version = createHash("sha256").update(await readFile(here)).digest("hex").slice(0, 16);
  const made = join(folder, version);
  if (existsSync(made)) return made;
  await mkdir(folder, { recursive: true });
  // What others are making right now is no earlier version.
  const earlier = (await readdir(folder)).filter((name) => !name.startsWith("making-"));
  const work = await mkdtemp(join(folder, "making-"));
  try {
    await make(work);
    await rename(work, made);
  } catch (error) {
    await rm(work, { recursive: true, force: true });
    if (error.code === "ENOENT" && error.path === "ffmpeg") throw new Error("there is no ffmpeg: ./setup media installs it");
    if (!existsSync(made)) throw error; // otherwise another process was quicker
  }
  for (const name of earlier) if (name !== version) await rm(join(folder, name), { recursive: true, force: true });
  return made;
}

async function make(folder) {
  const file = (...names) => join(folder, ...names);
  const ffmpeg = (...args) => promisify(execFile)("ffmpeg", ["-nostdin", "-v", "error", ...args.map(String)], { cwd: folder });
  // Sound ends within its last block of samples, so it is cut a little earlier: the pictures' end is the stream's.
  const first = (seconds) => ["-t", seconds, "-i", "all.mp4", "-t", seconds - 0.03, "-i", "all.mp4", "-map", "0:v", "-map", "1:a", "-c", "copy"];
  // Segments that ffmpeg calls 0-… and 1-…, of the streams video and audio.
  const segments = async (name, seconds, ...options) => {
    await mkdir(file(name));
    await ffmpeg(...first(seconds), "-f", "dash", "-seg_duration", SEGMENT_S, ...options, "-init_seg_name",
      `${name}/$RepresentationID$-init.m4s`, "-media_seg_name", `${name}/$RepresentationID$-$Number$.m4s`, `${name}.mpd`);
    for (const old of await readdir(file(name))) {
      await rename(file(name, old), file(name, old.replace(/^0/, "video").replace(/^1/, "audio")));
    }
  };

  await ffmpeg("-f", "lavfi", "-i", "testsrc2=s=320x180:r=25", "-f", "lavfi", "-i", "sine=f=220:r=48000:beep_factor=4", "-t", LONG_S,
    "-c:v", "libx264", "-preset", "ultrafast", "-profile:v", "baseline", "-level", "1.3", "-pix_fmt", "yuv420p", "-b:v", "200k",
    "-g", 25 * SEGMENT_S, "-sc_threshold", 0, "-c:a", "aac", "-b:a", "48k", "-ac", 1, "all.mp4");
  await ffmpeg(...first(FILM_S), "-movflags", "+faststart", "film.mp4");
  await ffmpeg("-i", "film.mp4", "-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", 8, "-b:v", "200k", "-g", 50,
    "-c:a", "libopus", "-b:a", "32k", "film.webm");
  await segments("long", LONG_S);
  await segments("film", FILM_S);
  // ffmpeg writes no word on how the samples of a segment are encrypted: only its initial segments are of use.
  await segments("clear", FILM_S, "-format_options", `encryption_scheme=cenc-aes-ctr:encryption_key=${KEY}:encryption_kid=${KEY_ID}`);
  for (const name of await readdir(file("film"))) {
    const data = await readFile(file("film", name));
    if (name.startsWith("video")) await writeFile(file("clear", name), data);
    else if (!name.includes("init")) await writeFile(file("clear", name), encrypted(data));
  }
  await rm(file("all.mp4"));

  const whole = (seconds) => `type="static" mediaPresentationDuration="PT${seconds}S"`;
  await writeFile(file("film.mpd"), manifest("film", whole(FILM_S)));
  await writeFile(file("long.mpd"), manifest("long", whole(LONG_S)));
  await writeFile(file("clear.mpd"), manifest("clear", whole(FILM_S), { isProtected: true }));
  await writeFile(file("hevc.mpd"), manifest("film", whole(FILM_S), { videoCodec: UNKNOWN_CODEC }));
}

/** A manifest of the segments in the folder `name`. */
function manifest(name, attributes, { videoCodec = "avc1.42c00d", isProtected = false } = {}) {
  const keyId = KEY_ID.replace(/(.{8})(.{4})(.{4})(.{4})/, "$1-$2-$3-$4-");
  const protection = `<ContentProtection schemeIdUri="urn:mpeg:dash:mp4protection:2011" value="cenc" cenc:default_KID="${keyId}"/>`;
  const set = (kind, codec, rest) => `
    <AdaptationSet contentType="${kind}" mimeType="${kind}/mp4" codecs="${codec}" segmentAlignment="true" startWithSAP="1">
      ${isProtected && kind === "audio" ? protection : ""}
      <SegmentTemplate duration="${SEGMENT_S}" startNumber="1" initialization="${name}/${kind}-init.m4s" media="${name}/${kind}-$Number$.m4s"/>
      <Representation id="${kind}" ${rest}/>
    </AdaptationSet>`;
  return `<?xml version="1.0" encoding="utf-8"?>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" xmlns:cenc="urn:mpeg:cenc:2013" profiles="urn:mpeg:dash:profile:isoff-live:2011"
  minBufferTime="PT${SEGMENT_S}S" ${attributes}>
  <Period id="0" start="PT0S">${set("video", videoCodec, 'bandwidth="200000" width="320" height="180" frameRate="25"')}
    ${set("audio", "mp4a.40.2", 'bandwidth="48000" audioSamplingRate="48000"')}
  </Period>
</MPD>
`;
}

/** The boxes of an ISO media file between two offsets, by type. */
function boxes(data, start, end) {
  const found = {};
  for (let at = start; at < end; at += data.readUInt32BE(at)) {
    found[data.toString("latin1", at + 4, at + 8)] = { start: at, body: at + 8, end: at + data.readUInt32BE(at) };
  }
  return found;
}

function fragment(segment) {
  const { moof, mdat } = boxes(segment, 0, segment.length);
  const { traf } = boxes(segment, moof.body, moof.end);
  return { moof, mdat, traf, ...boxes(segment, traf.body, traf.end) };
}

/** A segment of sound with its samples encrypted, each as a whole. */
function encrypted(segment) {
  const { moof, mdat, traf, trun } = fragment(segment);
  const flags = segment.readUInt32BE(trun.body) & 0xffffff;
  if ((flags & ~0x4) !== 0x201) throw new Error(`a track run with the flags ${flags.toString(16)}`);
  const count = segment.readUInt32BE(trun.body + 4);
  const sizes = trun.body + (flags & 0x4 ? 16 : 12);
  const senc = Buffer.alloc(16 + 8 * count);
  senc.writeUInt32BE(senc.length);
  senc.write("senc", 4);
  senc.writeUInt32BE(count, 12);
  let at = mdat.body;
  for (let i = 0; i < count; i += 1) {
    const iv = Buffer.alloc(16);
    iv.writeUInt32BE(i + 1, 4);
    iv.copy(senc, 16 + 8 * i, 0, 8);
    const cipher = createCipheriv("aes-128-ctr", Buffer.from(KEY, "hex"), iv);
    const end = at + segment.readUInt32BE(sizes + 4 * i);
    segment.set(cipher.update(segment.subarray(at, end)), at);
    at = end;
  }
  for (const grown of [moof.start, traf.start, trun.body + 8]) segment.writeUInt32BE(segment.readUInt32BE(grown) + senc.length, grown);
  return Buffer.concat([segment.subarray(moof.start, traf.end), senc, segment.subarray(mdat.start, mdat.end)]);
}

const TYPES = { ".mpd": "application/dash+xml", ".m4s": "video/iso.segment", ".mp4": "video/mp4", ".webm": "video/webm" };

// The live stream plays the long one's first segments over and over: of so many, sound and pictures are equally long.
const LOOP = 24;
const TIMESCALES = { video: 12800, audio: 48000 };
const LIVE_WINDOW_S = 10;
const LIVE_DELAY_S = 4;
const LIVE_AGE_S = 60;

/** Serves the streams in a folder on 127.0.0.1, at `url`. What it is told holds from the next request on. */
export class StreamServer {
  cors = true; // whether other origins may read the answers
  missing = new Set(); // parts of paths: what has one of them is not found
  #folder;
  #server;
  #stalls = [];
  #liveSince = null; // ms since 1970

  /** `folder` as makeStreams gives it. */
  static async start(folder) {
    const server = new StreamServer();
    server.#folder = folder;
    server.#server = createServer((request, response) => server.#answer(request, response).catch((error) => response.destroy(error)));
    await once(server.#server.listen(0, "127.0.0.1"), "listening");
    server.#server.unref(); // a test that fails before it closes its server ends all the same
    server.url = `http://127.0.0.1:${server.#server.address().port}`;
    return server;
  }

  async close() {
    this.#server.closeAllConnections();
    await once(this.#server.close(), "close");
  }

  /** The next request for a path that contains `part` is answered `ms` later. */
  stall(part, ms) {
    this.#stalls.push({ part, ms });
  }

  /** live.mpd begins, a minute old: one may seek in the last 10 s, the edge is 4 s behind the time. */
  startLive() {
    this.#liveSince = Date.now() - LIVE_AGE_S * 1000;
  }

  /** live.mpd and its segments are gone. */
  stopLive() {
    this.#liveSince = null;
  }

  async #answer(request, response) {
    const { pathname } = new URL(request.url, this.url);
    const stall = this.#stalls.findIndex(({ part }) => pathname.includes(part));
    if (stall >= 0) await passed(this.#stalls.splice(stall, 1)[0].ms, null, { ref: false });

    const headers = { "Accept-Ranges": "bytes", "Cache-Control": "no-store" };
    if (this.cors) {
      for (const [name, value] of [["Origin", "*"], ["Headers", "*"], ["Methods", "GET, HEAD"]]) headers[`Access-Control-Allow-${name}`] = value;
      headers["Access-Control-Expose-Headers"] = "Content-Length, Content-Range";
    }
    if (request.method === "OPTIONS") return response.writeHead(204, headers).end();
    const isMissing = [...this.missing].some((part) => pathname.includes(part));
    const body = isMissing ? null : await this.#body(pathname);
    if (!body) return response.writeHead(404, headers).end();

    headers["Content-Type"] = TYPES[extname(pathname)] ?? "application/octet-stream";
    const range = request.headers.range?.match(/^bytes=(\d+)-(\d*)$/);
    const first = range ? Number(range[1]) : 0;
    const last = Math.min(range?.[2] ? Number(range[2]) : Infinity, body.length - 1);
    if (range) headers["Content-Range"] = `bytes ${first}-${last}/${body.length}`;
    headers["Content-Length"] = last - first + 1;
    response.writeHead(range ? 206 : 200, headers).end(request.method === "HEAD" ? undefined : body.subarray(first, last + 1));
  }

  async #body(pathname) {
    const live = pathname.match(/^\/live(?:\.mpd|\/(video|audio)-(init|\d+)\.m4s)$/);
    if (live) return this.#liveBody(live[1], live[2]);
    return readFile(join(this.#folder, normalize(pathname))).catch((error) => {
      if (error.code === "ENOENT" || error.code === "EISDIR") return null;
      throw error;
    });
  }

  async #liveBody(kind, name) {
    if (this.#liveSince === null) return null;
    if (!kind) return Buffer.from(this.#liveManifest());
    if (name === "init") return readFile(join(this.#folder, `long/${kind}-init.m4s`));
    const index = Number(name) - 1;
    const age = (Date.now() - this.#liveSince) / 1000 - index * SEGMENT_S;
    // There from its end on, until well after it has left the window.
    if (age < SEGMENT_S || age > LIVE_WINDOW_S + LIVE_DELAY_S + 3 * SEGMENT_S) return null;
    const segment = await readFile(join(this.#folder, `long/${kind}-${(index % LOOP) + 1}.m4s`));
    const { moof, mdat, tfdt } = fragment(segment);
    const shift = Math.floor(index / LOOP) * LOOP * SEGMENT_S * TIMESCALES[kind];
    segment.writeBigUInt64BE(segment.readBigUInt64BE(tfdt.body + 4) + BigInt(shift), tfdt.body + 4);
    return segment.subarray(moof.start, mdat.end);
  }

  #liveManifest() {
    return manifest("live", `type="dynamic" availabilityStartTime="${new Date(this.#liveSince).toISOString()}"
  publishTime="${new Date().toISOString()}" minimumUpdatePeriod="PT${SEGMENT_S}S"
  timeShiftBufferDepth="PT${LIVE_WINDOW_S + LIVE_DELAY_S}S" suggestedPresentationDelay="PT${LIVE_DELAY_S}S"`);
  }
}
