// SPDX-License-Identifier: Apache-2.0
// Where the browser plays: fetches what does so (zelumo-media/media.js), and gets it going. Everything is asked for at once, and
// not one after the other as the modules name each other, so that the first picture is there sooner.
const FOLDER = new URL("./zelumo-media/", import.meta.url);
const MODULES = [
  "codecs", "dash", "library", "media", "notices", "player", "reports", "rights", "sound", "source", "sources", "stage", "ticks", "timeline",
  "trouble", "voice",
];
const PLAIN = /\.(mp4|m4v|webm|ogv|mp3|m4a)$/i; // files that need no library, as most are named

function ask(rel, name, more = {}) {
  const link = Object.assign(document.createElement("link"), { rel, href: new URL(name, FOLDER).href, crossOrigin: "anonymous", ...more });
  link.onload = link.onerror = () => link.remove();
  document.documentElement.append(link);
}

/** What carries out the host's commands, and tells it by tell(line) what becomes of them. `address`: of the first stream. */
export async function start(tell, address = "") {
  for (const name of MODULES) ask("modulepreload", `${name}.js`);
  if (!PLAIN.test(address.split(/[?#]/, 1)[0])) {
    ask("preload", "shaka-player.dash.js", { as: "fetch" });
    // What fails here is tried again, and told, when the stream is loaded.
    import("./zelumo-media/library.js").then(({ loadShaka }) => loadShaka()).catch(() => {});
  }
  const { Media } = await import("./zelumo-media/media.js");
  return new Media({ tell });
}
