// SPDX-License-Identifier: Apache-2.0
#include "services/player/simulated_engine.h"

#include <algorithm>
#include <utility>

namespace tv {
namespace {

using Time = MediaEngine::Time;
using Kind = MediaCommand::Kind;

constexpr Time kTick{1000};
constexpr Time kNone{0};
constexpr int kAll = 100;  // percent

}  // namespace

SimulatedEngine::SimulatedEngine(StreamConfig stream, Time offset, Time now, Reporter report)
    : stream_(std::move(stream)), report_(std::move(report))
{
    MediaStatus status;
    status.state = stream_.fault == StreamFault::None ? MediaState::Created : MediaState::Failed;
    status.live = stream_.live;
    status.duration = stream_.duration;
    status.window = stream_.window;
    const bool at_edge = stream_.live && offset <= Time(0);
    status.position = at_edge ? status.duration : std::clamp(offset, status.Start(), status.duration);
    status.rate = at_edge ? 1 : 0;
    SetStatus(status, now);
}

void SimulatedEngine::Announce()
{
    switch (stream_.fault) {
        case StreamFault::None:
            return report_(BMS_EVENT_INIT_COMPLETE, kNone, kNone);
        case StreamFault::Missing:
            return report_(BMS_EVENT_FILE_NOT_FOUND, kNone, kNone);
        case StreamFault::Broken:
            return report_(BMS_EVENT_ERROR, kNone, kNone);
    }
}

void SimulatedEngine::CarryOut(const MediaCommand& command, Time now)
{
    const MediaStatus before = StatusAt(now);
    if (command.kind == Kind::Seek && !before.Reaches(command.position))
        return report_(BMS_EVENT_CONTENT_RANGE_OVER, kNone, kNone);
    if (before.state == MediaState::Playing)
        LeavePlaying(now);
    SetStatus(before.Commanded(command), now);
    switch (command.kind) {
        case Kind::Play:
            begun_ = false;
            seek_pending_ = false;
            after_begin_.clear();
            plays_left_ = stream_.fail_after;
            return Buffer(now, stream_.buffer, Why::Command);
        case Kind::Pause:
            return ReportOnceBegun(BMS_EVENT_PAUSE_COMPLETE);
        case Kind::Resume:
            if (status().state == MediaState::Playing) {
                StartPlaying(now);
                next_tick_ = now + tick_left_;
            }
            return ReportOnceBegun(BMS_EVENT_RESUME_COMPLETE);
        case Kind::Stop:
            return report_(BMS_EVENT_STOP_SUCCESS, kNone, kNone);
        case Kind::ToLiveEdge:
            if (!before.WantsToPlay())
                ReportOnceBegun(BMS_EVENT_RESUME_COMPLETE);
            [[fallthrough]];
        case Kind::Seek:
            seek_pending_ = true;
            return Buffer(now, stream_.buffer, Why::Command);
    }
}

void SimulatedEngine::Buffer(Time now, Time length, Why why)
{
    buffers_since_ = now;
    buffers_for_ = length;
    step_ = 0;
    stalled_ = why == Why::Stall;
    report_(BMS_EVENT_BUFFERING, kNone, kNone);
    if (length == Time(0))
        OnTime(now);
}

void SimulatedEngine::EndBuffering(Time now)
{
    report_(BMS_EVENT_BUFFERING, Time(kAll), kNone);
    if (!std::exchange(begun_, true)) {
        report_(BMS_EVENT_BEGIN_OF_STREAM, kNone, kNone);
        for (const _BmsEvent type : std::exchange(after_begin_, {}))
            report_(type, kNone, kNone);
    }
    MediaStatus next = StatusAt(now);
    next.state = next.plays_on ? MediaState::Playing : MediaState::Paused;
    next.rate = next.plays_on ? 1 : 0;
    SetStatus(next, now);
    tick_left_ = kTick;
    next_tick_ = now + kTick;
    if (std::exchange(stalled_, false))
        ++next_stall_;
    else
        next_stall_ = 0;
    StartPlaying(now);
    if (std::exchange(seek_pending_, false))
        report_(BMS_EVENT_SEEK_COMPLETE, next.position, next.duration);
}

// A page takes the begin for playing, so what came before it is told after it.
void SimulatedEngine::ReportOnceBegun(_BmsEvent type)
{
    if (status().state == MediaState::Buffering && !begun_)
        after_begin_.push_back(type);
    else
        report_(type, kNone, kNone);
}

void SimulatedEngine::StartPlaying(Time now)
{
    plays_since_ = now;
    plays_from_ = status().position;
    SkipStalls(plays_from_);
}

void SimulatedEngine::LeavePlaying(Time now)
{
    tick_left_ = next_tick_ - now;
    if (plays_left_)
        *plays_left_ -= now - plays_since_;
}

void SimulatedEngine::SkipStalls(Time position)
{
    while (next_stall_ < stream_.stalls.size() && stream_.stalls[next_stall_].at < position)
        ++next_stall_;
}

void SimulatedEngine::End(Time now, MediaState state, _BmsEvent type)
{
    MediaStatus next = StatusAt(now);
    next.state = state;
    next.rate = 0;
    SetStatus(next, now);
    report_(type, kNone, kNone);
}

Time SimulatedEngine::StepTime() const
{
    return buffers_since_ + buffers_for_ * (step_ + 1) / stream_.buffer_steps;
}

std::optional<Time> SimulatedEngine::StallTime() const
{
    if (next_stall_ == stream_.stalls.size())
        return std::nullopt;
    return plays_since_ + stream_.stalls[next_stall_].at - plays_from_;
}

std::optional<Time> SimulatedEngine::FailureTime() const
{
    return plays_left_ ? std::optional(plays_since_ + *plays_left_) : std::nullopt;
}

std::optional<Time> SimulatedEngine::EndTime() const
{
    return stream_.live ? std::nullopt : std::optional(plays_since_ + stream_.duration - plays_from_);
}

std::optional<Time> SimulatedEngine::NextTime() const
{
    if (status().state == MediaState::Buffering)
        return StepTime();
    if (status().state != MediaState::Playing)
        return std::nullopt;
    Time next = next_tick_;
    for (const std::optional<Time>& other : {FailureTime(), EndTime(), StallTime()})
        next = std::min(next, other.value_or(next));
    return next;
}

void SimulatedEngine::OnTime(Time now)
{
    while (status().state == MediaState::Buffering && now >= StepTime()) {
        if (++step_ == stream_.buffer_steps)
            return EndBuffering(now);
        report_(BMS_EVENT_BUFFERING, Time(kAll * step_ / stream_.buffer_steps), kNone);
    }
    if (status().state != MediaState::Playing)
        return;
    const auto has_come = [now](const std::optional<Time>& time) { return time && now >= *time; };
    if (now >= next_tick_) {
        const MediaStatus at = StatusAt(now);
        report_(BMS_EVENT_CURRENT_POSITION, at.position, at.duration);
        next_tick_ += kTick;
    }
    if (has_come(FailureTime()))
        return End(now, MediaState::Failed, BMS_EVENT_ERROR);
    if (has_come(EndTime()))
        return End(now, MediaState::Ended, BMS_EVENT_END_OF_STREAM);
    if (has_come(StallTime())) {
        LeavePlaying(now);
        MediaStatus next = StatusAt(now);
        next.state = MediaState::Buffering;
        next.plays_on = true;
        next.rate = 0;
        SetStatus(next, now);
        Buffer(now, stream_.stalls[next_stall_].length, Why::Stall);
    }
}

}  // namespace tv
