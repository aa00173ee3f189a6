#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "player-service/bms.h"
#include "services/player/streams.h"
#include "zelumo-platform/export.h"

namespace tv {

/// One player: what state it is in, where its stream stands, and what it has to report. It knows the time
/// only as it is told, so whoever holds it calls OnTime when NextTime has come. Times are playing time.
/// Commands give false, and change nothing, where they make no sense. One thread at a time.
class Player {
  public:
    using Time = std::chrono::milliseconds;
    enum class State { Created, Buffering, Playing, Paused, Stopped, Ended, Failed };
    /// Receives the reports in their order, from inside the calls that cause them.
    using Reporter = std::function<void(_BmsEvent type, Time value1, Time value2)>;

    /// `offset` is where to begin. Of a live stream 0 is the live edge.
    Player(StreamConfig stream, Time offset, Time now, Reporter report);

    /// The first words: that the player is there, or what is wrong with its address. Once.
    void Announce();

    /// From the beginning: of a player that was created, was stopped or is at the end.
    bool Play(Time now);
    bool Pause(Time now);
    bool Resume(Time now);
    bool Stop();
    /// While something plays or is paused, and at the end. A position outside the stream is reported and
    /// leaves everything as it is.
    bool Seek(Time position, Time now);
    /// Live streams: plays on at the live edge.
    bool ResumeLive(Time now);

    /// When OnTime wants to be called next.
    std::optional<Time> NextTime() const;
    void OnTime(Time now);

    State state() const { return state_; }
    Time Position(Time now) const;
    Time Duration(Time now) const;
    bool live() const { return stream_.live; }

  private:
    bool IsRunning() const;
    bool WantsToPlay() const;
    void Buffer(Time now);
    void EndBuffering(Time now);
    Time EndTime() const { return since_ + stream_.duration - position_; }

    const StreamConfig stream_;
    const Time created_;
    const Reporter report_;
    bool announced_ = false;
    State state_ = State::Created;
    Time position_{0};           ///< at `since_` while playing, else now
    bool at_edge_ = false;       ///< until it plays, the position moves with the live edge
    Time since_{0};              ///< playing: since when, from position_ on
    Time next_tick_{0};          ///< playing: when the position is reported next
    Time tick_left_{0};          ///< paused: how much playing until then
    Time buffered_at_{0};        ///< buffering: when it is done
    bool play_after_ = false;    ///< buffering: to play or to be paused then
    bool begun_ = false;         ///< buffering: the begin was reported
    bool seek_pending_ = false;  ///< buffering: a seek completes with it
};

/// As the TV's state has it.
PLATFORM_API const char* NameOf(Player::State state);

}  // namespace tv
