// SPDX-License-Identifier: Apache-2.0
// A test that fails, whose attachments are looked at.
import config from "./playwright.config.mjs";

export default { ...config, testDir: "failing", workers: 1, expect: { timeout: 700 } };
