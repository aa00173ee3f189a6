// SPDX-License-Identifier: Apache-2.0
import type { Plugin } from "vite";
import type { StartOptions } from "./index.js";

/**
 * While `vite dev` runs, there is a TV for its pages; in a build nothing of it is left. The clock is real, unless `speed` or
 * `clock` says otherwise. Paths are those of Vite's root. With ZELUMO_TV_URL in the environment the pages use that TV.
 */
export function zelumoTv(options?: StartOptions): Plugin;
