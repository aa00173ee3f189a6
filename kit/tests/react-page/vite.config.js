// SPDX-License-Identifier: Apache-2.0
import { zelumoTv } from "zelumo-tv/vite";

export default { plugins: [zelumoTv({ date: "2026-01-01T20:00:00Z" })] };
