// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "services/player/media_engine.h"
#include "services/player/streams.h"

namespace tv {

/// Plays on the TV's clock what the TV file says of a stream: nothing is received, decoded or drawn.
class SimulatedEngine : public MediaEngine {
  public:
    /// `offset` is where to begin. Of a live stream 0 is the live edge.
    SimulatedEngine(StreamConfig stream, Time offset, Time now, Reporter report);

    /// The first words: that the player is there, or what is wrong with its address.
    void Announce() override;
    void CarryOut(const MediaCommand& command, Time now) override;
    std::optional<Time> NextTime() const override;
    void OnTime(Time now) override;

  private:
    enum class Why { Command, Stall };

    void Buffer(Time now, Time length, Why why);
    void EndBuffering(Time now);
    void ReportOnceBegun(_BmsEvent type);
    void StartPlaying(Time now);
    void LeavePlaying(Time now);
    void SkipStalls(Time position);
    void End(Time now, MediaState state, _BmsEvent type);

    Time StepTime() const;
    std::optional<Time> StallTime() const;
    std::optional<Time> FailureTime() const;
    std::optional<Time> EndTime() const;

    const StreamConfig stream_;
    const Reporter report_;

    // While it buffers.
    Time buffers_since_{0};
    Time buffers_for_{0};
    int step_ = 0;                        ///< how many steps have been reported
    bool stalled_ = false;                ///< the stream has stalled, nobody has asked for it
    bool begun_ = false;                  ///< the begin was reported
    bool seek_pending_ = false;           ///< a seek completes with it
    std::vector<_BmsEvent> after_begin_;  ///< pauses and resumes that wait for the begin

    // While it plays, or is paused.
    Time plays_since_{0};
    Time plays_from_{0};              ///< the position then
    Time next_tick_{0};               ///< when the position is reported next
    Time tick_left_{0};               ///< paused: how much playing until then
    std::optional<Time> plays_left_;  ///< how much playing from plays_since_ on until it fails
    std::size_t next_stall_ = 0;
};

}  // namespace tv
