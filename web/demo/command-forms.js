// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { LineForm } from "./forms.js";

const GROUPS = [
  ["dispatcher", "Commands"],
  ["player", "Player commands"],
];

/** The choice of a command of the page's interface, and the form that sends it. */
export function commandForms(api, plugin) {
  const options = {
    event: api.events.map((e) => [e.event, e.command]),
    key: api.settings.keys.map((k) => [k.key, k.type]),
    address: ["film", "short", "live", "missing", "broken"].map((name) => [`http://sample.tv/${name}.mpd`, name]),
  };
  let form;
  const select = h(
    "select",
    { "aria-label": "Command", oninput: () => choose() },
    GROUPS.map(([kind, label]) => h("optgroup", { label }, api.commands.filter((c) => c.kind === kind).map((c) => h("option", { value: c.name }, c.name)))),
  );
  const way = h("select", { "aria-label": "Way", oninput: () => form.refresh() }, h("option", { value: "await" }, "await the reply"), h("option", { value: "post" }, "post"));
  const place = h("div");
  const choose = () => {
    const command = api.commands.find((c) => c.name === select.value);
    form = new LineForm({
      about: command.about,
      fields: command.parameters.map((p) => ({
        name: p.name,
        label: p.required ? p.name : `${p.name} (optional)`,
        kind: p.type === "integer" ? "number" : "text",
        optional: !p.required,
        value: command.example[p.name] ?? "",
        help: p.about,
        options: options[p.format],
      })),
      line: (value) => ({ [way.value]: { command: command.name, ...value } }),
      send: async (line) => send(plugin, line),
    });
    const errors = command.errors.map((e) => `${e.code} ${e.errorName.trim()}: ${e.errorMessage}`);
    place.replaceChildren(
      form.element,
      h("p", { class: "about" }, `Data: ${command.data.type}. ${command.data.about}`),
      h("p", { class: "about" }, errors.length ? `Errors: ${[...new Set(errors)].join("; ")}.` : "It never fails."),
    );
  };
  choose();
  return h(
    "div",
    {},
    h("div", { class: "fields" }, h("label", { class: "field wide" }, h("span", {}, "Command"), select), h("label", { class: "field" }, h("span", {}, "Way"), way)),
    place,
  );
}

function send(plugin, line) {
  try {
    if ("await" in line) return plugin.send(line.await);
    if ("post" in line) {
      plugin.post(line.post);
      return undefined;
    }
    return { error: 'The line has neither "await" nor "post".' };
  } catch (error) {
    return { error: error.message };
  }
}
