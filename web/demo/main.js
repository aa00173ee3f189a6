import "./channel-app.js";
import { h } from "./dom.js";
import { duration } from "./format.js";
import { connected, theme } from "./header.js";
import { Host } from "./host.js";
import "./journal-view.js";
import { Plugin } from "./plugin.js";
import "./remote-panel.js";

const SUSPEND = 0x40000000;
const find = (selector) => document.querySelector(selector);

const plugin = new Plugin(find("embed"));
const host = new Host();
const app = find("channel-app");
const remote = find("remote-panel");
const journal = find("journal-view");

function press(key) {
  if (key === "power") host.do({ tv: "poweroff", type: SUSPEND });
  else app.press(key);
}

function help() {
  const dialog = find("#help");
  find("#help-button").addEventListener("click", () => dialog.showModal());
  addEventListener("keydown", (event) => {
    if (event.key === "?" && !dialog.open && !event.target.closest("input, textarea, select")) dialog.showModal();
  });
}

// Keys that nothing else wants go to the TV.
addEventListener("keydown", (event) => {
  if (event.target !== document.body || event.key === "Tab") return;
  app.focus();
  if (!app.dispatchEvent(new KeyboardEvent("keydown", event))) event.preventDefault();
});

theme();
help();

journal.start(host);
plugin.addEventListener("request", ({ detail }) => host.expect(detail));
let lost = false;
plugin.addEventListener("lost", ({ detail }) => {
  lost = true;
  connected("bad", detail.reason === "replaced" ? "Another page has the TV: reload to take it back" : "The TV host can't be reached, trying again");
});
plugin.addEventListener("open", () => (lost = false));

const [api] = await Promise.all([fetch("/page-api.json").then((response) => response.json()), host.connect()]);
remote.addEventListener("state", ({ detail: state }) => {
  if (!state || lost) return;
  connected("good", `Page open · playing time ${duration(state.playingTime)}`);
  app.views.player.tvState(state);
});
app.start({ plugin });
remote.start({ api, plugin, host, press });
app.focus();
document.body.append(h("span", { hidden: true, id: "started" }));
