// SPDX-License-Identifier: Apache-2.0
import { test as plain } from "@playwright/test";
import { test } from "zelumo-tv/playwright";

for (let n = 0; n < 21; n++) {
  plain(`plain ${n}`, async ({ page }) => page.goto("about:blank"));
  test(`tv ${n}`, async ({ page, tv }) => tv && page.goto("about:blank"));
}
