// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";
import { BLOCKS } from "./keys.js";

const INTO_SUSPEND = { tv: "poweroff", type: 0x40000000 };

/** The remote's keys: each is pressed on the TV, which hands it to the page that it shows. */
class RemoteKeys extends HTMLElement {
  /** `relayed`: a real TV is behind the desk, which goes into suspend by its own remote alone. */
  start(host, { relayed = false } = {}) {
    const problem = h("p", { class: "problem", role: "status" });
    const button = (properties, label, verb) =>
      h(
        "button",
        {
          type: "button",
          ...properties,
          // The page that gets the key may be this one: what has the focus there keeps it.
          onmousedown: (event) => event.preventDefault(),
          onclick: async () => (problem.textContent = (await host.do(verb)).error ?? ""),
        },
        label,
      );
    const suspend = button({ class: "suspend", title: "The power service says that the TV goes into suspend" }, "Suspend", INTO_SUSPEND);
    this.append(
      ...BLOCKS.map(([name, keys]) =>
        h(
          "div",
          { class: name },
          keys.map(([key, label, spoken, about]) => button({ dataset: { key }, "aria-label": spoken || label, title: about ?? (spoken || label) }, label, { tv: "key", key })),
          name === "functions" && !relayed ? suspend : null,
        ),
      ),
      problem,
    );
  }
}

customElements.define("remote-keys", RemoteKeys);
