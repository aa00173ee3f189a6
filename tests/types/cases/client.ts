// SPDX-License-Identifier: Apache-2.0
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
  // @ts-expect-error: the channel is missing
  await zelumo.getProgramList({ from: 1 });
  // @ts-expect-error: a parameter too many
  await zelumo.getProgram({ programId: "1", from: 1 });
  // @ts-expect-error: no parameters
  await zelumo.getProgram();
  // @ts-expect-error: not a method's name
  await zelumo.GetVersion();
  // @ts-expect-error: there may be none
  void (await zelumo.getCurrentChannelInfo()).channelName;
  const done: boolean = await zelumo.setNextService();
  const id: string = (await zelumo.getZELumoServices()).TCServiceData![0].id;
  await zelumo.registerEvent({ event: events.ITVS_Signal_Instant_On });
  const number: number = (await zelumo.extractServiceInformationsFromServiceId({ serviceId: id }))["channel number"];
  return [title, done, number];
}

// Typed input for the element itself, that is right in docs/testing.md.
const element = document.createElement("embed");
// @ts-expect-error: a service isn't asked for by a programme's id
element.postMessageAndAwaitResponse({ command: "GetPresentProgram", input: json({ programId: "1" }) });

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
