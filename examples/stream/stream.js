// SPDX-License-Identifier: Apache-2.0
// A page that plays streams on the TV's player.
const tv = document.querySelector("embed");
const [picture, list, reports, statusText, time, position, buttons] = [
  "picture", "streams", "reports", "status", "time", "position", "buttons",
].map((id) => document.getElementById(id));

// Any event's subscription will do: from the first one on, the player's reports reach the page.
const ANY_EVENT = 90001;
const STEP_S = 10;
const SCREEN = { width: 1920, height: 1080 };
const REPORTS = {
  32: "ready", 33: "paused", 34: "playing", 35: "seek done", 36: "stopped", 37: "outside the stream", 97: "at the end", 98: "failed",
  131: "buffering", 134: "not found", 137: "position", 144: "begins",
};

let stream = null; // the one that was opened last
let state = "none"; // "none", "opening", "playing", "paused", "over"

/** Sends a command; whether the TV did it. Why it didn't is shown. */
function ask(command, parameters = {}) {
  try {
    const reply = tv.postMessageAndAwaitResponse({ command, ...parameters });
    if (reply.code === 0 && reply.data !== false) return true;
    say(reply.code === 0 ? `${command}: the player refused` : `${command}: ${reply.errorMessage}`, true);
  } catch (error) {
    say(error.message, true);
  }
  return false;
}

function say(text, isBad = false) {
  statusText.textContent = text;
  statusText.classList.toggle("bad", isBad);
}

/** Tells the TV where the picture is, in pixels of a screen of 1920 x 1080, however large the window is. */
function place() {
  const rect = picture.getBoundingClientRect();
  const [x, width] = [rect.left, rect.width].map((n) => Math.round((n / innerWidth) * SCREEN.width));
  const [y, height] = [rect.top, rect.height].map((n) => Math.round((n / innerHeight) * SCREEN.height));
  ask("SetDisplayRect", { x, y, width, height });
}

function open(next) {
  stop();
  stream = next;
  for (const button of list.children) button.setAttribute("aria-current", button.value === next.url);
  reports.replaceChildren();
  say(`${next.name}: opening`);
  // The TV knows nothing of the page's address, so the stream's is whole.
  if (!ask("Init", { url: new URL(next.url, location.href).href, timeOffset: 0 })) return;
  state = "opening";
  place();
  ask("Play");
}

function stop() {
  if (state !== "none") ask("Stop");
  state = "none";
  picture.classList.remove("shown");
  showTime(0, 0);
}

function playOrPause() {
  if (state === "playing") ask("Pause");
  else if (state === "paused") ask("Resume");
  else if (stream) open(stream);
}

function seek(seconds) {
  // Steps add up even where the TV hasn't yet said that one is done.
  if (ask("Seek", { sec: seconds })) position.value = seconds;
}

const seekBy = (seconds) => seek(Math.min(Math.max(0, Number(position.value) + seconds), Number(position.max)));

function fill() {
  document.body.classList.toggle("full");
  if (state !== "none") place();
}

const clock = (s) => `${Math.floor(s / 60)}:${String(s % 60).padStart(2, "0")}`;

function showTime(at, length) {
  const [seconds, end] = [at, length].map((ms) => Math.floor(ms / 1000));
  position.max = end;
  position.value = seconds;
  time.textContent = end ? `${clock(seconds)} / ${clock(end)}${stream.live ? " live" : ""}` : "";
}

function heard({ type, param1, param2 }) {
  const line = document.createElement("li");
  const name = document.createElement("b");
  name.textContent = `${type} ${REPORTS[type] ?? ""}`;
  line.append(name, ` ${[param1, param2].filter(Boolean).join(" / ")}`);
  reports.prepend(line);
  while (reports.children.length > 40) reports.lastChild.remove();

  if (type === 137 || type === 35) showTime(Number(param1), Number(param2));
  if (type === 97) showTime(position.max * 1000, position.max * 1000);
  if (type === 144 || type === 34) state = "playing";
  if (type === 33) state = "paused";
  const hasFailed = type === 98 || type === 134;
  if (type === 97 || hasFailed) state = "over";
  if (type === 144) picture.classList.add("shown");
  if (hasFailed) picture.classList.remove("shown");
  if (type === 131 && param1 === "100") say(`${stream.name}: ${state}`);
  else if (type in REPORTS && type !== 137) say(`${stream.name}: ${REPORTS[type]}`, hasFailed);
}

function choose(step) {
  const all = [...list.children];
  const now = all.indexOf(document.activeElement);
  all[now < 0 ? 0 : (now + step + all.length) % all.length].focus();
}

const KEYS = {
  ArrowLeft: () => seekBy(-STEP_S),
  ArrowRight: () => seekBy(STEP_S),
  ArrowUp: () => choose(-1),
  ArrowDown: () => choose(1),
  MediaPlayPause: playOrPause,
  MediaPlay: playOrPause,
  MediaPause: () => ask("Pause"),
  MediaStop: stop,
  " ": playOrPause,
  f: fill,
};

const BUTTONS = {
  Play: () => stream && open(stream),
  Pause: () => ask("Pause"),
  Resume: () => ask("Resume"),
  Stop: stop,
  [`−${STEP_S} s`]: () => seekBy(-STEP_S),
  [`+${STEP_S} s`]: () => seekBy(STEP_S),
  Live: () => ask("ResumeLive", { reason: "viewer" }),
  Full: fill,
};

function makeButton(text, about, act) {
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = text;
  if (about) button.append(Object.assign(document.createElement("span"), { textContent: about }));
  button.addEventListener("click", act);
  return button;
}

const subscribe = () => ask("RegisterEvent", { event: ANY_EVENT });

tv.addEventListener("message", ({ data }) => {
  if (data.event === "ZELUMO_EVENT") heard(data);
});
// After the TV was away, what plays the page is new, and knows of no player and no subscription.
tv.addEventListener("zelumoopen", () => {
  state = "none";
  subscribe();
  stop();
});
addEventListener("keydown", (event) => {
  const act = event.ctrlKey || event.altKey || event.metaKey ? null : KEYS[event.key];
  if (!act) return;
  event.preventDefault();
  act();
});
addEventListener("resize", () => state !== "none" && place());
position.addEventListener("change", () => seek(Number(position.value)));

for (const [text, act] of Object.entries(BUTTONS)) buttons.append(makeButton(text, "", act));
for (const each of await (await fetch("/streams.json")).json()) {
  const button = makeButton(each.name, each.about, () => open(each));
  button.value = each.url;
  list.append(button);
}
list.firstChild.focus();
subscribe();
