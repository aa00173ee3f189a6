// SPDX-License-Identifier: Apache-2.0
import "./channel-app.js";
import { h } from "./dom.js";
import { duration } from "./format.js";
import { connected, theme } from "./header.js";
import { Host } from "./host.js";
import "./journal-view.js";
import { Plugin } from "./plugin.js";
import { relayWords } from "./relay-view.js";
import "./remote-keys.js";
import "./remote-panel.js";

const find = (selector) => document.querySelector(selector);

const plugin = new Plugin(find("embed"));
const host = new Host();
const app = find("channel-app");
const remote = find("remote-panel");

function help() {
  const dialog = find("#help");
  find("#help-button").addEventListener("click", () => dialog.showModal());
  addEventListener("keydown", (event) => {
    if (event.key === "?" && !dialog.open && !event.target.closest("input, textarea, select")) dialog.showModal();
  });
}

// Keys that nothing else wants go to the TV, and those of the remote go there whatever has the focus on this desk.
addEventListener("keydown", (event) => {
  if (app.contains(event.target) || event.key === "Tab" || (event.isTrusted && event.target !== document.body)) return;
  if (event.isTrusted) app.focus();
  if (!app.dispatchEvent(new KeyboardEvent("keydown", event))) event.preventDefault();
});

theme();
help();

find("journal-view").start(host);
let lost = ""; // why the page has no TV
plugin.addEventListener("lost", ({ detail }) => {
  lost = detail.reason;
  connected("bad", detail.reason === "replaced" ? "Another page has the TV: reload to take it back" : "The TV host can't be reached, trying again");
});
plugin.addEventListener("open", () => (lost = ""));

const [api, state] = await Promise.all([fetch("/page-api.json").then((response) => response.json()), host.state(), host.connect()]);
const show = (now) => {
  if (now?.relay && lost !== "replaced") return connected(...relayWords(now));
  if (!now || lost) return;
  connected("good", `Page open · playing time ${duration(now.playingTime)}`);
  app.tvState(now);
};
show(state);
remote.addEventListener("state", ({ detail }) => show(detail));
app.start({ plugin });
const relayed = Boolean(state?.relay);
find("remote-keys").start(host, { relayed });
remote.start({ api, plugin, host, relayed });
app.focus();
document.body.append(h("span", { hidden: true, id: "started" }));
