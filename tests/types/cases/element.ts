// SPDX-License-Identifier: Apache-2.0
// The element and its messages without the client.
export type Same<A, B> = (<T>() => T extends A ? 1 : 2) extends <T>() => T extends B ? 1 : 2 ? true : false;
export function holds<_ extends true>(): void {}

const element = document.createElement("embed");
const queried: ZelumoElement | null = document.querySelector("embed");
const all: NodeListOf<ZelumoElement> = document.querySelectorAll('embed[type="application/x-zelumo"]');
void [queried, all];

// ---- Commands

const reply = element.postMessageAndAwaitResponse({ command: "GetProgram", input: '{"programId":"1"}' });
holds<Same<typeof reply, ZelumoReply<"GetProgram">>>();
if (reply.code === 0) {
  const program: ZelumoData<"GetProgram"> = JSON.parse(reply.data);
  const title: string = program.program.title;
  void title;
  // @ts-expect-error: the parsed text has no such member
  void JSON.parse(reply.data).programme;
} else {
  const message: "Parameter input is invalid" | "Can't GetProgram" = reply.errorMessage;
  void message;
  // @ts-expect-error: a failure's data are null
  void JSON.parse(reply.data);
}
holds<Same<ZelumoData<"GetCurrentChannelInfo">, ZelumoChannelRecord | null>>();
holds<Same<ZelumoData<"GetBooleanFromVconfWithKey">, 0 | 1>>();
holds<Same<ZelumoReply<"SetNextService">, ZelumoSuccess<boolean>>>();
holds<Same<ZelumoServiceListEntry["id"], number>>();

declare const wrong: ZelumoText<{ TCServiceId: string }>;
declare const right: ZelumoText<ZelumoProgramRequest>;
declare const text: string;
for (const input of ["{}", text, right] as const) element.postMessageAndAwaitResponse({ command: "GetProgram", input });
// @ts-expect-error: the JSON text of another request
element.postMessageAndAwaitResponse({ command: "GetProgram", input: wrong });
// @ts-expect-error: an object is no text
element.postMessageAndAwaitResponse({ command: "GetProgram", input: { programId: "1" } });
// @ts-expect-error: the parameter is missing
element.postMessageAndAwaitResponse({ command: "GetProgram" });
// @ts-expect-error: no such command
element.postMessageAndAwaitResponse({ command: "getProgram", input: "{}" });
// @ts-expect-error: the command's key is written otherwise
element.postMessageAndAwaitResponse({ command: "SetServiceByServiceid", serviceId: "1001" });
element.postMessageAndAwaitResponse({ command: "SetServiceByServiceid", Serviceid: "1001" });
element.postMessageAndAwaitResponse({ command: "Init", url: "http://sample.tv/film.mpd", timeOffset: 0, playerType: 1 });
element.postMessage({ command: "GetVersion" });
// @ts-expect-error: not what a message can be made of
element.postMessage(() => 1);

// JSON.parse stays as it was for any other text.
holds<Same<ReturnType<typeof parsed>, any>>();
function parsed(value: any) {
  return [JSON.parse(text), JSON.parse(value)][0];
}

// ---- Messages

element.addEventListener("message", (message) => {
  switch (message.data.command) {
    case "ITVS_Signal_ZELumo_Control_State_ChLoad": {
      const { event, ch_info: channel, program_info: program } = message.data.data;
      const number: 90019 = event;
      if (channel) holds<Same<typeof channel, ZelumoText<ZelumoChannelRecord>>>();
      if (channel) void JSON.parse(channel).channelName.length;
      if (program) void JSON.parse(program).present.title.length;
      holds<Same<ReturnType<typeof record>, ZelumoChannelRecord>>();
      function record() {
        return JSON.parse(channel);
      }
      // @ts-expect-error: an event has no such key
      void message.data.data.channel;
      return number;
    }
    case "ITVS_Signal_Instant_Off":
      holds<Same<typeof message.data.data, { event: 90028 }>>();
      holds<Same<typeof message.data.code, 0>>();
      return;
    case "GetVersion":
      holds<Same<typeof message.data.code, 9>>();
      holds<Same<typeof message.data.data, null>>();
      return;
    case "db/menu/language":
      holds<Same<typeof message.data.data, ZelumoSettingKey>>();
      return;
    // @ts-expect-error: nothing is posted under that name
    case "ITVS_Signal_Instant_of":
      return;
    case undefined:
      holds<Same<typeof message.data, ZelumoPlayerMessage>>();
      if (message.data.type === 137) holds<Same<typeof message.data.param1, string>>();
      if (message.data.type === 97) holds<Same<typeof message.data.param1, "">>();
      return;
  }
});
element.addEventListener("message", ({ data }) => {
  if (data.event === "ZELUMO_EVENT") return data.type.toFixed();
  return data.errorName.length;
});
element.addEventListener("zelumolost", ({ detail }) => {
  const reason: "unreachable" | "refused" | "replaced" = detail.reason;
  return reason;
});
element.addEventListener("click", (event) => event.clientX);
