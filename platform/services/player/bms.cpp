#include "player-service/bms.h"

#include "core/calls.h"
#include "tv/tv.h"

namespace tv {
namespace {

/// A rights record as the journal has it.
struct DrmArgument {
    const _BmsDrmInfo& drm;
};

Json::Value ToJson(const DrmArgument& argument)
{
    Json::Value json;
    json["drmType"] = argument.drm.drmType;
    json["drmOp"] = argument.drm.drmOp;
    json["drmData"] = argument.drm.drmData;
    return json;
}

PlayerService& Service()
{
    return Tv::Get().player();
}

}  // namespace
}  // namespace tv

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
int BmsCreatePlayer(const char* url, const char* mimeType, int timeOffset, int playerType, _BmsDrmInfo drm,
                    BmsPlayerId* id)
{
    tv::Out<int> out(id);
    const std::tuple args(url, mimeType, timeOffset, playerType, tv::DrmArgument{drm});
    return tv::Call<int>(
        tv::CallId::BmsCreatePlayer, args,
        [&] {
            const std::optional<BmsPlayerId> made = tv::Service().Create(url, timeOffset);
            if (!made)
                return -1;
            out.Set(*made);
            return 0;
        },
        out);
}

int BmsPlay(BmsPlayerId id)
{
    return tv::Call<int>(tv::CallId::BmsPlay, std::tie(id), [&] { return tv::Service().Play(id); });
}

int BmsPause(BmsPlayerId id)
{
    return tv::Call<int>(tv::CallId::BmsPause, std::tie(id), [&] { return tv::Service().Pause(id); });
}

int BmsResume(BmsPlayerId id)
{
    return tv::Call<int>(tv::CallId::BmsResume, std::tie(id), [&] { return tv::Service().Resume(id); });
}

int BmsStop(BmsPlayerId id)
{
    return tv::Call<int>(tv::CallId::BmsStop, std::tie(id), [&] { return tv::Service().Stop(id); });
}

int BmsResumeLive(BmsPlayerId id)
{
    return tv::Call<int>(tv::CallId::BmsResumeLive, std::tie(id),
                         [&] { return tv::Service().ResumeLive(id); });
}

int BmsSeek(BmsPlayerId id, std::int32_t position)
{
    return tv::Call<int>(tv::CallId::BmsSeek, std::tie(id, position),
                         [&] { return tv::Service().Seek(id, position); });
}

int BmsGetPlayTime(BmsPlayerId id, std::int32_t* position)
{
    tv::Out<int> out(position);
    return tv::Call<int>(
        tv::CallId::BmsGetPlayTime, std::tie(id),
        [&] {
            const std::optional<std::int32_t> time = tv::Service().PlayTime(id);
            if (!time)
                return -1;
            out.Set(*time);
            return 0;
        },
        out);
}

int BmsSetVideoPosition(BmsPlayerId id, int x, int y, int width, int height)
{
    return tv::Call<int>(tv::CallId::BmsSetVideoPosition, std::tie(id, x, y, width, height),
                         [&] { return tv::Service().SetVideoPosition(id, x, y, width, height); });
}

int BmsSetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* userData)
{
    return tv::Call<int>(tv::CallId::BmsSetCallback, std::tie(id),
                         [&] { return tv::Service().SetCallback(id, callback, userData); });
}

int BmsUnSetCallback(BmsPlayerId id, void* userData)
{
    return tv::Call<int>(tv::CallId::BmsUnSetCallback, std::tie(id),
                         [&] { return tv::Service().UnsetCallback(id, userData); });
}
