// SPDX-License-Identifier: Apache-2.0
// The browser of the tests and of the benchmark.
import { chromium } from "playwright-core";

const CHROMIUM = process.env.CHROMIUM ?? "/usr/bin/chromium";
const FLAGS = [
  "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
  "--disable-component-update", "--disable-sync",
];

export const launch = () => chromium.launch({ executablePath: CHROMIUM, args: FLAGS });
