// SPDX-License-Identifier: Apache-2.0
// A page as one writes it with React: what is on, channel keys, a film.
import * as React from "react";
import { createRoot } from "react-dom/client";
import { connect } from "zelumo-tv/client";

const FILM = "http://sample.tv/film.mpd";

function App() {
  const element = React.useRef(null);
  const [plugin, setPlugin] = React.useState(null);
  const [channel, setChannel] = React.useState(null);
  const [volume, setVolume] = React.useState(null);
  const [film, setFilm] = React.useState("none");

  React.useEffect(() => setPlugin(connect(element.current)), []);
  React.useEffect(() => {
    if (!plugin) return undefined;
    const readVolume = () => plugin.getIntegerFromVconfWithKey({ key: "db/menu/volume" }).then(setVolume);
    // First it listens, then it looks: nothing can change unseen in between.
    const stops = [
      plugin.on("ITVS_Signal_ZELumo_Control_State_ChLoad", ({ ch_info }) => setChannel(ch_info)),
      plugin.on("db/menu/volume", readVolume),
      plugin.on("EndOfStream", () => setFilm("over")),
      plugin.on("Error", () => setFilm("failed")),
    ];
    plugin.getCurrentChannelInfo().then(setChannel);
    readVolume();
    const keys = { ChannelUp: plugin.setNextService, ChannelDown: plugin.setPreviousService };
    const pressed = ({ key }) => keys[key]?.();
    addEventListener("keydown", pressed);
    return () => {
      removeEventListener("keydown", pressed);
      for (const stop of stops) stop();
    };
  }, [plugin]);

  const watch = async () => {
    await plugin.init({ url: FILM, timeOffset: 0 });
    await plugin.play();
    setFilm("playing");
  };

  return (
    <main>
      <embed type="application/x-zelumo" ref={element} width="0" height="0" />
      <h1>{channel?.channelName ?? "…"}</h1>
      <p role="status">Volume {volume}</p>
      <button onClick={watch}>Watch the film</button>
      <p className="film">{film}</p>
    </main>
  );
}

createRoot(document.querySelector("#root")).render(<App />);
