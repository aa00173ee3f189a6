// SPDX-License-Identifier: Apache-2.0
/**
 * Makes an element. Properties that begin with "on" are listeners; "class", "dataset", "style" and attributes with a
 * dash are set as such, null and undefined ones left out, all others set as properties.
 */
export function h(name, properties = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties ?? {})) {
    if (value === null || value === undefined) continue;
    if (key.startsWith("on")) element.addEventListener(key.slice(2), value);
    else if (key === "class") element.className = value;
    else if (key === "dataset") Object.assign(element.dataset, value);
    else if (key === "style") for (const [p, v] of Object.entries(value)) element.style.setProperty(p, v);
    else if (key.includes("-") || !(key in element)) element.setAttribute(key, value);
    else element[key] = value;
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}
