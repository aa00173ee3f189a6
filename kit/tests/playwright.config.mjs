// SPDX-License-Identifier: Apache-2.0
// The kit's own fixture, in the browser of this machine.
import { defineConfig } from "@playwright/test";

const FLAGS = [
  "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
  "--disable-component-update", "--disable-sync",
];

export default defineConfig({
  testDir: "specs",
  fullyParallel: true,
  workers: 8,
  timeout: 40_000,
  expect: { timeout: 15_000 }, // eight browsers share what processors there are
  reporter: [["line"], ["json", { outputFile: process.env.KIT_REPORT ?? "report.json" }]],
  use: { launchOptions: { executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: FLAGS } },
});
