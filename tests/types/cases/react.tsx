// SPDX-License-Identifier: Apache-2.0
import { useEffect, useRef } from "react";
import { connect } from "zelumo-tv/client";

export function Tv() {
  const element = useRef<HTMLEmbedElement>(null);
  useEffect(() => {
    const embed = element.current!;
    const listen = ({ data }: MessageEvent<ZelumoMessage>) => data.command;
    embed.addEventListener("message", listen);
    void connect(embed).getCurrentChannelInfo();
    const { code } = embed.postMessageAndAwaitResponse({ command: "SetNextService" });
    return () => embed.removeEventListener("message", listen, code === 0);
  }, []);
  return (
    <>
      <embed ref={element} type="application/x-zelumo" width={0} height={0} />
      <embed ref={(embed) => void embed?.postMessage({ command: "GetVersion" })} type="application/x-zelumo" />
      {/* @ts-expect-error: no such command */}
      <embed ref={(embed) => void embed?.postMessageAndAwaitResponse({ command: "Next" })} />
    </>
  );
}
