// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "soak/rounds.h"

namespace soak {

/// A part of the run: `zelumo-tv serve --settings FILE` is killed while settings are written, and started
/// again with the same file, which must hold every write that was answered. Until the time is over, and at
/// least a dozen times. Prints what was done.
void RunKills(const Run& run, std::uint64_t number, std::chrono::duration<double> time);

}  // namespace soak
