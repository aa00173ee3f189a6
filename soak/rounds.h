// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "soak/findings.h"
#include "soak/hosts.h"
#include "soak/ledger.h"
#include "soak/leftovers.h"

namespace soak {

/// What all parts of the run need.
struct Run {
    const std::uint64_t seed;
    Findings& findings;
    Watchdog& watchdog;
};

/// A part of the run: one host, and pages that live in it one after the other, until the time is over or
/// something was found. Prints what was done. `number` tells the parts apart for the seed.
void RunPages(const Run& run, std::uint64_t number, const std::string& name,
              const std::function<std::unique_ptr<Host>()>& make_host, std::chrono::duration<double> time);

}  // namespace soak
