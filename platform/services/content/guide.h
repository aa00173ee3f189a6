// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "services/tv/line_up.h"

namespace tv {

/// One programme of the guide. Times are whole seconds since 1970.
struct Program {
    std::chrono::seconds start{0};
    std::chrono::seconds end{0};
    const ProgramText* text = nullptr;  ///< never null; lives as long as the line-up
};

/// What is on when. Every channel has a programme at any time, and it depends on nothing but the channel,
/// the time and, where the channel brings its own guide, the half hour in which that guide begins. Any
/// thread.
class Guide {
  public:
    /// `line_up` outlives this object and what it returns. `origin`: a time within that half hour.
    Guide(const LineUp& line_up, std::chrono::milliseconds origin);

    /// The programme that is on at that time, 1970 or later.
    Program At(const ChannelConfig& channel, std::chrono::milliseconds time) const;
    /// The programme that begins at that time.
    std::optional<Program> StartingAt(const ChannelConfig& channel, std::chrono::seconds start) const;

  private:
    Program InOwnGuide(const ChannelConfig& channel, std::chrono::seconds time) const;
    Program InSchedule(const ChannelConfig& channel, std::chrono::seconds time) const;

    const LineUp& line_up_;
    const std::chrono::seconds origin_;
};

}  // namespace tv
