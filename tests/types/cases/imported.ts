// SPDX-License-Identifier: Apache-2.0
// The types by name, for modules.
import type { ZelumoData, ZelumoEventData, ZelumoInput, ZelumoMessage, ZelumoReply, ZelumoServiceList } from "zelumo-tv/types";

export function told(message: ZelumoMessage, reply: ZelumoReply<"GetCurrentChannelInfo">, list: ZelumoServiceList<string>) {
  if (message.command === "ITVS_Signal_Instant_Off") return message.data.event.toFixed();
  // @ts-expect-error: the reply may be a failure
  if (reply.data.length) return "";
  return reply.code === 28 ? reply.errorName : list.ListName;
}
export const data: ZelumoData<"GetVersion"> = "1.00";
export const input: ZelumoInput<{ TCServiceId: string }> = "{}";
export const heard = (event: ZelumoEventData<"ITVS_Signal_ZELumo_Control_State_ChLoad">) => event.ch_info?.channelName;
// @ts-expect-error: no such command
export type Unknown = ZelumoReply<"Get">;
