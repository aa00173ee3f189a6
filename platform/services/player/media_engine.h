// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "player-service/bms.h"
#include "services/player/media.h"

namespace tv {

/// A rectangle of the TV's screen, 1920 by 1080 pixels; any numbers.
struct MediaRect {
    int x, y, width, height;
};

/// Plays one stream for one player. It never blocks, and its destructor releases what it holds. It knows the
/// TV's time only as it is told, so whoever holds it calls OnTime when NextTime has come. One thread at a
/// time.
class MediaEngine {
  public:
    using Time = MediaStatus::Time;
    /// Receives the reports in their order, from inside the calls that cause them.
    using Reporter = std::function<void(_BmsEvent type, Time value1, Time value2)>;

    virtual ~MediaEngine() = default;
    MediaEngine(const MediaEngine&) = delete;
    MediaEngine& operator=(const MediaEngine&) = delete;

    /// What is known of the stream: its last status, carried on by the TV's clock.
    MediaStatus StatusAt(Time now) const { return status_.After(now - since_); }

    /// Somebody hears the reports from now on. Once.
    virtual void Announce() {}
    /// A command that the status accepts.
    virtual void CarryOut(const MediaCommand& command, Time now) = 0;
    virtual void Place(const MediaRect&) {}

    /// When OnTime wants to be called next.
    virtual std::optional<Time> NextTime() const { return std::nullopt; }
    virtual void OnTime(Time) {}

  protected:
    MediaEngine() = default;

    void SetStatus(const MediaStatus& status, Time now)
    {
        status_ = status;
        since_ = now;
    }
    const MediaStatus& status() const { return status_; }

  private:
    MediaStatus status_;
    Time since_{0};
};

}  // namespace tv
