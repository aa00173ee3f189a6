// SPDX-License-Identifier: Apache-2.0
// The TV's end of a relay: carries out at the real plug-in what the page on the desk sends, and sends back what comes of it. It runs
// in the browser of the TV, which may be years old: ECMAScript 5 and a WebSocket are all that it takes.
(function () {
  "use strict";

  var TYPE = "application/x-zelumo";
  var WIDTH = 1920;
  var HEIGHT = 1080;
  var RETRY_MS = 1000;
  var ALIVE_MS = 3000; // how often something is sent, so that a connection that has died shows
  var LOAD_MS = 5000; // how long a plug-in may take to be there
  var LOOK_MS = 50;
  var OWN_PLACE_MS = 10000; // how long this TV's own connection from before may still have its place
  // Why the desk ended the connection.
  var ENDED = 1001;
  var TAKEN = 4001;

  // The keys of a remote, where the browser has no name for them, or an old one: KeyboardEvent.key by keyCode.
  var KEYS = {
    8: "Backspace", 13: "Enter", 19: "MediaPause", 27: "Escape", 33: "PageUp", 34: "PageDown", 36: "Home", 37: "ArrowLeft", 38: "ArrowUp",
    39: "ArrowRight", 40: "ArrowDown", 93: "ContextMenu", 156: "Help", 172: "BrowserHome", 179: "MediaPlayPause", 403: "ColorF0Red",
    404: "ColorF1Green", 405: "ColorF2Yellow", 406: "ColorF3Blue", 409: "Power", 412: "MediaRewind", 413: "MediaStop", 415: "MediaPlay",
    416: "MediaRecord", 417: "MediaFastForward", 424: "MediaTrackPrevious", 425: "MediaTrackNext", 427: "ChannelUp", 428: "ChannelDown",
    447: "AudioVolumeUp", 448: "AudioVolumeDown", 449: "AudioVolumeMute", 457: "Info", 458: "Guide", 459: "Teletext", 460: "Subtitle",
    461: "GoBack", 462: "Settings", 464: "TVInput"
  };
  var NAMES = { Exit: true };
  (function () {
    var code, digit;
    for (code in KEYS) if (Object.prototype.hasOwnProperty.call(KEYS, code)) NAMES[KEYS[code]] = true;
    for (digit = 0; digit < 10; digit += 1) {
      KEYS[48 + digit] = KEYS[96 + digit] = String(digit);
      NAMES[digit] = true;
    }
  })();

  var lost = Date.now(); // when this TV had its place for the last time
  var has = false; // whether this browser has the plug-in
  var socket = null;
  var element = null; // the plug-in's, while the desk has a page open
  var opened = 0; // how many times it was made for this connection
  var waiting = []; // what the desk has sent, while the element isn't there yet
  var looking = 0; // a timer: the element isn't there yet

  function find(id) {
    return document.getElementById(id);
  }

  // Shows on the TV's screen how things stand.
  function say(state, more) {
    find("state").textContent = state;
    find("more").textContent = more;
    document.documentElement.className = element ? "on" : "";
  }

  function send(frame) {
    if (socket && socket.readyState === 1) socket.send(JSON.stringify(frame));
  }

  // ---- The element

  function make() {
    var made = document.createElement("embed");
    made.setAttribute("type", TYPE);
    made.setAttribute("width", "1");
    made.setAttribute("height", "1");
    return made;
  }

  function works(made) {
    return !!made.postMessageAndAwaitResponse;
  }

  // Calls back with an element that works, or with false where none does in time.
  function watch(made, then) {
    var end = Date.now() + LOAD_MS;
    function look() {
      looking = 0;
      if (works(made)) then(true);
      else if (Date.now() >= end) then(false);
      else looking = setTimeout(look, LOOK_MS);
    }
    look();
  }

  function drop() {
    clearTimeout(looking);
    looking = 0;
    if (!element) return;
    var gone = element;
    element = null;
    if (gone.parentNode) gone.parentNode.removeChild(gone);
  }

  // Whether the browser has the plug-in: it says so, or an element proves it.
  function findPlugin(then) {
    var listed = navigator.mimeTypes && navigator.mimeTypes[TYPE];
    var probe = make();
    if (listed || works(probe)) return then(true);
    find("place").appendChild(probe);
    watch(probe, function (does) {
      find("place").removeChild(probe);
      then(does);
    });
  }

  function open() {
    drop();
    opened += 1;
    var of = opened;
    var made = make();
    made.addEventListener("message", function (event) {
      if (made === element) send({ message: event.data, of: of });
    });
    element = made;
    say("The desk's page has this TV", "");
    // In a moment of its own: the instance before it has to end first.
    looking = setTimeout(function () {
      find("place").appendChild(made);
      watch(made, goOn);
    }, 0);
  }

  function close() {
    drop();
    idle();
  }

  function idle() {
    say("This TV is behind the desk", "Open a page there: it gets the plug-in of this TV. Keys of the remote go to it.");
  }

  // A page places its video on 1920 by 1080 pixels. Where this browser has others, its plug-in is told of those.
  function fit(message) {
    if (!message || message.command !== "SetDisplayRect") return message;
    scale(message, ["x", "width"], innerWidth / WIDTH);
    scale(message, ["y", "height"], innerHeight / HEIGHT);
    return message;
  }

  function scale(message, names, factor) {
    for (var i = 0; i < names.length; i += 1) {
      var value = message[names[i]];
      if (typeof value === "number" && factor > 0 && factor !== 1) message[names[i]] = Math.round(value * factor);
    }
  }

  // ---- What the desk sends, one after the other

  function take(frame) {
    if (frame.page === "open") return open();
    if (frame.page === "close") return close();
    if ("await" in frame) {
      try {
        if (!element) throw new Error("no page is open");
        send({ id: frame.id, reply: clean(element.postMessageAndAwaitResponse(fit(frame["await"]))) });
      } catch (error) {
        send({ id: frame.id, error: String((error && error.message) || error) });
      }
    } else if ("post" in frame) {
      try {
        if (element) element.postMessage(frame.post);
      } catch (error) {
        say("A message did not reach the plug-in", String((error && error.message) || error));
      }
    }
  }

  // JSON leaves out a member that is undefined.
  function clean(reply) {
    return reply === undefined ? null : reply;
  }

  function goOn() {
    while (waiting.length && !looking) take(waiting.shift());
  }

  // ---- The connection

  function connect() {
    var own = new WebSocket("ws://" + location.host + location.pathname.replace(/[^\/]*$/, "") + "tv");
    socket = own;
    own.onopen = function () {
      send({ plugin: has ? "ready" : "missing" });
      if (has) idle();
      else say("This browser has no plug-in for the desk", "It has none of the type " + TYPE + ". Is this the TV that has it?");
    };
    own.onmessage = function (event) {
      if (own !== socket) return;
      waiting.push(JSON.parse(event.data));
      goOn();
    };
    own.onclose = function (event) {
      if (own !== socket) return;
      socket = null;
      lose(event.code);
    };
  }

  function lose(code) {
    drop();
    waiting = [];
    opened = 0;
    if (code !== TAKEN) lost = Date.now();
    if (code === TAKEN && Date.now() - lost > OWN_PLACE_MS) {
      return say("Another TV is behind this desk", "There is room for one. Load this page again once the other one has gone.");
    }
    if (code === TAKEN) say("Another TV is behind this desk", "Perhaps it was this one a moment ago; trying again.");
    else if (code === ENDED) say("The desk has ended", "When it is started again it has another address.");
    else say("The connection to the desk is lost", "Trying again until it is back.");
    setTimeout(connect, RETRY_MS);
  }

  setInterval(function () {
    send({ alive: true });
  }, ALIVE_MS);

  // ---- The remote's keys

  document.addEventListener("keydown", function (event) {
    var name = NAMES[event.key] === true ? event.key : KEYS[event.keyCode] || event.key;
    if (!name || name === "Unidentified" || (name.length === 1 && NAMES[name] !== true)) return;
    send({ key: name });
    // The browser would leave this page with some of them.
    if (socket) event.preventDefault();
  });

  say("Looking for the plug-in", "Then this TV connects to the desk at " + location.host + ".");
  findPlugin(function (does) {
    has = does;
    connect();
  });
})();
