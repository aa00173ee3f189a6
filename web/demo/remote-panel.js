// SPDX-License-Identifier: Apache-2.0
import { commandForms } from "./command-forms.js";
import { h } from "./dom.js";
import { channelNumber, duration } from "./format.js";
import { LineForm } from "./forms.js";
import { RelayView } from "./relay-view.js";
import { verbs } from "./verbs.js";

const TABS = [
  ["relay", "Real TV"],
  ["tv", "TV"],
  ["player", "Player"],
  ["settings", "Settings"],
  ["time", "Time"],
  ["faults", "Faults"],
  ["commands", "Commands"],
  ["state", "State"],
  ["journal", "Journal"],
];
// What there is to do where a real TV stands behind the desk, and nowhere else.
const RELAYED = ["relay", "commands", "journal"];
// Where there is room, the journal stands beside the panels and has no tab.
const ROOMY = matchMedia("(min-width: 1001px)");

/** Beside the TV: forms for all that the TV and the page can do, and what the TV says of itself. */
class RemotePanel extends HTMLElement {
  #panels = new Map();
  #tabs = new Map();

  /** Without a plug-in there are no commands. `relayed`: a real TV is behind the desk, not stand-ins. */
  start({ api, plugin, host, relayed = false }) {
    this.host = host;
    const tabs = TABS.filter(([name]) => (relayed ? RELAYED.includes(name) : name !== "relay") && (plugin || name !== "commands"));
    this.first = tabs[0][0];
    this.append(this.#tabList(tabs));
    const groups = relayed ? {} : verbs(api);
    for (const [name] of tabs) {
      if (name === "journal") continue;
      const panel = h("div", { class: "panel", role: "tabpanel", id: `panel-${name}`, "aria-labelledby": `tab-${name}`, tabIndex: -1 });
      this.#panels.set(name, panel);
      this.append(panel);
      for (const verb of groups[name] ?? []) panel.append(this.#verbForm(verb).element);
    }
    if (relayed) {
      this.relay = new RelayView(host);
      this.#panels.get("relay").append(this.relay.element);
    } else {
      this.#completePlayers();
      this.#completeSettings();
      this.#completeTime();
      this.#completeFaults(api);
      this.stateView = h("dl", { class: "state" });
      this.#panels.get("state").append(this.stateView);
    }
    if (plugin) this.#panels.get("commands").append(commandForms(api, plugin));
    this.choose(this.first);
    ROOMY.addEventListener("change", () => {
      if (ROOMY.matches && this.parentElement.dataset.tab === "journal") this.choose(this.first);
    });
    host.addEventListener("line", ({ detail: { line, time } }) => {
      if (time && ("reply" in line || "did" in line)) this.stir();
    });
    this.#poll();
  }

  /** Shows a tab's panel; that of the journal is the journal itself, wherever it stands. */
  choose(name) {
    this.parentElement.dataset.tab = name;
    for (const [key, tab] of this.#tabs) {
      const chosen = key === name;
      if (this.#panels.has(key)) this.#panels.get(key).hidden = !chosen;
      tab.setAttribute("aria-selected", String(chosen));
      tab.tabIndex = chosen ? 0 : -1;
    }
  }

  #tabList(tabs) {
    const list = h("div", { class: "tabs", role: "tablist", "aria-label": "Panels" });
    for (const [name, label] of tabs) {
      const tab = h("button", { type: "button", role: "tab", id: `tab-${name}`, "aria-controls": name === "journal" ? name : `panel-${name}`, onclick: () => this.choose(name) }, label);
      tab.addEventListener("keydown", (event) => {
        const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
        if (!step) return;
        const names = [...this.#tabs.keys()].filter((key) => this.#tabs.get(key).checkVisibility());
        const next = names[(names.indexOf(name) + step + names.length) % names.length];
        this.choose(next);
        this.#tabs.get(next).focus();
        event.preventDefault();
      });
      this.#tabs.set(name, tab);
      list.append(tab);
    }
    return list;
  }

  #verbForm({ verb, name = verb, title, about, fields, presets, now, line = (value) => ({ tv: verb, ...value }) }) {
    const form = new LineForm({
      title,
      about,
      fields,
      presets,
      later: !now,
      label: { answer: "Set", restore: "Restore" }[verb] ?? "Send",
      line,
      send: async (line) => {
        const answer = await this.host.do(line);
        this.update();
        return answer;
      },
    });
    form.element.dataset.verb = name;
    this.forms ??= new Map();
    this.forms.set(name, form);
    return form;
  }

  #completeSettings() {
    this.settings = h("table", { class: "plain" });
    this.#panels.get("settings").append(h("h3", {}, "Settings store"), this.settings);
  }

  #completePlayers() {
    this.players = h("table", { class: "plain" });
    this.#panels.get("player").append(h("h3", {}, "Players"), this.players);
  }

  #completeTime() {
    this.pace = h("p", { class: "about" });
    this.scheduled = h("ol", { class: "scheduled" });
    this.#panels.get("time").prepend(this.pace);
    this.#panels.get("time").append(h("h3", {}, "Scheduled"), this.scheduled);
  }

  #completeFaults(api) {
    const form = this.forms.get("answer");
    const call = form.fields.control("call");
    call.addEventListener("input", () => {
      const { failure, written } = api.calls.find(({ name }) => name === call.value);
      const example = written.length ? JSON.stringify(written) : "";
      form.fields.control("result").value = failure.map((value) => JSON.stringify(value)).join("");
      form.fields.control("out").placeholder = example || "writes nothing";
      form.fields.control("out").title = example && `For example ${example}`;
      form.refresh();
    });
    this.answers = h("div", { class: "answers" });
    this.#panels.get("faults").append(h("h3", {}, "Answers in force"), this.answers);
  }

  // ---- What the TV says of itself

  /** Asks for the TV's state soon. */
  stir() {
    clearTimeout(this.stirred);
    this.stirred = setTimeout(() => this.update(), 80);
  }

  async #poll() {
    await this.update();
    setTimeout(() => this.#poll(), 1000);
  }

  /** Asks for the TV's state and shows it; "state" events tell of it. */
  async update() {
    const state = await this.host.state();
    this.dispatchEvent(new CustomEvent("state", { detail: state }));
    if (!state) return;
    if (this.relay) return state.relay && this.relay.show(state);
    if (state.relay) return;
    const players = state.players ?? [];
    const field = this.forms.get("report").fields.control("player");
    field.list.replaceChildren(...[101, ...players.map((p) => p.id)].map((id) => h("option", { value: String(id) }, id === 101 ? "registered with events" : "created by Init")));
    replace(
      this.players,
      players.length
        ? players.map((p) => h("tr", {}, h("th", { scope: "row" }, `${p.id} ${p.url.split("/").at(-1)}`), h("td", {}, p.state), h("td", { class: "note" }, `${duration(p.position)}${p.live ? " live" : ` of ${duration(p.duration)}`}`)))
        : [h("tr", {}, h("td", { class: "note" }, "None yet: the TV's player view makes some."))],
    );
    replace(
      this.settings,
      Object.entries(state.settings ?? {}).map(([key, value]) =>
        h("tr", {}, h("th", { scope: "row" }, key), h("td", {}, JSON.stringify(value)), h("td", { class: "note" }, (state.watches ?? []).includes(key) ? "watched" : "")),
      ),
    );
    replace(
      this.answers,
      (state.answers ?? []).length
        ? state.answers.map((answer) => {
            const name = typeof answer === "string" ? answer : (answer.call ?? "");
            return h(
              "div",
              { class: "answer" },
              h("code", {}, typeof answer === "string" ? answer : JSON.stringify(answer)),
              h("button", { type: "button", class: "quiet", onclick: () => this.host.do({ tv: "restore", call: name }).then(() => this.update()) }, "Restore"),
            );
          })
        : [h("p", { class: "about" }, "None: every call works as usual.")],
    );
    const speed = state.speed ?? 1;
    this.pace.textContent = `Playing time ${duration(state.playingTime)}, ${speed === 0 ? "standing still" : `running ${speed} × as fast`}; the TV's date: ${new Date(state.time).toLocaleString()}.`;
    const date = this.forms.get("clock").fields.control("date");
    if (!date.value) {
      date.value = new Date(state.time - new Date(state.time).getTimezoneOffset() * 60_000).toISOString().slice(0, 19);
      this.forms.get("clock").refresh();
    }
    for (const preset of this.forms.get("speed").presets) preset.setAttribute("aria-pressed", String(Number(preset.dataset.value) === speed));
    const scheduled = (state.scheduled ?? []).map(({ ms, do: { tv, ...fields } }) => h("li", {}, `in ${(ms / 1000).toFixed(1)} s `, h("code", {}, JSON.stringify({ tv, ...fields }))));
    replace(this.scheduled, scheduled.length ? scheduled : [h("li", { class: "about" }, 'Nothing. "in … s" beside a form\'s button puts its line off.')]);
    const channel = state.channel ?? {};
    const subscriptions = state.subscriptions ?? {};
    const rows = [
      ["Channel", channel.serviceId ? `${channelNumber(channel)} ${channel.name} (${channel.serviceId})` : "none"],
      ["Page", state.page ?? "none"],
      [
        "Players",
        players.length
          ? players.map((p) => {
              const rect = p.rect ? ` at ${p.rect.x}, ${p.rect.y}, ${p.rect.width} × ${p.rect.height}` : "";
              return `${p.id}: ${p.state}, ${duration(p.position)}${p.live ? " live" : ` of ${duration(p.duration)}`}${rect}`;
            })
          : "none",
      ],
      ["Events subscribed", (subscriptions.events ?? []).join(", ") || "none"],
      ["Signals watched", (subscriptions.signals ?? []).join(", ") || "none"],
      ["Power-off listeners", subscriptions.poweroff ?? 0],
      ["Player registrations", (subscriptions.players ?? []).map((p) => (typeof p === "object" ? JSON.stringify(p) : p)).join(", ") || "none"],
      ["Keys watched", (state.watches ?? []).join(", ") || "none"],
      ["Answers in force", (state.answers ?? []).length],
      ["Scheduled", scheduled.length],
      ["Speed", `${speed} ×`],
      ["TV time", new Date(state.time).toLocaleString()],
      ["Playing time", duration(state.playingTime)],
    ];
    replace(this.stateView, rows.flatMap(([name, value]) => [h("dt", {}, name), ...[value].flat().map((v) => h("dd", {}, String(v)))]));
  }
}

// Replaces what an element holds, but only where it reads otherwise: a selection in it survives.
function replace(element, children) {
  const next = h(element.localName, {}, children);
  if (next.textContent !== element.textContent || next.childElementCount !== element.childElementCount) element.replaceChildren(...next.childNodes);
}

customElements.define("remote-panel", RemotePanel);
