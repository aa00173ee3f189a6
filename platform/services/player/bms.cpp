// SPDX-License-Identifier: Apache-2.0
#include "player-service/bms.h"

#include "core/calls.h"
#include "core/form.h"
#include "services/player/player_service.h"

namespace tv {
namespace {

/// A rights record as the journal has it.
struct DrmArgument {
    const _BmsDrmInfo& drm;
};

}  // namespace

template <>
struct Form<DrmArgument> {
    static Json::Value Write(const DrmArgument& argument)
    {
        Json::Value json;
        json["drmType"] = argument.drm.drmType;
        json["drmOp"] = argument.drm.drmOp;
        json["drmData"] = argument.drm.drmData;
        return json;
    }
};

namespace {

struct BmsCalls : CallTable {
    Call<int(const char*, const char*, int, int, DrmArgument), Out<BmsPlayerId>> create_player{
        *this, "BmsCreatePlayer"};
    Call<int(BmsPlayerId)> play{*this, "BmsPlay"};
    Call<int(BmsPlayerId)> pause{*this, "BmsPause"};
    Call<int(BmsPlayerId)> resume{*this, "BmsResume"};
    Call<int(BmsPlayerId)> stop{*this, "BmsStop"};
    Call<int(BmsPlayerId)> resume_live{*this, "BmsResumeLive"};
    Call<int(BmsPlayerId, std::int32_t)> seek{*this, "BmsSeek"};
    Call<int(BmsPlayerId), Out<std::int32_t>> get_play_time{*this, "BmsGetPlayTime"};
    Call<int(BmsPlayerId, int, int, int, int)> set_video_position{*this, "BmsSetVideoPosition"};
    Call<int(BmsPlayerId)> set_callback{*this, "BmsSetCallback"};
    Call<int(BmsPlayerId)> unset_callback{*this, "BmsUnSetCallback"};
};

}  // namespace

const CallTable* PlayerService::calls() const
{
    return &TheTable<BmsCalls>();
}

}  // namespace tv

namespace {

using Command = tv::MediaCommand::Kind;

const tv::BmsCalls& Calls()
{
    return tv::TheTable<tv::BmsCalls>();
}

tv::PlayerService& Service()
{
    return tv::PlayerService::Get();
}

/// The result of a command that gives a value, which is written when there is one.
template <typename T>
int Give(const std::optional<T>& value, tv::Out<T>& out)
{
    if (!value)
        return -1;
    out.Set(*value);
    return 0;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
int BmsCreatePlayer(const char* url, const char* mimeType, int timeOffset, int playerType, _BmsDrmInfo drm,
                    BmsPlayerId* id)
{
    return Calls().create_player(
        url, mimeType, timeOffset, playerType, tv::DrmArgument{drm}, tv::Out(id), [&](auto& out) {
            const tv::MediaSource source{url == nullptr ? "" : url, timeOffset,
                                         mimeType == nullptr ? "" : mimeType, playerType, drm};
            return Give(Service().Create(source), out);
        });
}

int BmsPlay(BmsPlayerId id)
{
    return Calls().play(id, [&] { return Service().Do(id, Command::Play); });
}

int BmsPause(BmsPlayerId id)
{
    return Calls().pause(id, [&] { return Service().Do(id, Command::Pause); });
}

int BmsResume(BmsPlayerId id)
{
    return Calls().resume(id, [&] { return Service().Do(id, Command::Resume); });
}

int BmsStop(BmsPlayerId id)
{
    return Calls().stop(id, [&] { return Service().Do(id, Command::Stop); });
}

int BmsResumeLive(BmsPlayerId id)
{
    return Calls().resume_live(id, [&] { return Service().Do(id, Command::ToLiveEdge); });
}

int BmsSeek(BmsPlayerId id, std::int32_t position)
{
    return Calls().seek(id, position, [&] {
        return Service().Do(id, {Command::Seek, std::chrono::milliseconds(position)});
    });
}

int BmsGetPlayTime(BmsPlayerId id, std::int32_t* position)
{
    return Calls().get_play_time(id, tv::Out(position),
                                 [&](auto& out) { return Give(Service().PlayTime(id), out); });
}

int BmsSetVideoPosition(BmsPlayerId id, int x, int y, int width, int height)
{
    return Calls().set_video_position(id, x, y, width, height, [&] {
        return Service().SetVideoPosition(id, {x, y, width, height});
    });
}

int BmsSetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* userData)
{
    return Calls().set_callback(id, [&] { return Service().SetCallback(id, callback, userData); });
}

int BmsUnSetCallback(BmsPlayerId id, void* userData)
{
    return Calls().unset_callback(id, [&] { return Service().UnsetCallback(id, userData); });
}
