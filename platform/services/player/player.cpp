#include "services/player/player.h"

#include <algorithm>
#include <utility>

namespace tv {
namespace {

constexpr Player::Time kTick{1000};
constexpr Player::Time kNone{0};
constexpr Player::Time kAll{100};  // percent

}  // namespace

Player::Player(StreamConfig stream, Time offset, Time now, Reporter report)
    : stream_(std::move(stream)),
      created_(now),
      report_(std::move(report)),
      state_(stream_.fault == StreamFault::None ? State::Created : State::Failed),
      position_(std::clamp(offset, Time(0), stream_.duration)),
      at_edge_(stream_.live && offset <= Time(0))
{}

void Player::Announce()
{
    if (std::exchange(announced_, true))
        return;
    switch (stream_.fault) {
        case StreamFault::None:
            return report_(BMS_EVENT_INIT_COMPLETE, kNone, kNone);
        case StreamFault::Missing:
            return report_(BMS_EVENT_FILE_NOT_FOUND, kNone, kNone);
        case StreamFault::Broken:
            return report_(BMS_EVENT_ERROR, kNone, kNone);
    }
}

bool Player::IsRunning() const
{
    return state_ == State::Buffering || state_ == State::Playing || state_ == State::Paused;
}

bool Player::WantsToPlay() const
{
    return state_ == State::Playing || (state_ == State::Buffering && play_after_);
}

bool Player::Play(Time now)
{
    if (IsRunning() || state_ == State::Failed)
        return false;
    if (state_ != State::Created) {
        position_ = Time(0);
        at_edge_ = stream_.live;
    }
    play_after_ = true;
    begun_ = false;
    seek_pending_ = false;
    Buffer(now);
    return true;
}

void Player::Buffer(Time now)
{
    state_ = State::Buffering;
    buffered_at_ = now + stream_.buffer;
    report_(BMS_EVENT_BUFFERING, kNone, kNone);
    if (stream_.buffer == Time(0))
        EndBuffering(now);
}

void Player::EndBuffering(Time now)
{
    report_(BMS_EVENT_BUFFERING, kAll, kNone);
    if (!std::exchange(begun_, true))
        report_(BMS_EVENT_BEGIN_OF_STREAM, kNone, kNone);
    position_ = Position(now);
    at_edge_ = false;
    state_ = play_after_ ? State::Playing : State::Paused;
    since_ = now;
    next_tick_ = now + kTick;
    tick_left_ = kTick;
    if (std::exchange(seek_pending_, false))
        report_(BMS_EVENT_SEEK_COMPLETE, position_, Duration(now));
}

bool Player::Pause(Time now)
{
    if (!WantsToPlay())
        return false;
    if (state_ == State::Buffering) {
        play_after_ = false;
    } else {
        position_ = Position(now);
        tick_left_ = next_tick_ - now;
        state_ = State::Paused;
    }
    report_(BMS_EVENT_PAUSE_COMPLETE, kNone, kNone);
    return true;
}

bool Player::Resume(Time now)
{
    if (!IsRunning() || WantsToPlay())
        return false;
    if (state_ == State::Buffering) {
        play_after_ = true;
    } else {
        since_ = now;
        next_tick_ = now + tick_left_;
        state_ = State::Playing;
    }
    report_(BMS_EVENT_RESUME_COMPLETE, kNone, kNone);
    return true;
}

bool Player::Stop()
{
    if (!IsRunning() && state_ != State::Ended)
        return false;
    state_ = State::Stopped;
    position_ = Time(0);
    at_edge_ = false;
    report_(BMS_EVENT_STOP_SUCCESS, kNone, kNone);
    return true;
}

bool Player::Seek(Time position, Time now)
{
    if (!IsRunning() && state_ != State::Ended)
        return false;
    if (position < Time(0) || position > Duration(now)) {
        report_(BMS_EVENT_CONTENT_RANGE_OVER, kNone, kNone);
        return true;
    }
    play_after_ = WantsToPlay() || state_ == State::Ended;
    position_ = position;
    at_edge_ = false;
    seek_pending_ = true;
    Buffer(now);
    return true;
}

bool Player::ResumeLive(Time now)
{
    if (!stream_.live || !IsRunning())
        return false;
    if (!WantsToPlay())
        report_(BMS_EVENT_RESUME_COMPLETE, kNone, kNone);
    play_after_ = true;
    at_edge_ = true;
    seek_pending_ = true;
    Buffer(now);
    return true;
}

std::optional<Player::Time> Player::NextTime() const
{
    if (state_ == State::Buffering)
        return buffered_at_;
    if (state_ == State::Playing)
        return stream_.live ? next_tick_ : std::min(next_tick_, EndTime());
    return std::nullopt;
}

void Player::OnTime(Time now)
{
    if (state_ == State::Buffering && now >= buffered_at_)
        return EndBuffering(now);
    if (state_ != State::Playing)
        return;
    if (now >= next_tick_) {
        report_(BMS_EVENT_CURRENT_POSITION, Position(now), Duration(now));
        next_tick_ += kTick;
    }
    if (!stream_.live && now >= EndTime()) {
        position_ = stream_.duration;
        state_ = State::Ended;
        report_(BMS_EVENT_END_OF_STREAM, kNone, kNone);
    }
}

Player::Time Player::Position(Time now) const
{
    if (at_edge_)
        return Duration(now);
    if (state_ != State::Playing)
        return position_;
    return std::min(position_ + now - since_, Duration(now));
}

Player::Time Player::Duration(Time now) const
{
    return stream_.live ? stream_.duration + now - created_ : stream_.duration;
}

const char* NameOf(Player::State state)
{
    switch (state) {
        case Player::State::Created:
            return "created";
        case Player::State::Buffering:
            return "buffering";
        case Player::State::Playing:
            return "playing";
        case Player::State::Paused:
            return "paused";
        case Player::State::Stopped:
            return "stopped";
        case Player::State::Ended:
            return "ended";
        case Player::State::Failed:
            return "failed";
    }
    return "";
}

}  // namespace tv
