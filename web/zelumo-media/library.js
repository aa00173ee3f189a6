// SPDX-License-Identifier: Apache-2.0
// shaka-player, which is loaded when the first stream needs it.
import { known } from "./trouble.js";

const ADDRESS = new URL("./shaka-player.dash.js", import.meta.url);
const MISSING = "shaka-player isn't there: ./setup media installs it";
const KEPT_OUT = "the page's Content-Security-Policy keeps shaka-player out";

let loading = null;

/** Gives its namespace; throws Trouble where it isn't there. The page's own globals stay as they are. */
export function loadShaka() {
  loading ??= load().catch((error) => {
    loading = null;
    throw error;
  });
  return loading;
}

async function load() {
  const answer = await fetch(ADDRESS).catch(() => null);
  if (!answer?.ok) throw known("", MISSING);
  const text = await answer.text();
  const namespace = {};
  // It gives what it has to `exports` where there are any, as to a CommonJS module.
  let run;
  try {
    run = new Function("exports", "module", "define", `${text}\n//# sourceURL=${ADDRESS}`);
  } catch (error) {
    if (error instanceof EvalError) return loadTag().catch(() => Promise.reject(known("", KEPT_OUT)));
    throw known("", `${MISSING} (${error.message})`);
  }
  run(namespace, undefined, undefined);
  return ready(namespace);
}

// The build that plays only DASH lacks data: addresses, by which it hands itself the license that clear keys make.
function ready(namespace) {
  if (!namespace.Player) throw known("", MISSING);
  namespace.net.NetworkingEngine.registerScheme("data", (uri, request) => {
    const [, isBase64, text] = uri.match(/^data:[^,]*?(;base64)?,(.*)$/s) ?? [];
    const plain = decodeURIComponent(text ?? "");
    const bytes = isBase64 ? Uint8Array.from(atob(plain), (letter) => letter.charCodeAt(0)) : new TextEncoder().encode(plain);
    return namespace.util.AbortableOperation.completed({ uri, originalUri: uri, data: bytes.buffer, headers: {}, originalRequest: request });
  });
  return namespace;
}

// Where the page's policy forbids to make functions of text: a script element, which alone sees `exports`.
function loadTag() {
  const namespace = {};
  const before = Object.getOwnPropertyDescriptor(window, "exports");
  const script = document.createElement("script");
  return new Promise((resolve, reject) => {
    Object.defineProperty(window, "exports", {
      configurable: true,
      get: () => (document.currentScript === script ? namespace : before?.value),
      set: (value) => Object.defineProperty(window, "exports", { value, configurable: true, enumerable: true, writable: true }),
    });
    script.onload = resolve;
    script.onerror = reject;
    script.src = ADDRESS;
    document.documentElement.append(script);
  })
    .finally(() => {
      script.remove();
      if (Object.getOwnPropertyDescriptor(window, "exports")?.get) {
        if (before) Object.defineProperty(window, "exports", before);
        else delete window.exports;
      }
    })
    .then(() => ready(namespace));
}
