// SPDX-License-Identifier: Apache-2.0
/** Numbers too long for a double become strings, so that service ids stay whole. Only for texts without free text in them. */
export const parseIds = (text) => JSON.parse(text.replace(/(:\s*)(\d{16,})(?=\s*[,}\]])/g, '$1"$2"'));

function parse(text) {
  try {
    return JSON.parse(text);
  } catch {
    return null;
  }
}

/**
 * The plug-in as the channel app sees it. Events: "service" (a content-service event, TV signal or settings change; detail
 * is the posted message), "player" (a player event), "open" (the plug-in was opened anew), "lost" (detail.reason).
 */
export class Plugin extends EventTarget {
  #element;

  constructor(element) {
    super();
    this.#element = element;
    const forward = (name, detail) => this.dispatchEvent(new CustomEvent(name, { detail }));
    element.addEventListener("message", ({ data }) => forward(data.event === "ZELUMO_EVENT" ? "player" : "service", data));
    element.addEventListener("zelumoopen", ({ detail }) => forward("open", detail));
    element.addEventListener("zelumolost", ({ detail }) => forward("lost", detail));
  }

  /** Sends any message and waits; throws as the element does. */
  send(message) {
    return this.#element.postMessageAndAwaitResponse(message);
  }

  /** Posts any message. */
  post(message) {
    this.#element.postMessage(message);
  }

  /** A command's reply; code -1 when there is no plug-in to ask. */
  ask(command, parameters = {}) {
    try {
      return this.send({ command, ...parameters });
    } catch (error) {
      return { code: -1, errorName: error.reason ?? error.name, errorMessage: error.message, data: null };
    }
  }

  /** A content-service command's answer, or null. */
  query(command, request) {
    const reply = this.ask(command, { input: JSON.stringify(request) });
    return reply.code === 0 ? parse(reply.data) : null;
  }

  /** [{id, major, minor, name}] of the line-up; names are empty where the content service knows none. */
  channels() {
    const list = this.ask("GetZELumoServices");
    if (list.code !== 0) return [];
    const named = this.query("GetFeaturedVirtualChannelInfo", {})?.channels ?? [];
    const names = new Map(named.map((channel) => [String(channel.TCServiceId), channel.name]));
    return (parseIds(list.data).TCServiceData ?? []).map(({ id, major, minor }) => ({
      id: String(id),
      major,
      minor,
      name: names.get(String(id)) ?? "",
    }));
  }

  /** The current channel's record, or null. */
  currentChannel() {
    const reply = this.ask("GetCurrentChannelInfo");
    return reply.code === 0 ? parse(reply.data) : null;
  }
}

export { parse };
