import { connect, events, json, ZelumoError } from "zelumo-tv/client";
import type { ZelumoClient } from "zelumo-tv/client";
import { holds, type Same } from "./element";

const zelumo: ZelumoClient = connect(document.querySelector("embed"));

export async function commands() {
  holds<Same<Awaited<ReturnType<ZelumoClient["getVersion"]>>, "1.00">>();
  const { program } = await zelumo.getProgram({ programId: "1" });
  const title: string = program.title;
  await zelumo.getProgram('{"programId":"1"}');
  await zelumo.getProgram(zelumo.json({ programId: "1" }));
  await zelumo.getVCConfig();
  await zelumo.zeLumoProgramInfoIsAvailable();
  // @ts-expect-error: the channel is missing
  await zelumo.getProgramList({ from: 1 });
  // @ts-expect-error: a parameter too many
  await zelumo.getProgram({ programId: "1", from: 1 });
  // @ts-expect-error: no parameters
  await zelumo.getProgram();
  // @ts-expect-error: not a method's name
  await zelumo.GetVersion();
  const current = await zelumo.getCurrentChannelInfo();
  // @ts-expect-error: there may be none
  void current.channelName;
  const done: boolean = await zelumo.setNextService();
  const id: string = (await zelumo.getZELumoServices()).TCServiceData![0].id;
  await zelumo.setServiceByServiceid({ Serviceid: id });
  await zelumo.registerEvent({ event: events.ITVS_Signal_Instant_On });
  const width: number = (await zelumo.extractServiceInformationsFromServiceId({ serviceId: id }))["channel number"];
  await zelumo.setDisplayRect({ x: 0, y: 0, width, height: 1 });
  return [title, done];
}

// Typed input for the element itself.
const element = document.createElement("embed");
element.postMessageAndAwaitResponse({ command: "GetProgram", input: json({ programId: "1" }) });
// @ts-expect-error: a service isn't asked for by a programme's id
element.postMessageAndAwaitResponse({ command: "GetPresentProgram", input: json({ programId: "1" }) });
// @ts-expect-error: a number is no id
element.postMessageAndAwaitResponse({ command: "GetProgram", input: zelumo.json({ programId: 1 }) });

export function heard() {
  const stop: () => void = zelumo.on("ITVS_Signal_Instant_On", (data) => holds<Same<typeof data.event, 90027>>());
  stop();
  zelumo.on("ITVS_Signal_ZELumo_Control_State_ChLoad", ({ ch_info }) => {
    holds<Same<typeof ch_info, ZelumoChannelRecord | null>>();
  });
  zelumo.on("CurrentPosition", ({ type, param1 }) => {
    holds<Same<typeof type, 137>>();
    return Number(param1);
  });
  zelumo.on("ZELUMO_EVENT", (event) => event.type.toFixed());
  zelumo.on("db/menu/language", (key) => key.length);
  // @ts-expect-error: nothing is posted under that name
  zelumo.on("ITVS_Signal_Instant", () => {});
}

export function failed(error: unknown) {
  if (!(error instanceof ZelumoError)) return "";
  const code: number = error.code;
  return `${error.command} ${code} ${error.errorName.length} ${error.errorMessage.length}`;
}
