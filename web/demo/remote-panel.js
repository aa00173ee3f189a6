import { h } from "./dom.js";
import { channelNumber, duration } from "./format.js";
import { LineForm } from "./forms.js";
import { CALLS, verbs } from "./verbs.js";

const TABS = [
  ["tv", "TV"],
  ["player", "Player"],
  ["settings", "Settings"],
  ["faults", "Faults"],
  ["commands", "Commands"],
  ["state", "State"],
];

// Keys of the remote: name, label, spoken name.
const PAD = [
  [null, ["up", "▲", "Up"], null, ["left", "◀", "Left"], ["ok", "OK", "OK"], ["right", "▶", "Right"], ["back", "↩", "Back"], ["down", "▼", "Down"], null],
  ["1", "2", "3", "4", "5", "6", "7", "8", "9", null, "0", null].map((d) => d && [d, d, `Digit ${d}`]),
  [
    ["live", "Live TV", ""],
    ["channelup", "Ch +", "Channel up"],
    ["list", "Channels", ""],
    ["channeldown", "Ch −", "Channel down"],
    ["guide", "Guide", ""],
    ["player", "Player", ""],
    ["settings", "Settings", ""],
    ["power", "Power", "Power off into suspend"],
  ],
];

/** The remote beside the TV: keys, and forms for all that the TV and the page can do. */
class RemotePanel extends HTMLElement {
  #panels = new Map();
  #tabs = new Map();

  /** `press(key)` is called for the remote's keys. Without a plug-in there are neither keys nor commands. */
  start({ api, plugin, host, press }) {
    this.api = api;
    this.plugin = plugin;
    this.host = host;
    if (press) this.append(this.#keypad(press));
    const tabs = TABS.filter(([name]) => plugin || name !== "commands");
    this.append(this.#tabList(tabs));
    const groups = verbs(api);
    for (const [name] of tabs) {
      const panel = h("div", { class: "panel", role: "tabpanel", id: `panel-${name}`, "aria-labelledby": `tab-${name}`, tabIndex: -1 });
      this.#panels.set(name, panel);
      this.append(panel);
      for (const verb of groups[name] ?? []) panel.append(this.#verbForm(verb).element);
    }
    this.#completePlayers();
    this.#completeSettings();
    this.#completeFaults();
    if (plugin) this.#commands();
    this.#state();
    this.choose("tv");
    plugin?.addEventListener("request", () => this.stir());
    host.addEventListener("line", ({ detail }) => {
      if (detail.call?.startsWith("Bms") || "did" in detail) this.stir();
    });
    this.#poll();
  }

  choose(name) {
    for (const [key, panel] of this.#panels) {
      const chosen = key === name;
      panel.hidden = !chosen;
      const tab = this.#tabs.get(key);
      tab.setAttribute("aria-selected", String(chosen));
      tab.tabIndex = chosen ? 0 : -1;
    }
  }

  #keypad(press) {
    return h(
      "div",
      { class: "keypad", role: "group", "aria-label": "Remote keys" },
      PAD.map((keys, i) =>
        h(
          "div",
          { class: ["dpad", "digits", "functions"][i] },
          keys.map((key) =>
            key ? h("button", { type: "button", dataset: { key: key[0] }, "aria-label": key[2] || key[1], onclick: () => press(key[0]) }, key[1]) : h("span"),
          ),
        ),
      ),
    );
  }

  #tabList(tabs) {
    const list = h("div", { class: "tabs", role: "tablist", "aria-label": "Remote" });
    const names = tabs.map(([name]) => name);
    for (const [name, label] of tabs) {
      const tab = h("button", { type: "button", role: "tab", id: `tab-${name}`, "aria-controls": `panel-${name}`, onclick: () => this.choose(name) }, label);
      tab.addEventListener("keydown", (event) => {
        const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
        if (!step) return;
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

  #verbForm({ verb, title, about, fields }) {
    const form = new LineForm({
      title,
      about,
      fields,
      label: title === "Answer a platform call" ? "Set" : title === "Restore" ? "Restore" : "Send",
      line: (value) => ({ tv: verb, ...value }),
      send: async (line) => {
        const answer = await this.host.do(line);
        this.update();
        return answer;
      },
    });
    form.element.dataset.verb = verb;
    this.forms ??= new Map();
    this.forms.set(verb, form);
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

  #completeFaults() {
    const form = this.forms.get("answer");
    const call = form.fields.control("call");
    const hints = new Map(CALLS.map(([name, result, out]) => [name, { result, out }]));
    call.addEventListener("input", () => {
      const { result, out } = hints.get(call.value);
      form.fields.control("result").value = result;
      form.fields.control("out").placeholder = out || "writes nothing";
      form.fields.control("out").title = out ? `For example ${out}` : "";
      form.refresh();
    });
    this.answers = h("div", { class: "answers" });
    this.#panels.get("faults").append(h("h3", {}, "Answers in force"), this.answers);
  }

  #commands() {
    const panel = this.#panels.get("commands");
    const groups = [
      ["dispatcher", "Commands"],
      ["player", "Player commands"],
    ];
    const select = h(
      "select",
      { "aria-label": "Command", oninput: () => choose() },
      groups.map(([kind, label]) =>
        h("optgroup", { label }, this.api.commands.filter((c) => c.kind === kind).map((c) => h("option", { value: c.name }, c.name))),
      ),
    );
    const way = h("select", { "aria-label": "Way", oninput: () => this.console.refresh() }, h("option", { value: "await" }, "await the reply"), h("option", { value: "post" }, "post"));
    const place = h("div");
    const choose = () => {
      const command = this.api.commands.find((c) => c.name === select.value);
      this.console = new LineForm({
        about: command.about,
        fields: command.parameters.map((p) => ({
          name: p.name,
          label: p.required ? p.name : `${p.name} (optional)`,
          kind: p.type === "integer" ? "number" : "text",
          optional: !p.required,
          value: command.example[p.name] ?? "",
          help: p.about,
          options: this.#options(p.format),
        })),
        line: (value) => ({ [way.value]: { command: command.name, ...value } }),
        send: async (line) => this.#sendMessage(line),
      });
      const errors = command.errors.map((e) => `${e.code} ${e.errorName.trim()}: ${e.errorMessage}`);
      place.replaceChildren(
        this.console.element,
        h("p", { class: "about" }, `Data: ${command.data.type}. ${command.data.about}`),
        h("p", { class: "about" }, errors.length ? `Errors: ${[...new Set(errors)].join("; ")}.` : "It never fails."),
      );
    };
    panel.append(h("div", { class: "fields" }, h("label", { class: "field wide" }, h("span", {}, "Command"), select), h("label", { class: "field" }, h("span", {}, "Way"), way)), place);
    choose();
  }

  #options(format) {
    if (format === "event") return this.api.events.map((e) => [e.event, e.command]);
    if (format === "key") return this.api.settings.keys.map((k) => [k.key, k.type]);
    if (format === "address") return ["film", "short", "live", "missing", "broken"].map((name) => [`http://sample.tv/${name}.mpd`, name]);
    return undefined;
  }

  #sendMessage(line) {
    try {
      if ("await" in line) return this.plugin.send(line.await);
      if ("post" in line) {
        this.plugin.post(line.post);
        return undefined;
      }
      return { error: 'The line has neither "await" nor "post".' };
    } catch (error) {
      return { error: error.message };
    }
  }

  // ---- What the TV says of itself

  #state() {
    this.stateView = h("dl", { class: "state" });
    this.#panels.get("state").append(this.stateView);
  }

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
