// SPDX-License-Identifier: Apache-2.0
export { TvError, ZelumoError } from "./lib/errors.js";
export { startTv } from "./lib/tv.js";
export { verbs } from "./lib/verbs.js";
