// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <malloc.h>

#include <fstream>
#include <string>

#include "ZeLumoPluginHandler.h"
#include "tests/support/page.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

/// A line of the process's memory status, in bytes.
double MemoryStatus(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kibibytes = 0;
        if (word == name && status >> kibibytes)
            return kibibytes * 1024;
    }
    return 0;
}

/// By how much `work` makes the process's memory grow at its peak, to the page.
template <typename Work>
double PeakGrowth(Work work)
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew
    const double before = MemoryStatus("VmRSS:");
    work();
    return MemoryStatus("VmHWM:") - before;
}

/// A TV that shows a channel without extra members.
tv::TvConfig PlainTv()
{
    return tv::ParseTv(R"({"current":"1002"})", tv::SampleTv());
}

/// A TV with that many channels.
tv::TvConfig TvOf(std::int64_t channels)
{
    tv::TvConfig config = tv::ParseTv(R"({"channels":[]})", tv::SampleTv());
    for (std::int64_t i = 0; i < channels; ++i) {
        tv::ChannelConfig channel;
        channel.id = (1ULL << 60) + static_cast<unsigned long long>(i);
        tv::ServiceRecord::Set(channel.service, ESERVICE_FIELD_SERVICE_ID, channel.id);
        tv::ServiceRecord::Set(channel.service, ESERVICE_FIELD_MAJOR,
                               static_cast<unsigned long long>(i % 1000));
        tv::ServiceRecord::Set(channel.service, ESERVICE_FIELD_MINOR, 0ULL);
        config.line_up.channels.push_back(channel);
    }
    return config;
}

/// From the page and back, over the worker thread.
void CurrentChannelInfo(benchmark::State& state)
{
    tv::LoadTv(PlainTv());
    test::Page page;
    const Json::Value request = test::J(R"({"command":"GetCurrentChannelInfo"})");
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(page.AwaitValue(request));
}
BENCHMARK(CurrentChannelInfo)->UseRealTime();

/// The operation alone.
void CurrentChannelInfoAlone(benchmark::State& state)
{
    tv::LoadTv(PlainTv());
    pp::Instance instance(1);
    CZeLumoPluginHandler handler(&instance);
    for ([[maybe_unused]] auto _ : state) {
        std::string record;
        handler.t_GetCurrentChannelInfoWithJsonString(record);
        benchmark::DoNotOptimize(record);
    }
}
BENCHMARK(CurrentChannelInfoAlone)->UseRealTime();

/// The floor: the same record built and written with nothing around it.
void CurrentChannelInfoFloor(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        Json::Value record;
        record["channelName"] = "Pellmoor News";
        record["frequency"] = 474000;
        record["lock"] = 0;
        record["major"] = 2;
        record["minor"] = 0;
        record["originalNetworkId"] = 8800;
        record["programNumber"] = 102;
        record["ptc"] = 21;
        record["serviceId"] = "1002";
        record["serviceid"] = "1002";
        record["sourceId"] = 201;
        record["transportStreamId"] = 300;
        record["tuneMode"] = 2;
        record["type"] = 1;
        benchmark::DoNotOptimize(Json::StyledWriter().write(record));
    }
}
BENCHMARK(CurrentChannelInfoFloor)->UseRealTime();

std::string ListText(std::int64_t channels)
{
    Json::Value services;
    for (std::int64_t i = 0; i < channels; ++i) {
        Json::Value element;
        element["id"] = static_cast<Json::UInt64>((1ULL << 60) + static_cast<unsigned long long>(i));
        element["major"] = static_cast<int>(i % 1000);
        element["minor"] = 0;
        services.append(std::move(element));
    }
    Json::Value document;
    document["ListName"] = "ZELumoServices";
    document["TCServiceData"] = std::move(services);
    return Json::StyledWriter().write(document);
}

template <typename Work>
void MeasureList(benchmark::State& state, Work work)
{
    for ([[maybe_unused]] auto _ : state)
        work();
    state.counters["peak_bytes"] = PeakGrowth(work);
    state.counters["per_service"] =
        benchmark::Counter(static_cast<double>(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetComplexityN(state.range(0));
}

void Sizes(benchmark::internal::Benchmark* list)
{
    list->ArgName("services")->RangeMultiplier(10)->Range(10, 10000);
    list->UseRealTime()->Complexity(benchmark::oN);
}

/// From the page and back, over the worker thread.
void Services(benchmark::State& state)
{
    tv::LoadTv(TvOf(state.range(0)));
    test::Page page;
    const Json::Value request = test::J(R"({"command":"GetZELumoServices"})");
    if (page.AwaitValue(request)["data"].asString() != ListText(state.range(0)))
        state.SkipWithError("the list is not the floor's");
    MeasureList(state, [&] { benchmark::DoNotOptimize(page.AwaitValue(request)); });
}
BENCHMARK(Services)->Apply(Sizes);

/// The operation alone.
void ServicesAlone(benchmark::State& state)
{
    tv::LoadTv(TvOf(state.range(0)));
    pp::Instance instance(1);
    CZeLumoPluginHandler handler(&instance);
    MeasureList(state, [&] {
        std::string list;
        handler.GetZELumoServices(list);
        benchmark::DoNotOptimize(list);
    });
}
BENCHMARK(ServicesAlone)->Apply(Sizes);

/// The floor: the same text built and written with nothing around it.
void ServicesFloor(benchmark::State& state)
{
    MeasureList(state, [&] { benchmark::DoNotOptimize(ListText(state.range(0))); });
}
BENCHMARK(ServicesFloor)->Apply(Sizes);

}  // namespace
