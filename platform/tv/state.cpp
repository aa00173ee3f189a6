#include "tv/tv.h"

namespace tv {
namespace {

template <typename T>
Json::Value ListJson(const std::vector<T>& values)
{
    Json::Value list(Json::arrayValue);
    for (const T& value : values)
        list.append(value);
    return list;
}

}  // namespace

Json::Value Tv::StateJson() const
{
    Json::Value state;
    state["channel"] = tv_service_.CurrentJson();
    state["players"] = player_.PlayersJson();
    state["settings"] = settings_.ValuesJson();
    Json::Value& subscriptions = state["subscriptions"];
    subscriptions["events"] = ListJson(event_proxy_.Events());
    subscriptions["signals"] = ListJson(signals_.Signals());
    subscriptions["poweroff"] = static_cast<Json::UInt64>(power_.CountSubscriptions());
    subscriptions["players"] = ListJson(player_.Registered());
    state["watches"] = ListJson(settings_.Watches());
    state["answers"] = calls_.AnswersJson();
    // Both of the same moment, though the clock may be moved meanwhile.
    Clock::Time now{};
    Clock::Time date{};
    do {
        now = clock_.Now();
        date = clock_.Date();
    } while (now != clock_.Now());
    state["time"] = static_cast<Json::Int64>(date.count());
    state["playingTime"] = static_cast<Json::Int64>(now.count());
    return state;
}

}  // namespace tv
