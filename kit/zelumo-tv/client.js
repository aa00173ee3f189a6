// SPDX-License-Identifier: Apache-2.0
// The plug-in's commands as methods that give promises. The same on a TV and on the desk.

/** A command that failed. */
export class ZelumoError extends Error {
  constructor(command, reply) {
    super(`${command}: ${reply.errorMessage}`);
    this.name = "ZelumoError";
    this.command = command;
    this.code = reply.code;
    this.errorName = reply.errorName;
    this.errorMessage = reply.errorMessage;
    this.data = reply.data;
  }
}

// made: data, by web/generate.mjs from web/page-api.json
// Commands by what goes in and comes out: values; a JSON text comes out; JSON texts go in and come out.
const PLAIN = "GetVersion RegisterEvent UnRegisterEvent SetStringToVconfWithKey GetStringFromVconfWithKey SetIntegerToVconfWithKey GetIntegerFromVconfWithKey SetBooleanToVconfWithKey GetBooleanFromVconfWithKey AddVconfCallbackWithKey LaunchedZELumoWebApp CheckIsFirstBootingInZELumo IsFirstEntryToZelumo IsInstantOn GetViewingAgreement CheckFirstBootInZELumo RestartZelumoInfo ExtractServiceInformationsFromServiceId GetAppIDAndURL SetServiceByServiceid SetNextService SetPreviousService Init Play Pause Resume JumpForward JumpBackward Seek Stop PasueLive ResumeLive SetDisplayRect GetPlayerWindowID";
const TEXT = "ZELumoProgramInfoIsAvailable GetZELumoServices GetCurrentChannelInfo";
const REQUEST = "GetProgram GetProgramList GetPresentProgram GetChannelLogo GetProgramThumbnail GetProgramBackground SetOnDemandProgram UnsetOnDemandProgram GetOnDemandIdentifier GetVCConfig GetFeaturedVirtualChannelInfo GetServiceIdFromOnTVProviderAndService";
const EMPTY = "GetCurrentChannelInfo";

// Whole numbers that a double may not hold: they become texts.
const LONG = {
  GetZELumoServices: /("(?:id)"\s*:\s*)(\d+)/g,
};

const EVENT_TEXTS = ["ch_info","program_info"];
const PLAYER_EVENT = "ZELUMO_EVENT";

/** The numbers of events, for registerEvent and unRegisterEvent. */
export const events = {
  PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE: 90000,
  PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE: 90001,
  PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE: 90002,
  PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE: 90003,
  PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE: 90004,
  PLOOMIA_EVENT_MSO_INFO_SET: 90007,
  PLOOMIA_EVENT_MSO_INFO_RESET: 90008,
  PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE: 90009,
  PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE: 90010,
  PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE: 90011,
  PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE: 90012,
  PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE: 90013,
  PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE: 90014,
  PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE: 90015,
  PLOMIA_EVENT_GET_SI_INFO: 90016,
  PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS: 90017,
  ITVS_Signal_ZELumo_Control_State_ChLoad: 90019,
  ITVS_Signal_ZELumo_Control_State_ChEnter: 90020,
  ITVS_Signal_ZELumo_Control_State_ChPause: 90021,
  ITVS_Signal_ZELumo_Control_State_ChResume: 90022,
  ITVS_Signal_ZELumo_Control_State_ChLeave: 90023,
  ITVS_Signal_Instant_On: 90027,
  ITVS_Signal_Instant_Off: 90028,
};

const PLAYER_TYPES = {
  InitComplete: 32,
  PauseComplete: 33,
  ResumeComplete: 34,
  SeekComplete: 35,
  StopSuccess: 36,
  ContentRangeOver: 37,
  EndOfStream: 97,
  Error: 98,
  Buffering: 131,
  FileNotFound: 134,
  CurrentPosition: 137,
  BeginOfStream: 144,
  GetWindowID: 200,
  GetInitInfo: 201,
};

const SIGNALS = ["ITVS_Signal_Unmute_by_pincode_input"];
// made

const NAMES = Object.keys(events).concat(Object.keys(PLAYER_TYPES), PLAYER_EVENT, SIGNALS);

// How many letters must be put in, left out or replaced to make one name of the other.
function distance(one, other) {
  let row = Array.from({ length: other.length + 1 }, (_, i) => i);
  for (const letter of one) {
    row = row.slice(1).reduce((next, above, i) => next.concat(Math.min(next[i] + 1, above + 1, row[i] + (letter === other[i] ? 0 : 1))), [row[0] + 1]);
  }
  return row[other.length];
}

// Settings keys are paths.
function checkName(name) {
  if (NAMES.indexOf(name) >= 0 || String(name).indexOf("/") >= 0) return;
  const far = (known) => distance(String(name), known);
  const near = NAMES.slice().sort((a, b) => far(a) - far(b))[0];
  throw new TypeError(`on: nothing is posted under "${name}"${far(near) < 4 ? `; did you mean "${near}"?` : ""}`);
}

const method = (command) => command.replace(/^[A-Z]+(?=[A-Z][a-z])|^[A-Z]/, (head) => head.toLowerCase());

/** JSON text of a value. */
export const json = (value) => JSON.stringify(value);

const clients = new WeakMap();

/** The client of a plug-in element, the same one each time. */
export function connect(element) {
  if (!element) throw new TypeError("connect: there is no element");
  if (!clients.has(element)) clients.set(element, makeClient(element));
  return clients.get(element);
}

function makeClient(element) {
  const ask = (command, parameters) =>
    new Promise((resolve) => {
      if (!element.postMessageAndAwaitResponse) throw new TypeError("The element is no plug-in: on the desk the page needs zelumo-embed.js");
      const reply = element.postMessageAndAwaitResponse(Object.assign({}, parameters, { command }));
      if (reply.code !== 0) throw new ZelumoError(command, reply);
      resolve(reply.data);
    });

  const parse = (command) => (text) => {
    if (text === "" && EMPTY.split(" ").indexOf(command) >= 0) return null;
    return JSON.parse(LONG[command] ? text.replace(LONG[command], '$1"$2"') : text);
  };

  // What the TV was asked to tell: whether the page asked, and which handlers need it.
  const subscriptions = new Map();
  const subscription = (command, parameters) => {
    const id = command + json(parameters);
    if (!subscriptions.has(id)) subscriptions.set(id, { page: false, handlers: new Set(), asked: null, ask: () => ask(command, parameters) });
    return subscriptions.get(id);
  };
  const warn = (error) => console.warn(error);

  // The TV takes a subscription once: what a handler has brought about is the page's own from now on.
  const byPage = (command) => (parameters) => {
    const of = subscription(command, parameters);
    const before = of.page;
    of.page = true;
    return (of.handlers.size && !before && of.asked ? of.asked.catch(of.ask) : of.ask()).catch((error) => {
      of.page = before;
      throw error;
    });
  };
  const byHandler = (of, listener) => {
    if (!of.handlers.size && !of.page) {
      of.asked = of.ask();
      of.asked.catch(warn);
    }
    of.handlers.add(listener);
  };
  // On the desk a plug-in that was opened again knows of no subscription.
  element.addEventListener("zelumoopen", () => subscriptions.forEach((of) => (of.page || of.handlers.size) && of.ask().catch(warn)));

  // The message is the other listeners' as well, so its data are copied.
  const told = (data) => {
    if (typeof data !== "object") return data;
    const copy = Object.assign({}, data);
    EVENT_TEXTS.forEach((key) => {
      if (key in copy) copy[key] = copy[key] === "" ? null : JSON.parse(copy[key]);
    });
    return copy;
  };

  const client = {
    json,
    on(name, handler) {
      checkName(name);
      const player = name === PLAYER_EVENT || PLAYER_TYPES[name];
      // Any subscription brings the player's events; this one is of what is posted anyway.
      const event = player ? events.ITVS_Signal_Instant_Off : events[name];
      const of = event ? subscription("RegisterEvent", { event }) : name.indexOf("/") < 0 ? null : subscription("AddVconfCallbackWithKey", { key: name });
      const listener = ({ data }) => {
        if (data.event === PLAYER_EVENT) {
          if (player === true || player === data.type) handler(data);
        } else if (data.command === name && data.code === 0) {
          handler(told(data.data));
        }
      };
      element.addEventListener("message", listener);
      if (of) byHandler(of, listener);
      return () => {
        element.removeEventListener("message", listener);
        // The watch of a settings key can't be ended, and an element that has left the document has no plug-in to be asked.
        if (!event || !of.handlers.delete(listener) || of.handlers.size || of.page || element.isConnected === false) return;
        ask("UnRegisterEvent", { event }).catch(warn);
      };
    },
  };
  PLAIN.split(" ").forEach((command) => (client[method(command)] = (parameters) => ask(command, parameters)));
  TEXT.split(" ").forEach((command) => (client[method(command)] = () => ask(command).then(parse(command))));
  REQUEST.split(" ").forEach((command) => {
    client[method(command)] = (request = {}) => ask(command, { input: typeof request === "string" ? request : json(request) }).then(parse(command));
  });
  client.registerEvent = byPage("RegisterEvent");
  client.addVconfCallbackWithKey = byPage("AddVconfCallbackWithKey");
  client.unRegisterEvent = (parameters) => {
    const of = subscription("RegisterEvent", parameters);
    of.page = false;
    of.handlers.clear();
    return ask("UnRegisterEvent", parameters);
  };
  return client;
}
