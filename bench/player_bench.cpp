// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <memory>
#include <tuple>

#include "ZeLumoTrace.h"
#include "core/calls.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/web_runtime.h"
#include "tests/support/page.h"
#include "tv/tv.h"
#include "tvhost/plugin.h"

namespace {

/// The player that the plug-in registers for whatever is played.
constexpr int kPlayer = 101;

/// A page that has subscribed and has a player, and whose messages are only counted.
class SubscribedPage {
  public:
    SubscribedPage()
        : plugin_(test::PluginPath()), instance_(plugin_.module(), [this](const pp::Var&) { ++messages_; })
    {
        Await(R"({"command":"RegisterEvent","event":90001})");
        Await(R"({"command":"Init","url":"film","timeOffset":0})");
        tv::PlayerService::Get().Report(kPlayer, 0, 0, 0, false);  // behind the player's first report
        messages_ = 0;
    }
    pp::Var Await(const char* json) { return instance_.Await(tv::ToVar(test::J(json))); }
    tv::EmbeddedInstance& instance() { return instance_; }
    /// Fails the run when the page did not hear of every iteration.
    void CheckMessages(benchmark::State& state) const
    {
        if (messages_ != state.iterations())
            state.SkipWithError("messages were lost");
        state.SetItemsProcessed(state.iterations());
    }

  private:
    host::Plugin plugin_;
    benchmark::IterationCount messages_ = 0;  // posted by one thread at a time, which is waited for
    tv::EmbeddedInstance instance_;
};

pp::VarDictionary PositionMessage()
{
    pp::VarDictionary message;
    message.Set("event", "ZELUMO_EVENT");
    message.Set("type", 137);
    message.Set("param1", "15000");
    message.Set("param2", "600000");
    return message;
}

/// From the player service's report to the page's message, there and back between two threads.
void ReportToMessage(benchmark::State& state)
{
    SubscribedPage page;
    for ([[maybe_unused]] auto _ : state)
        tv::PlayerService::Get().Report(kPlayer, 137, 15000, 600000, false);
    page.CheckMessages(state);
}
BENCHMARK(ReportToMessage)->UseRealTime();

/// The floor: the same message, posted from a service's thread without the plug-in between.
void MessagePostedDirectly(benchmark::State& state)
{
    SubscribedPage page;
    pp::Instance instance(page.instance().pp_instance());
    tv::DeliveryThread thread("bench");
    for ([[maybe_unused]] auto _ : state)
        thread.Run([&] { instance.PostMessage(PositionMessage()); });
    page.CheckMessages(state);
}
BENCHMARK(MessagePostedDirectly)->UseRealTime();

[[gnu::noinline]] int Plain(int value)
{
    benchmark::DoNotOptimize(value);
    return value;
}

[[gnu::noinline]] int Traced(int value)
{
    ZELUMO_TRACE(value);
    benchmark::DoNotOptimize(value);
    return value;
}

template <int (*function)(int)>
void Passage(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(function(1));
}
/// What a trace point costs while tracing is off: the difference of the two.
BENCHMARK(Passage<Traced>)->Name("TracePointOff");
BENCHMARK(Passage<Plain>)->Name("NoTracePoint");

struct BenchCalls : tv::CallTable {
    tv::Call<int(int)> call{*this, "bench"};
};

[[gnu::noinline]] int Called(int value)
{
    return tv::TheTable<BenchCalls>().call(value, [&value] {
        benchmark::DoNotOptimize(value);
        return value;
    });
}
/// What a platform call costs while nobody listens to the journal and nothing is scripted: the difference of
/// the two.
BENCHMARK(Passage<Called>)->Name("PlatformCallUnwatched");
BENCHMARK(Passage<Plain>)->Name("NoPlatformCall");

}  // namespace
