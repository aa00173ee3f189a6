import "./channel-app.js";
import { h } from "./dom.js";
import { duration } from "./format.js";
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
const connection = find("#connection");

function connected(kind, text) {
  connection.className = kind;
  connection.textContent = text;
}

function press(key) {
  if (key === "power") host.do({ tv: "poweroff", type: SUSPEND });
  else app.press(key);
}

function theme() {
  const select = find("#theme");
  const set = (value) => document.documentElement.style.setProperty("color-scheme", value || "light dark");
  select.value = localStorage.getItem("zelumo-theme") ?? "";
  set(select.value);
  select.addEventListener("input", () => {
    localStorage.setItem("zelumo-theme", select.value);
    set(select.value);
  });
}

function help() {
  const dialog = find("#help");
  find("#help-button").addEventListener("click", () => dialog.showModal());
  addEventListener("keydown", (event) => {
    if (event.key === "?" && !event.target.closest("input, textarea, select")) dialog.showModal();
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
plugin.addEventListener("lost", ({ detail }) =>
  detail.reason === "replaced" ? connected("bad", "Another page has the TV: reload to take it back") : connected("bad", "The TV host can't be reached, trying again"),
);

const [api] = await Promise.all([fetch("/page-api.json").then((response) => response.json()), host.connect()]);
let lost = false;
plugin.addEventListener("lost", () => (lost = true));
plugin.addEventListener("open", () => (lost = false));
remote.addEventListener("state", ({ detail: state }) => {
  if (!state || lost) return;
  connected("good", `Page ${state.page} · playing time ${duration(state.playingTime)}`);
  app.views.player.tvState(state);
});
app.start({ plugin });
remote.start({ api, plugin, host, press });
host.addEventListener("line", ({ detail }) => {
  if (detail.call?.startsWith("Bms") || "did" in detail) remote.stir();
});
app.focus();
document.body.append(h("span", { hidden: true, id: "started" }));
