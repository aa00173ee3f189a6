// A plug-in for Vite: while pages are developed, there is a TV for them.
import { checkOptions } from "./lib/near.js";
import { OPTIONS } from "./lib/host.js";
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
  let tv;
  let address = given === undefined ? undefined : Promise.resolve(given.replace(/\/$/, ""));

  async function start(server) {
    const clock = options.speed === undefined ? { clock: "real" } : {};
    const origins = [options.allowOrigins ?? [], originsOf(server)].flat();
    tv = await startTv({ log: (line) => server.config.logger.info(line), ...clock, ...options, allowOrigins: [...new Set(origins)] });
    return tv.url;
  }

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
      const { listen, printUrls, close } = server;
      server.listen = async (...given) => {
        const listening = await listen.apply(server, given);
        address ??= start(server);
        await address;
        return listening;
      };
      server.printUrls = () => {
        printUrls.call(server);
        address?.then((url) => url && logger.info(`  ➜  TV:      ${url}/\n  ➜  Remote:  ${url}/demo/remote.html`));
      };
      server.close = async () => {
        await tv?.close();
        return close.call(server);
      };
    },

    async transformIndexHtml() {
      const url = await address;
      return url ? [{ tag: "script", attrs: { src: `${url}/zelumo-embed.js` }, injectTo: "head-prepend" }] : [];
    },
  };
}
