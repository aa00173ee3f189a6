import { KEY_OPTIONS } from "./keys.js";

/**
 * What the TV can be made to do, for the remote's forms. A field is {name, label, kind, value, optional, options, help, rare};
 * kind is number, text, json, choice (options: [value, label] pairs), date or flag. `now`: can't be put off.
 */
const NO_USER = { name: "user", label: "Null user data", kind: "flag", on: null, optional: true, rare: true };
const SUSPEND = 0x40000000;

export function verbs(api) {
  const events = [...api.events]
    .sort((a, b) => b.event - a.event)
    .map((e) => [e.event, e.command.replace(/^ITVS_Signal_(ZELumo_Control_State_)?|^PLO\w*?MIA_EVENT_/, "")]);
  return {
    tv: [
      {
        verb: "key",
        title: "Key",
        about: "Somebody presses and releases a key of the remote. The page gets keydown and keyup.",
        fields: [{ name: "key", label: "Key", kind: "text", value: "MediaPlay", options: KEY_OPTIONS }],
      },
      {
        verb: "event",
        title: "Event",
        about: "The content service delivers an event. The page hears it once it has subscribed to it.",
        fields: [{ name: "event", label: "Event", kind: "number", value: 90019, options: events }, NO_USER],
      },
      {
        verb: "signal",
        title: "Signal",
        about: "The TV service raises a signal. The page hears only of 177.",
        fields: [{ name: "signal", label: "Signal", kind: "number", value: 177, options: api.signals.map((s) => [s.signal, "PIN entered"]) }, NO_USER],
      },
      {
        verb: "poweroff",
        title: "Power off",
        about: "The power service says that the TV goes off. The page hears only of a suspend.",
        fields: [
          { name: "type", label: "Type", kind: "choice", value: SUSPEND, options: [[SUSPEND, "Into suspend"], [1, "Off"], [2, "Restart"]] },
          NO_USER,
        ],
      },
    ],
    player: [
      {
        verb: "report",
        title: "Player report",
        about: "The player service reports. After its first event subscription the page hears of its own players and of player 101.",
        fields: [
          { name: "player", label: "Player", kind: "number", value: 101, options: [[101, "registered with events"]] },
          { name: "type", label: "Type", kind: "number", value: 137, options: api.playerEvents.types.map((t) => [t.type, t.name]) },
          { name: "value1", label: "Value 1", kind: "number", value: 15000 },
          { name: "value2", label: "Value 2", kind: "number", value: 600000 },
          NO_USER,
        ],
      },
    ],
    settings: [
      {
        verb: "setting",
        title: "Settings change",
        about: "Somebody else on the TV writes a key. The page hears of the keys that it watches.",
        fields: [
          { name: "key", label: "Key", kind: "text", value: api.settings.keys[0].key, options: api.settings.keys.map((k) => [k.key, k.type]) },
          { name: "value", label: "Value", kind: "json", value: '"sv"', help: "a string, whole number or boolean, as JSON" },
          NO_USER,
        ],
      },
    ],
    time: [
      {
        verb: "advance",
        title: "Advance",
        about: "Playing time passes at once, with all that happens in it.",
        presets: [["1 s", 1000], ["10 s", 10_000], ["1 min", 60_000]],
        fields: [{ name: "ms", label: "Milliseconds", kind: "number", value: 3_600_000 }],
        now: true,
      },
      {
        verb: "speed",
        title: "Speed",
        about: "How many times as fast playing time runs.",
        presets: [["Stand still", 0], ["1 ×", 1], ["10 ×", 10], ["60 ×", 60]],
        fields: [{ name: "factor", label: "Times", kind: "number", value: 1000, help: "0 to 100000" }],
      },
      {
        verb: "clock",
        title: "Date",
        about: "The TV's date and time become these.",
        fields: [{ name: "date", label: "Date", kind: "date" }],
      },
    ],
    faults: [
      {
        verb: "answer",
        title: "Answer a platform call",
        about: "From now on the call does nothing but return this.",
        fields: [
          { name: "call", label: "Call", kind: "choice", value: "BmsPlay", options: CALLS.map(([name]) => [name, name]) },
          { name: "result", label: "Result", kind: "json", value: "-1", optional: true, help: "usual success" },
          { name: "out", label: "Out", kind: "json", value: "", optional: true, help: "JSON list" },
          { name: "args", label: "Only for", kind: "json", value: "", optional: true, help: "any arguments" },
          { name: "times", label: "Times", kind: "number", value: "", optional: true, help: "until restored" },
          { name: "delay", label: "Delay, ms", kind: "number", value: "", optional: true, help: "none" },
        ],
      },
      {
        verb: "restore",
        title: "Restore",
        about: "A call works as usual again, or every call does.",
        fields: [{ name: "call", label: "Call", kind: "choice", value: "", optional: true, options: [["", "Every call"], ...CALLS.map(([name]) => [name, name])] }],
      },
    ],
  };
}

const CRITERIA_RECORD = '[{"12":"1001","13":1,"14":0,"16":"Made up"}]';
const TEXT = '["{}"]';
const TEXT_CALLS = [
  "GetProgramList",
  "GetProgram",
  "GetPresentProgram",
  "GetChannelLogo",
  "GetProgramThumbnail",
  "GetProgramBackground",
  "SetOnDemandProgram",
  "UnsetOnDemandProgram",
  "GetOnDemandIdentifier",
  "GetFeaturedVirtualChannelInfo",
  "GetServiceIdFromOnTVProviderAndService",
  "GetVCConfig",
  "ProgramInfoIsAvailable",
];

/** Platform calls, each with a result that means failure and with out arguments that it may write. */
export const CALLS = [
  ["BmsCreatePlayer", "-1", "[7]"],
  ["BmsPlay", "-1", ""],
  ["BmsPause", "-1", ""],
  ["BmsResume", "-1", ""],
  ["BmsStop", "-1", ""],
  ["BmsResumeLive", "-1", ""],
  ["BmsSeek", "-1", ""],
  ["BmsGetPlayTime", "-1", "[20000]"],
  ["BmsSetVideoPosition", "-1", ""],
  ["BmsSetCallback", "-1", ""],
  ["BmsUnSetCallback", "-1", ""],
  ["FCAPI::GetVirtualChannelsAPI", "null", ""],
  ["FCAPI::GetZELumoAPI", "null", ""],
  ...TEXT_CALLS.map((name) => [`FIVirtualChannelsAPI::${name}`, "false", TEXT]),
  ["FIVirtualChannelsAPI::GetViewingAgreement", "false", ""],
  ["FIVirtualChannelsAPI::RestartZelumoInfo", "false", ""],
  [
    "FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId",
    "false",
    '[{"serviceId":"1001","isForDirectTune":true,"channelType":1,"channelNumber":1,"serviceProfile":1,"major":1,"minor":0,"programNumber":1}]',
  ],
  ["FIZELumoAPI::LaunchedZELumoWebApp", "false", ""],
  ["FIZELumoAPI::CheckIsFirstBootingInZELumo", "false", ""],
  ["FIZELumoAPI::IsFirstEntryToZelumo", "false", ""],
  ["FIZELumoAPI::IsInstantOn", "false", ""],
  ["FIZELumoAPI::GetAppIDAndURL", "false", '["app","http://sample.tv/app/"]'],
  ["FIZELumoAPI::CheckFirstBootInZELumo", "false", "[true,false]"],
  ["FIIPCConnection::GetInstance", "null", ""],
  ["FCEMSProxy::GetInstanceForPlugin", "null", ""],
  ["FCEMSProxy::Subscribe", "-1", ""],
  ["FCEMSProxy::Unsubscribe", "-1", ""],
  ["TVServiceAPI::CreateServiceNavigation", "0", "[null]"],
  ["TVServiceAPI::CreateSourceControl", "0", "[null]"],
  ["TVServiceAPI::CreateSignalSubscriber", "0", "[null]"],
  ["ISignalSubscriber::Subscribe", "-1", ""],
  ["ISignalSubscriber::Unsubscribe", "-1", ""],
  ["TCNavigationModeHelper::GetNavigationCriteria", "false", ""],
  ["IServiceNavigation::TuneService", "0", ""],
  ["IServiceNavigation::GetTvMode", "0", '[{"antennaMode":1,"serviceMode":1}]'],
  ["IServiceNavigation::GetCurrentService", "0", CRITERIA_RECORD],
  ["IServiceNavigation::SetNextService", "0", ""],
  ["IServiceNavigation::SetPreviousService", "0", ""],
  ["IServiceNavigation::GetServiceList", "-1", `[${CRITERIA_RECORD}]`],
  ["ISourceControl::TuneService", "0", ""],
  ["ISourceControl::GetSourceFlag", "1", "[1]"],
  ["ISourceControl::GetSourceValue", "1", "[-1]"],
  ["vconf_set_str", "-1", ""],
  ["vconf_set_int", "-1", ""],
  ["vconf_set_bool", "-1", ""],
  ["vconf_get_str", "null", ""],
  ["vconf_get_int", "-1", "[1]"],
  ["vconf_get_bool", "-1", "[1]"],
  ["vconf_notify_key_changed", "-1", ""],
  ["vconf_ignore_key_changed", "-1", ""],
  ["device_power_subscribe_poweroff", "-1", ""],
  ["device_power_unsubscribe_poweroff", "-1", ""],
  ["pp::Instance::RegisterMessageHandler", "-2", ""],
];
