// SPDX-License-Identifier: Apache-2.0
// What the driver sends in the page's place.
import { startTv } from "zelumo-tv/index";
import { holds, type Same } from "./element";

export async function sent(command: string) {
  const tv = await startTv();
  const program = await tv.send("GetProgram", { input: { programId: "1" } });
  holds<Same<typeof program, ZelumoText<ZelumoProgramReply>>>();
  const title: string = JSON.parse(program).program.title;
  await tv.send("GetProgram", { input: '{"programId":"1"}' });
  const volume: number = await tv.send("GetIntegerFromVconfWithKey", { key: "db/menu/volume" });
  const other = [await tv.send("GetVersio"), await tv.send(command, { key: 1 })];
  holds<Same<typeof other, unknown[]>>();

  // @ts-expect-error: no parameters
  await tv.send("GetProgram");
  // @ts-expect-error: a programme isn't asked for by a service
  await tv.send("GetProgram", { input: { TCServiceId: "1" } });
  // @ts-expect-error: a parameter of another type
  await tv.send("RegisterEvent", { event: "90019" });
  // @ts-expect-error: a parameter of another name
  await tv.send("GetIntegerFromVconfWithKey", { kee: "db/menu/volume" });
  return [title, volume];
}
