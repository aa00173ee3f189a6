// A page as one writes it with React: what is on, channel keys, a film.
import * as React from "react";
import { connect } from "zelumo-tv/client";

const FILM = "http://sample.tv/film.mpd";

function usePlugin() {
  const element = React.useRef(null);
  const [plugin, setPlugin] = React.useState(null);
  React.useEffect(() => setPlugin(connect(element.current)), []);
  return [element, plugin];
}

export function App() {
  const [element, plugin] = usePlugin();
  const [channel, setChannel] = React.useState(null);
  const [volume, setVolume] = React.useState(null);
  const [alert, setAlert] = React.useState("");
  const [film, setFilm] = React.useState("none");

  React.useEffect(() => {
    if (!plugin) return undefined;
    const readVolume = () => plugin.getIntegerFromVconfWithKey({ key: "db/menu/volume" }).then(setVolume, () => setVolume(null));
    // First it listens, then it looks: nothing can change unseen in between.
    const stops = [
      plugin.on("ITVS_Signal_ZELumo_Control_State_ChLoad", ({ ch_info }) => setChannel(ch_info)),
      plugin.on("ITVS_Signal_Instant_Off", () => setAlert("Good night")),
      plugin.on("db/menu/volume", readVolume),
      plugin.on("EndOfStream", () => setFilm("over")),
      plugin.on("Error", () => setFilm("failed")),
    ];
    plugin.getCurrentChannelInfo().then(setChannel, () => setAlert("No channel"));
    readVolume();
    const keys = {
      ChannelUp: () => plugin.setNextService(),
      ChannelDown: () => plugin.setPreviousService(),
    };
    const pressed = async ({ key }) => {
      if (!keys[key]) return;
      setAlert((await keys[key]()) ? "" : "Try again");
    };
    addEventListener("keydown", pressed);
    return () => {
      removeEventListener("keydown", pressed);
      for (const stop of stops) stop();
    };
  }, [plugin]);

  const watch = async () => {
    try {
      await plugin.init({ url: FILM, timeOffset: 0 });
      setFilm((await plugin.play()) ? "playing" : "failed");
    } catch {
      setFilm("failed");
    }
  };

  return (
    <main>
      <embed type="application/x-zelumo" ref={element} width="0" height="0" />
      <h1>{channel?.channelName ?? "…"}</h1>
      <p role="status">Volume {volume}</p>
      {alert && <p role="alert">{alert}</p>}
      <button onClick={watch}>Watch the film</button>
      <p className="film">{film}</p>
    </main>
  );
}
