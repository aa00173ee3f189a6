// SPDX-License-Identifier: Apache-2.0
#include "services/player/media.h"

#include <algorithm>

namespace tv {

const char* NameOf(MediaState state)
{
    switch (state) {
        case MediaState::Created:
            return "created";
        case MediaState::Buffering:
            return "buffering";
        case MediaState::Playing:
            return "playing";
        case MediaState::Paused:
            return "paused";
        case MediaState::Stopped:
            return "stopped";
        case MediaState::Ended:
            return "ended";
        case MediaState::Failed:
            return "failed";
    }
    return "";
}

bool MediaStatus::HasDecoder() const
{
    return state == MediaState::Buffering || state == MediaState::Playing || state == MediaState::Paused;
}

bool MediaStatus::WantsToPlay() const
{
    return state == MediaState::Playing || (state == MediaState::Buffering && plays_on);
}

MediaStatus::Time MediaStatus::Start() const
{
    return window ? std::max(Time(0), duration - *window) : Time(0);
}

bool MediaStatus::Reaches(Time to) const
{
    return to >= Start() && (!has_duration || to <= duration);
}

MediaStatus MediaStatus::After(Time passed) const
{
    MediaStatus later = *this;
    if (live)
        later.duration += passed;
    if (rate != 0) {
        later.position += Time(static_cast<Time::rep>(static_cast<double>(passed.count()) * rate));
        if (has_duration)
            later.position = std::min(later.position, later.duration);
    }
    if (state == MediaState::Created || HasDecoder())
        later.position = std::max(later.position, later.Start());
    return later;
}

bool MediaStatus::Accepts(MediaCommand::Kind command) const
{
    switch (command) {
        case MediaCommand::Kind::Play:
            return !HasDecoder() && state != MediaState::Failed;
        case MediaCommand::Kind::Pause:
            return WantsToPlay();
        case MediaCommand::Kind::Resume:
            return HasDecoder() && !WantsToPlay();
        case MediaCommand::Kind::Stop:
        case MediaCommand::Kind::Seek:
            return HasDecoder() || state == MediaState::Ended;
        case MediaCommand::Kind::ToLiveEdge:
            return live && HasDecoder();
    }
    return false;
}

MediaStatus MediaStatus::Commanded(const MediaCommand& command) const
{
    MediaStatus next = *this;
    const auto buffer = [&next](Time from, bool at_edge, bool then_plays) {
        next.state = MediaState::Buffering;
        next.position = from;
        next.rate = at_edge ? 1 : 0;  // until it plays, the position moves with the edge
        next.plays_on = then_plays;
    };
    const bool buffers = state == MediaState::Buffering;
    switch (command.kind) {
        case MediaCommand::Kind::Play:
            if (state == MediaState::Created)
                buffer(position, rate != 0, true);
            else
                buffer(live ? duration : Time(0), live, true);
            break;
        case MediaCommand::Kind::Pause:
            next.plays_on = false;
            if (!buffers) {
                next.state = MediaState::Paused;
                next.rate = 0;
            }
            break;
        case MediaCommand::Kind::Resume:
            next.plays_on = true;
            if (!buffers) {
                next.state = MediaState::Playing;
                next.rate = 1;
            }
            break;
        case MediaCommand::Kind::Stop:
            next.state = MediaState::Stopped;
            next.position = Time(0);
            next.rate = 0;
            break;
        case MediaCommand::Kind::Seek:
            if (Reaches(command.position))
                buffer(command.position, false, WantsToPlay() || state == MediaState::Ended);
            break;
        case MediaCommand::Kind::ToLiveEdge:
            buffer(duration, true, true);
            break;
    }
    return next;
}

}  // namespace tv
