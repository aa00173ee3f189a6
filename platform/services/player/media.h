// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>

#include "zelumo-platform/export.h"

/// What playing a stream is, whoever plays it: how it stands, and what the commands make of that.
namespace tv {

enum class MediaState { Created, Buffering, Playing, Paused, Stopped, Ended, Failed };

/// As the TV's state and media lines have it.
ZELUMO_PLATFORM_API const char* NameOf(MediaState state);

/// What a player can be told to do. Play begins at the beginning, Resume goes on after a pause.
struct MediaCommand {
    enum class Kind { Play, Pause, Resume, Stop, Seek, ToLiveEdge };

    Kind kind;
    std::chrono::milliseconds position{0};  ///< of a Seek: where to
};

/// How a stream stands at some moment.
struct ZELUMO_PLATFORM_API MediaStatus {
    using Time = std::chrono::milliseconds;

    MediaState state = MediaState::Created;
    bool plays_on = false;  ///< while it buffers: whether it plays then, or is paused
    Time position{0};
    Time duration{0};          ///< of a live stream the position of its edge
    bool has_duration = true;  ///< else it isn't known, and 0
    bool live = false;
    double rate = 0;             ///< how many times as fast as the TV's clock the position moves
    std::optional<Time> window;  ///< live: how far behind the edge the position can be; absent: anywhere

    /// Buffering, playing or paused: it needs the TV's decoder, of which there is one.
    bool HasDecoder() const;
    bool WantsToPlay() const;
    /// The first position that there is.
    Time Start() const;
    /// Whether a seek may lead there.
    bool Reaches(Time to) const;

    /// How it stands when nothing happens for that long. What falls out of the window moves with its start.
    MediaStatus After(Time passed) const;

    /// The rules that hold for every player: whether the command makes sense now, and what it makes of this,
    /// before anything has come of it. A seek that leads outside is accepted and changes nothing.
    bool Accepts(MediaCommand::Kind command) const;
    MediaStatus Commanded(const MediaCommand& command) const;
};

}  // namespace tv
