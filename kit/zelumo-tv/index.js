export { TvError, ZelumoError, startTv } from "./lib/tv.js";
export { verbs } from "./lib/verbs.js";
