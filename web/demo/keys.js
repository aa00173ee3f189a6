// SPDX-License-Identifier: Apache-2.0
/**
 * Keys of a TV's remote, by the names that KeyboardEvent.key has for them. Each is [name, label, spoken name, tooltip]; the
 * spoken name is the label where it is empty.
 */
export const BLOCKS = [
  [
    "dpad",
    [
      ["Info", "Info", ""],
      ["ArrowUp", "▲", "Up"],
      ["Exit", "Exit", ""],
      ["ArrowLeft", "◀\uFE0E", "Left"],
      ["Enter", "OK", ""],
      ["ArrowRight", "▶\uFE0E", "Right"],
      ["GoBack", "↩\uFE0E", "Back"],
      ["ArrowDown", "▼", "Down"],
      ["Settings", "⚙\uFE0E", "Settings"],
    ],
  ],
  ["digits", [..."123456789"].map((d) => [d, d, `Digit ${d}`]).concat([["Teletext", "Text", "Teletext"], ["0", "0", "Digit 0"], ["Subtitle", "Sub", "Subtitles"]])],
  [
    "functions",
    [
      ["ChannelUp", "Ch +", "Channel up"],
      ["AudioVolumeUp", "Vol +", "Volume up"],
      ["ChannelDown", "Ch −", "Channel down"],
      ["AudioVolumeDown", "Vol −", "Volume down"],
      ["Guide", "Guide", ""],
      ["ContextMenu", "Menu", ""],
      ["Power", "Power", "", "The key Power, as the page gets it"],
    ],
  ],
  [
    "colours",
    [
      ["ColorF0Red", "", "Red"],
      ["ColorF1Green", "", "Green"],
      ["ColorF2Yellow", "", "Yellow"],
      ["ColorF3Blue", "", "Blue"],
    ],
  ],
  [
    "media",
    [
      ["MediaRewind", "◀◀", "Rewind"],
      ["MediaPlayPause", "▶❙❙", "Play or pause"],
      ["MediaStop", "■", "Stop"],
      ["MediaFastForward", "▶▶", "Fast forward"],
    ],
  ],
];

// Keys that have no button; the form offers them.
const OTHERS = [
  "MediaPlay", "MediaPause", "MediaRecord", "MediaTrackPrevious", "MediaTrackNext", "AudioVolumeMute", "Home", "BrowserHome", "Escape", "Backspace", "PageUp",
  "PageDown", "Help", "TVInput",
];

/** [name, meaning] of the keys, for a form's choice. */
export const KEY_OPTIONS = BLOCKS.flatMap(([, keys]) => keys.map(([name, label, spoken]) => [name, spoken || label])).concat(OTHERS.map((name) => [name, ""]));
