// SPDX-License-Identifier: Apache-2.0
// The rights to a protected stream, as the page gives them.
import { brief, known } from "./trouble.js";

const CONFIGURATIONS = [
  { initDataTypes: ["cenc", "keyids"], videoCapabilities: [{ contentType: 'video/mp4; codecs="avc1.42E01E"' }] },
  { initDataTypes: ["cenc", "keyids"], audioCapabilities: [{ contentType: 'audio/mp4; codecs="mp4a.40.2"' }] },
  { initDataTypes: ["webm", "keyids"], videoCapabilities: [{ contentType: 'video/webm; codecs="vp09.00.10.08"' }] },
];
const HEX = /^[0-9a-f]{32}$/i;

const isTable = (value) => typeof value === "object" && value !== null && !Array.isArray(value);

// The page's JSON text. Throws what is wrong with it.
function parse(text) {
  if (text === null || text === undefined || text === "") return {};
  let data;
  try {
    data = JSON.parse(text);
  } catch (error) {
    throw new Error(`is no JSON: ${error.message}`);
  }
  if (!isTable(data)) throw new Error("is no JSON object");
  const { licenseServer, headers, clearKeys } = data;
  if (licenseServer !== undefined && (typeof licenseServer !== "string" || !URL.canParse(licenseServer, document.baseURI))) {
    throw new Error('has a member "licenseServer" that is no address');
  }
  if (headers !== undefined && !(isTable(headers) && Object.values(headers).every((value) => typeof value === "string"))) {
    throw new Error('has a member "headers" that is no object of texts');
  }
  if (clearKeys !== undefined && !(isTable(clearKeys) && Object.entries(clearKeys).flat().every((hex) => HEX.test(hex)))) {
    throw new Error('has a member "clearKeys" that is no object of 32 hexadecimal digits to 32 others');
  }
  return data;
}

/**
 * `drm` as the command has it. Gives { type, keySystem, server, headers, clearKeys }; null where there are no rights.
 * Throws Trouble where they can't be used.
 */
export function readRights(drm) {
  if (!drm) return null;
  const { drmType: type, drmData, keySystem } = drm;
  let data;
  try {
    data = parse(drmData);
  } catch (error) {
    throw known("", `drmData ${error.message}`);
  }
  if (!keySystem) throw known("", `drmType "${type}" isn't mapped to a key system: the TV file's member "drm" does that`);
  const server = data.licenseServer ? new URL(data.licenseServer, document.baseURI).href : null;
  return { type, keySystem, server, headers: data.headers ?? {}, clearKeys: data.clearKeys ?? {} };
}

/** Throws Trouble where the browser lacks the key system. */
export async function checkKeySystem({ type, keySystem }, url) {
  const what = `key system ${keySystem} (drmType "${type}"): ${brief(url)}`;
  if (!navigator.requestMediaKeySystemAccess) throw known(what, "the browser has key systems only for pages from https or localhost");
  try {
    await navigator.requestMediaKeySystemAccess(keySystem, CONFIGURATIONS);
  } catch (error) {
    throw known(what, `the browser lacks the key system ${keySystem} (${error.message})`);
  }
}
