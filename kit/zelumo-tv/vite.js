// SPDX-License-Identifier: Apache-2.0
// A plug-in for Vite: while pages are developed, there is a TV for them.
import { checkOptions } from "./lib/near.js";
import { OPTIONS, pathsFrom } from "./lib/host.js";
import { startTv } from "./lib/tv.js";

/** The origins by which the dev server's pages are opened. */
function originsOf(server) {
  const { port } = server.httpServer.address();
  const scheme = server.config.server.https ? "https" : "http";
  const origins = ["localhost", "127.0.0.1", "[::1]"].map((host) => `${scheme}://${host}:${port}`);
  for (const url of [...(server.resolvedUrls?.local ?? []), ...(server.resolvedUrls?.network ?? [])]) origins.push(new URL(url).origin);
  return [...new Set(origins)];
}

export function zelumoTv(options = {}) {
  checkOptions("zelumoTv", options, OPTIONS);
  // A TV that runs already, or, empty, none: a test has its own.
  const given = process.env.ZELUMO_TV_URL;
  let started;
  let address = given === undefined ? undefined : Promise.resolve(given.replace(/\/$/, ""));

  async function start(server) {
    const clock = options.speed === undefined ? { clock: "real" } : {};
    const origins = [options.allowOrigins ?? [], originsOf(server)].flat();
    const own = pathsFrom(server.config.root, { log: (line) => server.config.logger.info(line), ...clock, ...options });
    started = startTv({ ...own, allowOrigins: [...new Set(origins)] });
    return (await started).url;
  }
  // One that is still starting, too; where it couldn't, that was told.
  const end = async () => (await started?.catch(() => {}))?.close();

  return {
    name: "zelumo-tv",
    apply: "serve",

    configureServer(server) {
      const { logger } = server.config;
      if (given === "" || process.env.VITEST) {
        address = Promise.resolve("");
        return;
      }
      if (!server.httpServer) {
        if (!address) logger.warn("zelumo-tv: without a server of Vite's own there is no TV; name one in ZELUMO_TV_URL");
        address ??= Promise.resolve("");
        return;
      }
      const tell = (url) => url && logger.info(`  ➜  TV:      ${url}/\n  ➜  Remote:  ${url}/demo/remote.html`);
      const { listen, printUrls, close } = server;
      server.listen = async (port, isRestart) => {
        const listening = await listen.call(server, port, isRestart);
        address ??= start(server);
        const url = await address;
        // After a restart Vite tells no addresses that are as they were, but the TV is another.
        if (isRestart) tell(url);
        return listening;
      };
      server.printUrls = () => {
        printUrls.call(server);
        address?.then(tell, () => {});
      };
      // Whoever closes the server waits for the TV; a restart closes it otherwise, and only the port tells.
      server.httpServer.once("close", end);
      server.close = async () => {
        await end();
        return close.call(server);
      };
    },

    async transformIndexHtml() {
      const url = await address;
      return url ? [{ tag: "script", attrs: { src: `${url}/zelumo-embed.js` }, injectTo: "head-prepend" }] : [];
    },
  };
}
