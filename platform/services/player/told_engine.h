// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "services/player/media_engine.h"

namespace tv {

/// What is to be played, as it was asked for.
struct MediaSource {
    std::string url;
    int offset_seconds = 0;  ///< where to begin
    std::string mime_type = {};
    int player_type = 0;
    _BmsDrmInfo drm = {};
};

/// What the one who plays tells of a player.
struct MediaNews {
    MediaStatus status;
    /// The number of the last command that it had carried out; absent: all of them.
    std::optional<std::int32_t> sequence;
};

/// Somebody else plays, out of reach: a browser page, or a recording of one. What is to be done is told to
/// it, and what has become of that is heard of it later. Until then the status is what the command makes of
/// it.
class ToldEngine : public MediaEngine {
  public:
    /// Receives each command, as {"player", "do", …}; it never waits. None is told to an empty one.
    using Tell = std::function<void(const Json::Value& command)>;

    ToldEngine(BmsPlayerId id, const MediaSource& source,
               const std::map<std::string, std::string>& key_systems, Time now, Tell tell);
    ~ToldEngine() override;

    void CarryOut(const MediaCommand& command, Time now) override;
    void Place(const MediaRect& rect) override;

    /// Sets the status right. News from before the last command say nothing about the state that it has led
    /// to.
    void Hear(const MediaNews& news, Time now);

  private:
    /// Tells {"player", "do": what} with the members of `more`.
    void Say(const char* what, Json::Value more = Json::Value(Json::objectValue)) const;

    const BmsPlayerId id_;
    const Tell tell_;
    std::int32_t sequence_ = 0;  ///< the number of the last command
};

}  // namespace tv
