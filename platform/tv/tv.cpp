// SPDX-License-Identifier: Apache-2.0
#include "tv/tv.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tv/schedule.h"
#include "tv/tv_file.h"

namespace tv {
namespace {

std::atomic<std::size_t> dropped_leftovers{0};

/// The TV is switched on when the library is loaded: before anybody can make a call.
[[maybe_unused]] const bool kSwitchedOn = [] {
    for (const Service* const service : Services()) {
        if (const CallTable* const calls = service->calls())
            TheCalls().Add(*calls);
    }
    try {
        LoadTv(SampleTv());
    } catch (const std::exception& mistake) {
        std::fprintf(stderr, "the sample TV: %s\n", mistake.what());
        std::abort();
    }
    return true;
}();

}  // namespace

const std::vector<Service*>& Services()
{
    // Never destroyed: a plug-in that is still loaded at exit withdraws from them after all destructors.
    static const std::vector<Service*>& services = *new std::vector<Service*>{
        &ScopeTracer::Get(),        //
        &ExtensionSystem::Get(),    //
        &PowerService::Get(),       //
        &ContentService::Get(),     //
        &EventProxyService::Get(),  //
        &TvService::Get(),          //
        &SignalService::Get(),      //
        &SettingsStore::Get(),      //
        &PlayerService::Get(),      //
        &RemoteControl::Get(),
    };
    return services;
}

void LoadTv(const TvConfig& config)
{
    TheClock().SetDate(config.date);
    TvConfig::ForEachSection(config, [](const auto& section, auto& service) { service.Load(section); });
}

Json::Value StateJson()
{
    Json::Value state;
    for (const Service* const service : Services())
        service->AddState(state);
    state["answers"] = TheCalls().AnswersJson();
    const Clock::Moment moment = TheClock().Read();
    state["scheduled"] = TheSchedule().ToJson(moment.now);
    const double speed = TheClock().speed();
    state["speed"] =
        speed == std::floor(speed) ? Json::Value(static_cast<Json::Int>(speed)) : Json::Value(speed);
    state["time"] = static_cast<Json::Int64>(moment.date.count());
    state["playingTime"] = static_cast<Json::Int64>(moment.now.count());
    return state;
}

std::size_t CountRegistrations()
{
    std::size_t count = 0;
    for (const Service* const service : Services())
        count += service->CountRegistrations();
    return count;
}

std::size_t DropLeftovers()
{
    std::size_t dropped = 0;
    for (Service* const service : Services())
        dropped += service->DropRegistrations();
    dropped_leftovers += dropped;
    return dropped;
}

std::size_t CountDroppedLeftovers()
{
    return dropped_leftovers;
}

}  // namespace tv
