// SPDX-License-Identifier: Apache-2.0
// Gives pages the plug-in element, though they themselves don't load the script for it.

let script;

/** An init script: pages of these origins find this TV before anything else of theirs runs. */
export async function embedBefore(tvUrl, origins) {
  script ??= await load(`${tvUrl}/zelumo-embed.js`);
  return {
    content: `if (${JSON.stringify(origins)}.includes(location.origin)) {
  const embed = () => {
    Object.defineProperty(document, "currentScript", { configurable: true, value: { src: ${JSON.stringify(`${tvUrl}/zelumo-embed.js`)} } });
    try {
${script}
    } finally {
      delete document.currentScript;
    }
  };
  if (document.documentElement) embed();
  else new MutationObserver((_, observer) => {
    if (!document.documentElement) return;
    observer.disconnect();
    embed();
  }).observe(document, { childList: true });
}`,
  };
}

async function load(url) {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url}: ${response.status}`);
  return response.text();
}
