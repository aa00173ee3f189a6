// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/json_node.h"
#include "zelumo-platform/export.h"

/// What there is to play, as a TV file describes it. Plain data.
namespace tv {

enum class StreamFault { None, Missing, Broken };

/// Where a stream has nothing to play for a while.
struct StreamStall {
    std::chrono::milliseconds at{0};  ///< the position
    std::chrono::milliseconds length{0};
};

struct StreamConfig {
    std::string pattern;  ///< of addresses; * stands for any run of characters
    std::chrono::milliseconds duration{0};
    bool live = false;
    std::chrono::milliseconds buffer{0};
    StreamFault fault = StreamFault::None;
    int buffer_steps = 1;  ///< in how many steps buffering rises, from 1 to 100
    std::optional<std::chrono::milliseconds>
        fail_after;                                   ///< so much playing since "Play"; absent: it doesn't
    std::vector<StreamStall> stalls;                  ///< by their positions, which differ
    std::optional<std::chrono::milliseconds> window;  ///< live: how far back one may seek; absent: to 0
};

/// The streams that there are, before the built-in ones: a film, a short one, a live one, two faults, and an
/// hour for any other address.
struct ZELUMO_PLATFORM_API StreamsConfig {
    std::vector<StreamConfig> streams;
    std::map<std::string, std::string> key_systems;  ///< by the page's "drmType"

    /// The sections "streams" and "drm" of a TV file.
    void Read(JsonObject& file);
    /// The first one whose pattern fits the address.
    StreamConfig Find(const std::string& url) const;
};

}  // namespace tv
