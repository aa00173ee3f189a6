#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "core/json_node.h"
#include "zelumo-platform/export.h"

/// What there is to play, as a TV file describes it. Plain data.
namespace tv {

enum class StreamFault { None, Missing, Broken };

struct StreamConfig {
    std::string pattern;  ///< of addresses; * stands for any run of characters
    std::chrono::milliseconds duration{0};
    bool live = false;
    std::chrono::milliseconds buffer{0};
    StreamFault fault = StreamFault::None;
};

/// The streams that there are, before the built-in ones: a film, a short one, a live one, two faults, and an
/// hour for any other address.
struct PLATFORM_API StreamsConfig {
    std::vector<StreamConfig> streams;

    void Read(JsonObject& file);
    /// The first one whose pattern fits the address.
    StreamConfig Find(const std::string& url) const;
};

}  // namespace tv
