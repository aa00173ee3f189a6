// SPDX-License-Identifier: Apache-2.0
// The codecs that a stream needs: of a manifest, or of a file's own sample entries.

const NAMES = [
  [/^(hev1|hvc1|V_MPEGH)/, "HEVC"],
  [/^(dvh1|dvhe|dva1|dvav)/, "Dolby Vision"],
  [/^(vvc1|vvi1)/, "VVC"],
  [/^(avc1|avc3|V_MPEG4\/ISO\/AVC)/, "H.264"],
  [/^(mp4v|V_MPEG4)/, "MPEG-4 Visual"],
  [/^(av01|V_AV1)/, "AV1"],
  [/^ec-3/, "Dolby Digital Plus"],
  [/^(ac-3|A_AC3)/, "Dolby Digital"],
  [/^ac-4/, "Dolby AC-4"],
  [/^(dts|A_DTS)/, "DTS"],
  [/^(mhm|mha)/, "MPEG-H Audio"],
  [/^(enca|encv)$/, "encrypted"],
];
// For what a browser is to be asked by more than a sample entry's four letters.
const EXAMPLES = {
  av01: "av01.0.04M.08", avc1: "avc1.42E01E", avc3: "avc3.42E01E", dvh1: "dvh1.05.06", dvhe: "dvhe.05.06", hev1: "hev1.1.6.L93.B0",
  hvc1: "hvc1.1.6.L93.B0", mp4a: "mp4a.40.2", mp4v: "mp4v.20.9", vp09: "vp09.00.10.08",
};
const MATROSKA = /^(V_VP8|V_VP9|V_AV1|V_MPEG4\/ISO\/AVC|A_OPUS|A_VORBIS|A_FLAC|A_AAC|A_MPEG|A_PCM)/; // what a browser may play
const KINDS = { vmhd: "video", smhd: "audio" }; // boxes that say what the sample entries behind them are of
const CONTAINERS = ["moov", "trak", "mdia", "minf", "stbl"];
const PIECE = 512 * 1024; // of a file; what is looked for stands at the begin of its "moov" box

/** A codec with the name that people know. */
export function inWords(codec) {
  const name = NAMES.find(([pattern]) => pattern.test(codec))?.[1];
  return name ? `${codec} (${name})` : codec;
}

/** The codecs of a DASH manifest that the browser can't decode. */
export function codecsLacking(manifest) {
  const lacking = new Set();
  const tree = new DOMParser().parseFromString(manifest, "application/xml");
  for (const representation of tree.getElementsByTagNameNS("*", "Representation")) {
    const own = (name) => representation.getAttribute(name) ?? representation.parentNode.getAttribute?.(name) ?? "";
    const type = own("mimeType");
    if (!/^(video|audio)\//.test(type)) continue;
    for (const codec of own("codecs").split(",").map((name) => name.trim()).filter(Boolean)) {
      if (!MediaSource.isTypeSupported(`${type}; codecs="${codec}"`)) lacking.add(codec);
    }
  }
  return [...lacking];
}

// A file's bytes from an offset on, as far as a piece goes.
async function piece(url, offset, signal) {
  const range = `bytes=${offset}-${offset + PIECE - 1}`;
  const answer = await fetch(url, { headers: { Range: range }, cache: "no-store", signal });
  const whole = offset > 0 && answer.status !== 206;
  const bytes = new Uint8Array(PIECE);
  let length = 0;
  const reader = answer.ok && !whole ? answer.body?.getReader() : null;
  while (reader && length < PIECE) {
    const { done, value } = await reader.read();
    if (done) break;
    bytes.set(value.subarray(0, PIECE - length), length);
    length += Math.min(value.length, PIECE - length);
  }
  await (reader ?? answer.body)?.cancel();
  return { status: answer.status, type: answer.headers.get("Content-Type") ?? "", bytes: bytes.subarray(0, length) };
}

const fourLetters = (bytes, at) => String.fromCharCode(...bytes.subarray(at, at + 4));

// Adds the sample entries between two offsets, as { kind, codec }, and gives where the first box begins that reaches beyond.
function findEntries(bytes, from, to, found, around) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  let kind = around;
  let at = from;
  while (at + 16 <= to) {
    const [short, type] = [view.getUint32(at), fourLetters(bytes, at + 4)];
    const header = short === 1 ? 16 : 8;
    const size = short === 1 ? Number(view.getBigUint64(at + 8)) : short;
    const end = Math.min(size ? at + size : to, to);
    kind = KINDS[type] ?? kind;
    if (CONTAINERS.includes(type)) findEntries(bytes, at + header, end, found, kind);
    else if (type === "stsd" && kind && at + header + 16 <= to) found.push({ kind, codec: fourLetters(bytes, at + header + 12) });
    if (size < header) return to;
    at += size;
  }
  return at;
}

const isLacking = (codec) => !document.createElement("video").canPlayType(`video/mp4; codecs="${EXAMPLES[codec] ?? codec}"`);

/**
 * What a file consists of: { status, type, entries }, its HTTP status, its type as the server says, and of each kind of
 * samples that it names { kind: "video" or "audio", codec, isLacking }. Throws when the page can't read it within `ms`.
 */
export async function lookIntoFile(url, ms) {
  const signal = AbortSignal.timeout(ms);
  const { status, type, bytes } = await piece(url, 0, signal);
  const entries = [];
  if (fourLetters(bytes, 4) === "ftyp") {
    const next = findEntries(bytes, 0, bytes.length, entries);
    if (!entries.length && next >= bytes.length) {
      const rest = await piece(url, next, signal);
      findEntries(rest.bytes, 0, rest.bytes.length, entries);
    }
    for (const entry of entries) entry.isLacking = isLacking(entry.codec);
  } else if (bytes[0] === 0x1a && bytes[1] === 0x45) {
    const text = new TextDecoder("latin1").decode(bytes);
    for (const codec of new Set(text.match(/\b[VA]_[A-Z0-9_]{2,}(\/[A-Z0-9]+)*/g))) {
      entries.push({ kind: codec[0] === "V" ? "video" : "audio", codec, isLacking: !MATROSKA.test(codec) });
    }
  }
  return { status, type, entries };
}
