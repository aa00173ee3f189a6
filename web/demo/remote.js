// SPDX-License-Identifier: Apache-2.0
import { duration } from "./format.js";
import { connected, theme } from "./header.js";
import { Host } from "./host.js";
import "./journal-view.js";
import { relayWords } from "./relay-view.js";
import "./remote-keys.js";
import "./remote-panel.js";

const host = new Host();
const remote = document.querySelector("remote-panel");

theme();
document.querySelector("journal-view").start(host);
const [api, begin] = await Promise.all([fetch("/page-api.json").then((response) => response.json()), host.state(), host.connect()]);
remote.addEventListener("state", ({ detail: state }) => {
  if (!state) connected("bad", "The TV host can't be reached, trying again");
  else if (state.relay) connected(...relayWords(state));
  else connected("good", `${state.page === null ? "No page open" : "Page open"} · playing time ${duration(state.playingTime)}`);
});
const relayed = Boolean(begin?.relay);
document.querySelector("remote-keys").start(host, { relayed });
remote.start({ api, host, relayed });
