// SPDX-License-Identifier: Apache-2.0
import { bannerText } from "./banner.js";

const tv = document.querySelector("embed");
const ask = (command, parameters) => tv.postMessageAndAwaitResponse({ command, ...parameters }).data;
let text = bannerText;

function show() {
  document.querySelector("#banner").textContent = text(JSON.parse(ask("GetCurrentChannelInfo")));
}

const CHANNEL_ENTERED = 90020;
ask("RegisterEvent", { event: CHANNEL_ENTERED });
tv.addEventListener("message", ({ data }) => {
  if (data.data?.event === CHANNEL_ENTERED) show();
});
addEventListener("keydown", ({ key }) => {
  if (key === "ArrowUp") ask("SetNextService");
  if (key === "ArrowDown") ask("SetPreviousService");
});
show();

// A saved banner.js takes the old one's place; the page, and with it its instance in the TV, lives on.
import.meta.hot?.accept("./banner.js", (banner) => {
  text = banner.bannerText;
  show();
});
