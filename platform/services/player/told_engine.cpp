// SPDX-License-Identifier: Apache-2.0
#include "services/player/told_engine.h"

#include <algorithm>
#include <utility>

namespace tv {
namespace {

const char* NameOf(MediaCommand::Kind command)
{
    switch (command) {
        case MediaCommand::Kind::Play:
            return "play";
        case MediaCommand::Kind::Pause:
            return "pause";
        case MediaCommand::Kind::Resume:
            return "resume";
        case MediaCommand::Kind::Stop:
            return "stop";
        case MediaCommand::Kind::Seek:
            return "seek";
        case MediaCommand::Kind::ToLiveEdge:
            return "live";
    }
    return "";
}

/// A key system, as browsers name it: of the TV file, or the type itself where it looks like one. Else null.
Json::Value KeySystem(const std::string& type, const std::map<std::string, std::string>& key_systems)
{
    if (const auto found = key_systems.find(type); found != key_systems.end())
        return found->second;
    return type.find('.') == std::string::npos ? Json::Value() : Json::Value(type);
}

}  // namespace

ToldEngine::ToldEngine(BmsPlayerId id, const MediaSource& source,
                       const std::map<std::string, std::string>& key_systems, Time now, Tell tell)
    : id_(id), tell_(std::move(tell))
{
    MediaStatus status;
    status.has_duration = false;
    status.position = std::max(Time(0), Time(std::chrono::seconds(source.offset_seconds)));
    SetStatus(status, now);

    Json::Value create;
    create["url"] = source.url;
    create["mimeType"] = source.mime_type;
    create["offset"] = source.offset_seconds;
    create["type"] = source.player_type;
    create["seq"] = sequence_;
    // cppcheck-suppress variableScope ; asking for the member makes it null where there are no rights
    Json::Value& drm = create["drm"];
    if (const auto& [type, op, data] = source.drm; !type.empty() || !op.empty() || !data.empty()) {
        drm["drmType"] = type;
        drm["drmOp"] = op;
        drm["drmData"] = data;
        drm["keySystem"] = KeySystem(type, key_systems);
    }
    Say("create", std::move(create));
}

ToldEngine::~ToldEngine()
{
    Say("release");
}

void ToldEngine::CarryOut(const MediaCommand& command, Time now)
{
    SetStatus(StatusAt(now).Commanded(command), now);
    Json::Value more;
    more["seq"] = ++sequence_;
    if (command.kind == MediaCommand::Kind::Seek)
        more["position"] = static_cast<Json::Int64>(command.position.count());
    Say(NameOf(command.kind), std::move(more));
}

void ToldEngine::Place(const MediaRect& rect)
{
    Json::Value more;
    more["rect"]["x"] = rect.x;
    more["rect"]["y"] = rect.y;
    more["rect"]["width"] = rect.width;
    more["rect"]["height"] = rect.height;
    Say("place", std::move(more));
}

void ToldEngine::Hear(const MediaNews& news, Time now)
{
    const MediaStatus known = StatusAt(now);
    MediaStatus status = news.status;
    // A failure is the end, whatever was asked for meanwhile.
    const bool failed = status.state == MediaState::Failed;
    if (news.sequence && *news.sequence < sequence_ && !failed) {
        status.state = known.state;
        status.plays_on = known.plays_on;
        status.position = known.position;
        status.rate = known.rate;
    } else if (status.state == MediaState::Buffering) {
        status.plays_on = known.WantsToPlay();
    }
    SetStatus(status, now);
}

void ToldEngine::Say(const char* what, Json::Value more) const
{
    if (!tell_)
        return;
    more["player"] = id_;
    more["do"] = what;
    tell_(more);
}

}  // namespace tv
