#include "player-service/bms.h"

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
    Call<int, Out<BmsPlayerId>> create_player{*this, "BmsCreatePlayer"};
    Call<int> play{*this, "BmsPlay"};
    Call<int> pause{*this, "BmsPause"};
    Call<int> resume{*this, "BmsResume"};
    Call<int> stop{*this, "BmsStop"};
    Call<int> resume_live{*this, "BmsResumeLive"};
    Call<int> seek{*this, "BmsSeek"};
    Call<int, Out<std::int32_t>> get_play_time{*this, "BmsGetPlayTime"};
    Call<int> set_video_position{*this, "BmsSetVideoPosition"};
    Call<int> set_callback{*this, "BmsSetCallback"};
    Call<int> unset_callback{*this, "BmsUnSetCallback"};
};

}  // namespace

const CallTable* PlayerService::calls() const
{
    return &TheTable<BmsCalls>();
}

}  // namespace tv

namespace {

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
    const std::tuple args(url, mimeType, timeOffset, playerType, tv::DrmArgument{drm});
    return Calls().create_player(args, tv::Out(id),
                                 [&](auto& out) { return Give(Service().Create(url, timeOffset), out); });
}

int BmsPlay(BmsPlayerId id)
{
    return Calls().play(std::tie(id), [&] { return Service().Play(id); });
}

int BmsPause(BmsPlayerId id)
{
    return Calls().pause(std::tie(id), [&] { return Service().Pause(id); });
}

int BmsResume(BmsPlayerId id)
{
    return Calls().resume(std::tie(id), [&] { return Service().Resume(id); });
}

int BmsStop(BmsPlayerId id)
{
    return Calls().stop(std::tie(id), [&] { return Service().Stop(id); });
}

int BmsResumeLive(BmsPlayerId id)
{
    return Calls().resume_live(std::tie(id), [&] { return Service().ResumeLive(id); });
}

int BmsSeek(BmsPlayerId id, std::int32_t position)
{
    return Calls().seek(std::tie(id, position), [&] { return Service().Seek(id, position); });
}

int BmsGetPlayTime(BmsPlayerId id, std::int32_t* position)
{
    return Calls().get_play_time(std::tie(id), tv::Out(position),
                                 [&](auto& out) { return Give(Service().PlayTime(id), out); });
}

int BmsSetVideoPosition(BmsPlayerId id, int x, int y, int width, int height)
{
    return Calls().set_video_position(std::tie(id, x, y, width, height),
                                      [&] { return Service().SetVideoPosition(id, x, y, width, height); });
}

int BmsSetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* userData)
{
    return Calls().set_callback(std::tie(id), [&] { return Service().SetCallback(id, callback, userData); });
}

int BmsUnSetCallback(BmsPlayerId id, void* userData)
{
    return Calls().unset_callback(std::tie(id), [&] { return Service().UnsetCallback(id, userData); });
}
