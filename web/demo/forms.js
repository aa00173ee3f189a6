// SPDX-License-Identifier: Apache-2.0
import { h } from "./dom.js";

let lists = 0;

/** Fields of a form, the rare ones in an element of their own; value() gives their object, or throws an Error that says which field is wrong. */
export class Fields {
  element = h("div", { class: "fields" });
  rare = h("details", { class: "rare" }, h("summary", {}, "Rarely needed"));
  #readers = [];

  constructor(fields, changed) {
    for (const field of fields) {
      const { input, read, extra } = control(field);
      input.addEventListener("input", changed);
      input.name = field.name;
      const label = field.kind === "flag" ? [input, field.label] : [h("span", {}, field.label), input];
      (field.rare ? this.rare : this.element).append(h("label", { class: `field ${field.kind}`, title: field.help ?? "" }, ...label, extra));
      this.#readers.push([field, read]);
    }
    this.rare.hidden = !fields.some((field) => field.rare);
  }

  value() {
    const object = {};
    for (const [field, read] of this.#readers) {
      const value = read();
      if (value !== undefined) object[field.name] = value;
    }
    return object;
  }

  /** The control of a field. */
  control(name) {
    return this.element.querySelector(`[name="${name}"]`);
  }
}

function control(field) {
  const need = (text) => {
    if (text !== "" || field.optional) return;
    throw new Error(`${field.label} is empty`);
  };
  switch (field.kind) {
    case "flag": {
      const input = h("input", { type: "checkbox" });
      return { input, read: () => (input.checked ? ("on" in field ? field.on : true) : undefined) };
    }
    case "choice": {
      const input = h("select", {}, field.options.map(([value, label]) => h("option", { value: String(value) }, label)));
      input.value = String(field.value);
      const values = new Map(field.options.map(([value]) => [String(value), value]));
      return { input, read: () => (field.optional && input.value === "" ? undefined : values.get(input.value)) };
    }
    case "date": {
      const input = h("input", { type: "datetime-local", step: 1 });
      const read = () => {
        need(input.value);
        return new Date(input.value).getTime();
      };
      return { input, read };
    }
    default: {
      const input = h("input", { type: "text", value: String(field.value ?? ""), spellcheck: false, autocomplete: "off", placeholder: field.help ?? "" });
      if (field.kind === "number") input.inputMode = "numeric";
      let extra = null;
      if (field.options) {
        const list = h("datalist", { id: `list-${++lists}` }, field.options.map(([value, label]) => h("option", { value: String(value) }, label)));
        const meaning = h("small");
        const explain = () => (meaning.textContent = [...list.options].find(({ value }) => value === input.value)?.textContent ?? "");
        input.setAttribute("list", list.id);
        input.addEventListener("input", explain);
        explain();
        extra = [list, meaning];
      }
      const read = () => {
        const text = field.kind === "text" ? input.value : input.value.trim();
        if (field.kind === "text") return text === "" && field.optional ? undefined : text;
        need(text);
        if (text === "") return undefined;
        if (field.kind === "number") {
          const number = Number(text);
          if (!Number.isFinite(number)) throw new Error(`${field.label} isn't a number`);
          return number;
        }
        try {
          return JSON.parse(text);
        } catch {
          throw new Error(`${field.label} isn't JSON`);
        }
      };
      return { input, read, extra };
    }
  }
}

/** A button that copies a text. */
export function copyButton(text) {
  const button = h("button", {
    type: "button",
    class: "quiet",
    onclick: async () => {
      try {
        await navigator.clipboard.writeText(text());
        button.textContent = "Copied";
      } catch {
        button.textContent = "Not allowed";
      }
      setTimeout(() => (button.textContent = "Copy"), 1500);
    },
  }, "Copy");
  return button;
}

/**
 * A form with the script line that does the same. The line can be edited; what it says is what is sent.
 * `line(value)` makes the line of the fields' value, `send(line)` carries it out and gives what to show. `presets`, [label,
 * value] pairs for the one field, are buttons that send at once. With `later` the line can be put off: "in N seconds".
 */
export class LineForm {
  constructor({ title, about, fields, label, line, send, presets = [], later = false }) {
    this.#line = line;
    this.fields = new Fields(fields, () => this.refresh());
    this.later = later ? h("input", { type: "text", class: "later", inputMode: "decimal", autocomplete: "off", placeholder: "0", oninput: () => this.refresh() }) : null;
    this.presets = presets.map(([name, value]) =>
      h("button", { type: "button", dataset: { value }, onclick: () => this.#send(this.#line({ [fields[0].name]: value })) }, name),
    );
    this.text = h("textarea", { class: "line", rows: 1, spellcheck: false, "aria-label": "Script line", oninput: () => this.#check() });
    this.problem = h("p", { class: "problem", role: "status" });
    this.result = h("output", { class: "result" });
    this.button = h("button", { type: "submit", class: "primary" }, label ?? "Send");
    this.element = h(
      "form",
      {
        class: "line-form",
        onsubmit: (event) => {
          event.preventDefault();
          if (!this.button.disabled) this.#send(JSON.parse(this.text.value));
        },
      },
      title ? h("h3", {}, title) : null,
      about ? h("p", { class: "about" }, about) : null,
      this.presets.length ? h("div", { class: "presets", role: "group", "aria-label": title }, this.presets) : null,
      this.fields.element,
      this.text,
      h(
        "div",
        { class: "actions" },
        this.button,
        copyButton(() => this.text.value),
        this.later && h("label", { title: "Seconds of playing time until the TV does it" }, "in ", this.later, " s"),
        this.problem,
      ),
      this.fields.rare,
      this.result,
    );
    this.#carryOut = send;
    this.refresh();
  }

  #line;
  #carryOut;

  /** Makes the line again from the fields. */
  refresh() {
    try {
      this.text.value = JSON.stringify(this.#putOff(this.#line(this.fields.value())));
      this.#check();
    } catch (error) {
      this.#trouble(error.message);
    }
  }

  show(answer) {
    const bad = answer && (answer.error !== undefined || (typeof answer.code === "number" && answer.code !== 0));
    this.result.className = `result ${bad ? "bad" : "good"}`;
    this.result.textContent = answer === undefined ? "" : JSON.stringify(answer);
    this.result.title = this.result.textContent;
  }

  async #send(line) {
    this.show(await this.#carryOut(line));
  }

  #putOff(line) {
    const text = this.later?.value.trim() ?? "";
    if (text === "") return line;
    const ms = Math.round(Number(text) * 1000);
    if (!(ms >= 0 && Number.isSafeInteger(ms))) throw new Error("The seconds aren't a number");
    return { tv: "at", ms, do: line };
  }

  #check() {
    try {
      JSON.parse(this.text.value);
      this.#trouble("");
    } catch {
      this.#trouble("The line isn't JSON");
    }
  }

  #trouble(text) {
    this.problem.textContent = text;
    this.button.disabled = text !== "";
  }
}
