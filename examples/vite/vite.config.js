// SPDX-License-Identifier: Apache-2.0
const tv = process.env.ZELUMO_TV_URL ?? "http://127.0.0.1:8047";
const embed = { tag: "script", attrs: { src: `${tv}/zelumo-embed.js` }, injectTo: "head-prepend" };

export default {
  server: { port: 5173, strictPort: true }, // the origin that the TV host allows
  // While developing only: on the TV the page needs no such script.
  plugins: [{ name: "zelumo-tv", apply: "serve", transformIndexHtml: () => [embed] }],
};
