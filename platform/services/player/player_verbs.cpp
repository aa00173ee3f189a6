// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string>

#include "core/json_node.h"
#include "services/player/player_service.h"

namespace tv {
namespace {

constexpr double kMaxRate = 100;

VerbResults DeliveredTo(std::size_t count)
{
    return {{"delivered", static_cast<Json::UInt>(count)}};
}

VerbAction ReportPlayer(JsonObject& fields)
{
    const int player = fields.Get("player").As<int>();
    const int type = fields.Get("type").As<int>();
    int value1 = 0;
    int value2 = 0;
    fields.Read("value1", value1);
    fields.Read("value2", value2);
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=]() -> VerbResults {
        return DeliveredTo(PlayerService::Get().Report(player, type, value1, value2, null_user));
    };
}

MediaState ReadState(const JsonNode& node)
{
    using State = MediaState;
    static constexpr std::array<State, 7> kStates{State::Created, State::Buffering, State::Playing,
                                                  State::Paused,  State::Stopped,   State::Ended,
                                                  State::Failed};
    const auto found = std::find_if(kStates.begin(), kStates.end(),
                                    [&](State state) { return node.json() == NameOf(state); });
    if (found == kStates.end())
        node.Fail("must be created, buffering, playing, paused, stopped, ended or failed");
    return *found;
}

MediaStatus ReadStatus(JsonObject& status)
{
    MediaStatus read;
    read.state = ReadState(status.Get("state"));
    read.live = status.Get("live").As<bool>();
    for (const auto& [key, time] :
         {std::pair("position", &read.position), std::pair("duration", &read.duration)}) {
        status.Get(key);
        status.Read(key, *time);
    }
    read.has_duration = read.live || read.duration > MediaStatus::Time(0);
    const JsonNode rate = status.Get("rate");
    read.rate = rate.json().isNumeric() ? rate.json().asDouble() : -1;
    if (!(read.rate >= 0 && read.rate <= kMaxRate))
        rate.Fail("must be a number from 0 to 100");
    status.Read("window", read.window);
    if (read.window && !read.live)
        status.Get("window").Fail("is for live streams only");
    return read;
}

VerbAction TellOfMedia(JsonObject& fields)
{
    const JsonNode player = fields.Get("player");
    const int id = player.As<int>();
    MediaNews news;
    fields.Get("status");
    fields.ReadObject("status", [&news](JsonObject& status) { news.status = ReadStatus(status); });
    std::optional<int> type;
    fields.Read("type", type);
    int value1 = 0;
    int value2 = 0;
    fields.Read("value1", value1);
    fields.Read("value2", value2);
    if (const auto sequence = fields.Find("seq"))
        news.sequence = sequence->AtLeast(0);
    std::string detail;  // for whoever reads the journal
    fields.Read("detail", detail);
    fields.End();
    return [=]() -> VerbResults {
        PlayerService& service = PlayerService::Get();
        if (!service.Hear(id, news))
            throw JsonMistake("there is no player " + std::to_string(id) + " that a browser plays for");
        return DeliveredTo(type ? service.Report(id, *type, value1, value2, false) : 0);
    };
}

}  // namespace

std::vector<Verb> PlayerService::verbs() const
{
    return {{"report", ReportPlayer}, {"media", TellOfMedia}};
}

}  // namespace tv
