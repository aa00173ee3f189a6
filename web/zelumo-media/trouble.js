// SPDX-License-Identifier: Apache-2.0
// Why a stream can't be played, in words that help.
import { codecsLacking, inWords, lookIntoFile } from "./codecs.js";
import { ERROR, NOT_FOUND } from "./reports.js";

const DETAIL_MAX = 500;
const ADDRESS_MAX = 150;
const PROBE_MS = 2000;
const GONE = [404, 410];
const MEDIA_ERRORS = ["", "ABORTED", "NETWORK", "DECODE", "SRC_NOT_SUPPORTED"];

/** The end of a player: what is reported, and what the screen says, if anything. */
export class Trouble extends Error {
  constructor(type, detail, notice = "") {
    const line = String(detail).replace(/\s+/g, " ").trim();
    super(line.length > DETAIL_MAX ? `${line.slice(0, DETAIL_MAX - 1)}…` : line);
    this.name = "Trouble";
    this.type = type;
    this.notice = notice;
  }
}

/** Trouble whose cause is known, and told on the screen, too. */
export function known(what, cause) {
  return new Trouble(ERROR, what ? `${what}: ${cause}` : cause, `This stream can't be played: ${cause}.`);
}

/** An address, cut in the middle when it is long. */
export function brief(address) {
  const text = String(address);
  if (text.length <= ADDRESS_MAX) return text;
  return `${text.slice(0, ADDRESS_MAX - 41)}…${text.slice(-40)}`;
}

const isLoopback = (host) => /^(localhost|.+\.localhost|127(\.\d+){3}|\[::1\])$/i.test(host);

// Why a page can't read what is at an address.
async function whyUnreadable(address) {
  const url = new URL(address, document.baseURI);
  if (location.protocol === "https:" && url.protocol === "http:" && !isLoopback(url.hostname)) {
    return `${brief(address)} is http, and the browser lets a page that came by https load nothing by http (mixed content)`;
  }
  const reached = await fetch(url, { mode: "no-cors", cache: "no-store", signal: AbortSignal.timeout(PROBE_MS) }).then(
    (answer) => answer.body?.cancel() ?? true,
    () => false,
  );
  if (reached === false || url.origin === location.origin) return `${brief(address)} can't be reached`;
  return `${brief(address)} sends no CORS headers (Access-Control-Allow-Origin), so the browser keeps this page from reading it`;
}

/** Trouble that shaka-player told. `manifest`: its text, where one came; `rights`: as readRights gives them. */
export async function shakaTrouble(error, { shaka, url, isFile, manifest, rights }) {
  const codes = shaka.util.Error.Code;
  if (!Object.values(codes).includes(error?.code)) return new Trouble(ERROR, `shaka: ${error}: ${brief(url)}`);
  const say = ({ code }) => `shaka ${code} ${Object.keys(codes).find((name) => codes[name] === code)}`;
  // The error behind: a license server's, for instance.
  const inner = error.data?.[0]?.code ? error.data[0] : null;
  const { code, data } = inner ?? error;
  const what = inner ? `${say(error)}, ${say(inner)}` : say(error);
  switch (code) {
    case codes.BAD_HTTP_STATUS: {
      const missing = GONE.includes(data[1]) && !inner && data[4] === shaka.net.NetworkingEngine.RequestType.MANIFEST;
      return new Trouble(missing ? NOT_FOUND : ERROR, `${what} (${data[1]}): ${brief(data[0])}`);
    }
    case codes.HTTP_ERROR:
      return known(`${what}: ${brief(data[0])}`, await whyUnreadable(data[0]));
    case codes.TIMEOUT:
      return known(`${what}: ${brief(data[0])}`, "the server doesn't answer in time");
    case codes.CONTENT_UNSUPPORTED_BY_BROWSER: {
      const lacking = manifest ? codecsLacking(manifest) : [];
      const name = lacking.length ? lacking.map(inWords).join(", ") : "any of the codecs that the stream names";
      return known(`${what}: ${brief(url)}`, `the browser can't decode ${name}`);
    }
    case codes.VIDEO_ERROR: {
      const [number, , message] = data;
      const where = `${what} (${MEDIA_ERRORS[number] ?? number}${message ? `, ${message}` : ""}): ${brief(url)}`;
      return isFile ? fileTrouble(url, { code: number }, where) : new Trouble(ERROR, where);
    }
    case codes.NO_LICENSE_SERVER_GIVEN:
    case codes.NO_RECOGNIZED_KEY_SYSTEMS:
    case codes.REQUESTED_KEY_SYSTEM_CONFIG_UNAVAILABLE:
    case codes.ENCRYPTED_CONTENT_WITHOUT_DRM_INFO: {
      const cause = rights
        ? `the stream is protected, and its rights for ${rights.keySystem} (drmType "${rights.type}") don't open it`
        : "the stream is protected, and the page gave no rights for it";
      return known(`${what}: ${brief(url)}`, cause);
    }
    case codes.RESTRICTIONS_CANNOT_BE_MET:
      if (!data[0]?.missingKeys?.length) return new Trouble(ERROR, `${what}: ${brief(url)}`);
      return known(`${what}: ${brief(url)}`, `the rights give no key for ${data[0].missingKeys.join(", ")}`);
    default: {
      const more = (data ?? []).filter((item) => ["string", "number"].includes(typeof item) && item !== url);
      return new Trouble(ERROR, `${what}${more.length ? ` (${more.join(", ")})` : ""}: ${brief(url)}`);
    }
  }
}

const unplayable = (what, { type }, entries) => {
  const names = entries.map(({ codec }) => inWords(codec)).join(", ");
  return known(what, `the browser can't play ${type || "a file of no type"}${names ? ` with ${names}` : ""}`);
};

const inDetail = ({ code, message }, url) => `MediaError ${code} ${MEDIA_ERRORS[code]}${message ? ` (${message})` : ""}: ${brief(url)}`;

/** Trouble that the element told of a file that it plays itself; `error` is a MediaError. */
export async function fileTrouble(url, error, what = inDetail(error, url)) {
  const { code } = error;
  const file = await lookIntoFile(url, PROBE_MS).catch(() => null);
  if (GONE.includes(file?.status)) return new Trouble(NOT_FOUND, `HTTP ${file.status}: ${brief(url)}`);
  if (file?.status >= 400) return new Trouble(ERROR, `HTTP ${file.status}: ${brief(url)}`);
  if (file && code >= 3) {
    const lacking = file.entries.filter(({ isLacking }) => isLacking);
    return unplayable(what, file, lacking.length ? lacking : file.entries);
  }
  const why = await whyUnreadable(url);
  // An element needs no CORS headers, but without them nobody can look at what it got.
  const unseen = "there is nothing, or nothing that the browser can play; without CORS headers it doesn't say which";
  return known(what, why.includes("CORS") ? unseen : why);
}

/** Trouble with a file that plays without a picture, if it should have one: a browser leaves out what it can't decode. */
export async function missingPicture(url) {
  const file = await lookIntoFile(url, PROBE_MS).catch(() => null);
  const lacking = file?.entries.filter(({ kind, isLacking }) => kind === "video" && isLacking) ?? [];
  return lacking.length ? unplayable(brief(url), file, lacking) : null;
}
