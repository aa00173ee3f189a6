// SPDX-License-Identifier: Apache-2.0
// Stands in for the web runtime in a desktop browser: gives every <embed type="application/x-zelumo"> the three things
// that a plug-in element has on the TV.
//
//   element.postMessage(message)                    posts a message and goes on
//   element.postMessageAndAwaitResponse(message)    sends a message, blocks, returns the reply
//   "message" events                                event.data is what the plug-in posted
//
// and gives the page the keys of the remote, as "keydown" and "keyup" events at the focused element.
//
// One classic script tag, before or after the elements. docs/page-api.md says how values cross and what happens when
// the TV host goes away.
(() => {
  "use strict";

  const TYPE = "application/x-zelumo";
  const SELECTOR = `embed[type="${TYPE}" i]`;
  const HOST = new URL("/", document.currentScript?.src || location.href).origin;
  const RETRY_MS = 1000;

  const proto = HTMLEmbedElement.prototype;
  const natively = navigator.mimeTypes?.namedItem?.(TYPE);
  if (natively || "postMessageAndAwaitResponse" in proto) return;

  // ---- Values

  const refuse = (what) => {
    throw new DOMException(`Failed to execute 'postMessage': ${what} could not be cloned.`, "DataCloneError");
  };
  const text = (string) => JSON.stringify(string.replace(/\p{Surrogate}/gu, "\uFFFD"));
  const tag = (value) => Object.prototype.toString.call(value).slice(8, -1);

  // JSON text of a message. `above` holds the containers around the value.
  function encode(value, above = []) {
    switch (typeof value) {
      case "undefined":
        return "null";
      case "boolean":
        return String(value);
      case "string":
        return text(value);
      case "number":
        if (!Number.isFinite(value)) refuse(String(value));
        return Object.is(value, -0) ? "-0.0" : String(value);
      case "function":
        return refuse(`function ${value.name || ""}`.trim());
      case "object":
        break;
      default:
        return refuse(typeof value === "bigint" ? `${value}n` : String(value));
    }
    if (value === null) return "null";
    if (value instanceof Number || value instanceof String || value instanceof Boolean) return encode(value.valueOf());
    if (above.includes(value)) refuse("a value that contains itself");
    const isList = Array.isArray(value);
    if (!isList && tag(value) !== "Object") refuse(`${tag(value)} object`);
    above.push(value);
    let inside = "";
    if (isList) for (const item of value) inside += (inside && ",") + encode(item, above);
    else for (const key of Object.keys(value)) inside += `${inside && ","}${text(key)}:${encode(value[key], above)}`;
    above.pop();
    return isList ? `[${inside}]` : `{${inside}}`;
  }

  // ---- Requests. They are synchronous, so that messages arrive in the order in which the page sent them.

  class Failure extends Error {
    constructor(reason, message) {
      super(message);
      this.name = "ZelumoError";
      this.reason = reason;
    }
  }

  function request(method, path, body) {
    const xhr = new XMLHttpRequest();
    try {
      // Without a content type of its own, so that a page of another origin is spared the question in advance.
      xhr.open(method, HOST + path, false);
      xhr.send(body);
    } catch {
      const hint = HOST === location.origin ? "" : ` If it runs, start it with --allow-origin ${location.origin}.`;
      throw new Failure("unreachable", `The TV host at ${HOST} can't be reached.${hint}`);
    }
    return xhr;
  }

  function errorText(xhr) {
    try {
      return JSON.parse(xhr.responseText).error;
    } catch {
      return undefined;
    }
  }

  // ---- The page: one plug-in instance for the document's elements

  const elements = new Set();
  let state = "closed"; // "open"; "lost": the host is gone; "replaced": another page has the TV
  let page = null; // number of the open page
  const sockets = new Map(); // of the open page, by their names
  let timer = 0;

  function tell(name, reason) {
    for (const element of [...elements]) element.dispatchEvent(new CustomEvent(name, { detail: { page, reason } }));
  }

  function enter(next) {
    const own = [...sockets.values()];
    sockets.clear();
    release();
    for (const socket of own) socket.close();
    clearTimeout(timer);
    state = next;
    if (next !== "open") page = null;
  }

  // The page's WebSockets, and what is done with what they bring.
  const hear = {
    messages(message) {
      for (const element of [...elements]) element.dispatchEvent(new MessageEvent("message", { data: message }));
    },
    runtime(line) {
      if ("key" in line) press(line);
      else if ("media" in line) play(line.media);
    },
  };

  // Connects those that aren't.
  function listen() {
    for (const name of Object.keys(hear)) {
      if (sockets.has(name)) continue;
      const own = new WebSocket(`${HOST.replace("http", "ws")}/page/${page}/${name}`);
      sockets.set(name, own);
      own.onmessage = ({ data }) => {
        if (sockets.get(name) === own) hear[name](JSON.parse(data));
      };
      own.onclose = () => {
        if (sockets.get(name) !== own) return;
        sockets.delete(name);
        // The host takes what plays for lost then.
        if (name === "runtime") release();
        findOut();
      };
    }
  }

  // Opens the page, whoever has the TV; throws a Failure.
  function open() {
    const xhr = request("POST", "/page/open");
    if (xhr.status !== 200) throw new Failure("refused", `The TV host didn't open the page: ${errorText(xhr) ?? xhr.status}.`);
    enter("open");
    page = JSON.parse(xhr.responseText).page;
    listen();
  }

  // Opens the page again if the TV is free; throws a Failure.
  function reopen() {
    if (JSON.parse(request("GET", "/tv/state").responseText).page !== null) {
      lose("replaced");
      throw takenAway();
    }
    open();
    tell("zelumoopen");
  }

  function close() {
    if (state === "open") navigator.sendBeacon(`${HOST}/page/${page}/close`);
    enter("closed");
  }

  function lose(reason) {
    const next = reason === "replaced" ? "replaced" : "lost";
    const news = state !== next;
    enter(next);
    if (next === "lost") timer = setTimeout(findOut, RETRY_MS);
    if (news) tell("zelumolost", reason);
  }

  const takenAway = () => new Failure("replaced", "Another page has the TV now. Reload this one to take it back.");

  // In the background, once the messages have stopped coming: asks the host which page has the TV.
  async function findOut() {
    const asked = page;
    const before = state;
    let owner;
    try {
      owner = (await (await fetch(`${HOST}/tv/state`)).json()).page;
    } catch {
      if (state === before && page === asked) lose("unreachable");
      return;
    }
    if (state !== before || page !== asked) return;
    if (state === "open" && owner === asked) {
      clearTimeout(timer);
      timer = setTimeout(listen, RETRY_MS);
      return;
    }
    try {
      reopen();
    } catch (failure) {
      lose(failure.reason);
    }
  }

  // Delivers a message. A host that was restarted doesn't know the page: then the page is opened and the message sent again.
  function send(kind, body) {
    if (state === "replaced") throw takenAway();
    try {
      if (state !== "open") reopen();
      let xhr = request("POST", `/page/${page}/${kind}`, body);
      if (xhr.status === 404 || xhr.status === 410) {
        enter("lost");
        reopen();
        xhr = request("POST", `/page/${page}/${kind}`, body);
      }
      if (xhr.status < 300) return xhr;
      throw new Failure("refused", `The TV host refused the message: ${errorText(xhr) ?? xhr.status}.`);
    } catch (failure) {
      if (failure.reason === "unreachable") lose("unreachable");
      throw failure;
    }
  }

  // ---- Streams, where the host lets the browser play them. What does so is fetched with the first one.

  let media = null; // a promise

  const release = () => media?.then((player) => player.releaseAll(), () => {});

  function play(command) {
    const tell = (line) => {
      const socket = sockets.get("runtime");
      if (socket?.readyState === WebSocket.OPEN) socket.send(JSON.stringify(line));
    };
    media ??= import(`${HOST}/zelumo-media.js`).then(({ start }) => start(tell, command.url));
    media.then((player) => player.do(command), ({ message }) => {
      media = null;
      const status = { state: "failed", position: 0, duration: 0, live: false, rate: 0 };
      if (command.do === "create") tell({ tv: "media", player: command.player, status, type: 98, detail: message });
    });
  }

  // ---- Keys of the remote

  // What Enter clicks by itself, as in a browser: events made by a script set nothing off.
  const LINKS = "a[href], area[href]";
  const BUTTONS = "button, summary, input:is([type=button], [type=submit], [type=reset], [type=image])";

  // What has the focus, in open shadow trees and frames of this origin, too; the body where nothing has.
  function focused() {
    let at = document.activeElement ?? document.documentElement;
    for (;;) {
      const inner = at.shadowRoot?.activeElement ?? at.contentDocument?.activeElement;
      if (!inner) return at;
      at = inner;
    }
  }

  // True if the page lets the browser do what it does by itself.
  function dispatch(type, target, { key, code, keyCode }) {
    const view = target.ownerDocument.defaultView;
    const event = new view.KeyboardEvent(type, { key, code, view, bubbles: true, cancelable: true, composed: true });
    for (const name of ["keyCode", "which"]) Object.defineProperty(event, name, { value: keyCode });
    return target.dispatchEvent(event);
  }

  // Pages move the focus while they handle a key: what comes next goes to where it is then.
  function press(pressed) {
    const target = focused();
    if (dispatch("keydown", target, pressed) && pressed.key === "Enter") {
      const now = focused();
      if (now.matches(now === target ? `${LINKS}, ${BUTTONS}` : BUTTONS)) now.click();
    }
    dispatch("keyup", focused(), pressed);
  }

  // ---- Elements

  const isOurs = (node) => node instanceof HTMLEmbedElement && node.matches(SELECTOR);

  function attach(element) {
    if (elements.has(element)) return;
    elements.add(element);
    const root = element.getRootNode();
    if (root !== document) watch(root);
    if (state !== "closed") return;
    try {
      open();
    } catch (failure) {
      console.warn(failure.message);
      lose(failure.reason);
    }
  }

  function sweep() {
    const had = elements.size;
    for (const element of elements) if (!element.isConnected || !isOurs(element)) elements.delete(element);
    if (had && !elements.size) close();
  }

  function watch(root) {
    new MutationObserver((records) => {
      for (const { type, target, addedNodes } of records) {
        for (const node of type === "attributes" ? [target] : addedNodes) {
          if (!node.isConnected || !(node instanceof Element)) continue;
          if (isOurs(node)) attach(node);
          for (const inner of node.querySelectorAll(SELECTOR)) attach(inner);
        }
      }
      sweep();
    }).observe(root, { childList: true, subtree: true, attributes: true, attributeFilter: ["type"] });
  }

  function ready(element) {
    if (!element.isConnected) throw new Failure("detached", "The element isn't in a document, so no plug-in runs for it.");
    attach(element);
  }

  const methods = {
    postMessage(message) {
      const body = encode(message);
      ready(this);
      try {
        send("post", body);
      } catch (failure) {
        if (failure.reason !== "unreachable") throw failure;
        console.warn(`${failure.message} The message was dropped.`);
      }
    },

    postMessageAndAwaitResponse(message) {
      const body = encode(message);
      ready(this);
      return JSON.parse(send("await", body).responseText || "null");
    },
  };

  // Other <embed> elements keep having no such members.
  for (const [name, method] of Object.entries(methods)) {
    Object.defineProperty(proto, name, {
      configurable: true,
      get() {
        return isOurs(this) ? method : undefined;
      },
      set(value) {
        Object.defineProperty(this, name, { value, configurable: true, enumerable: true, writable: true });
      },
    });
  }

  // Hides what a browser paints in place of a plug-in that it doesn't have.
  const style = document.createElement("style");
  style.textContent = `${SELECTOR}{visibility:hidden}`;
  (document.head ?? document.documentElement).append(style);

  watch(document);
  for (const element of document.querySelectorAll(SELECTOR)) attach(element);

  addEventListener("pagehide", close);
  addEventListener("pageshow", (event) => {
    if (!event.persisted || !elements.size) return;
    try {
      open();
      tell("zelumoopen");
    } catch (failure) {
      lose(failure.reason);
    }
  });
})();
