// SPDX-License-Identifier: Apache-2.0
// How long a test takes that does nothing, with and without a TV.
import config from "./playwright.config.mjs";

export default { ...config, testDir: "figures", workers: 1, fullyParallel: false };
