// SPDX-License-Identifier: Apache-2.0
const KEY = "zelumo-theme";

/** Shows how the connection stands: kind is "good" or "bad". */
export function connected(kind, text) {
  const element = document.querySelector("#connection");
  element.className = kind;
  element.textContent = text;
}

/** Makes the choice of colours work. */
export function theme() {
  const select = document.querySelector("#theme");
  const set = (value) => document.documentElement.style.setProperty("color-scheme", value || "light dark");
  select.value = localStorage.getItem(KEY) ?? "";
  set(select.value);
  select.addEventListener("input", () => {
    localStorage.setItem(KEY, select.value);
    set(select.value);
  });
}
