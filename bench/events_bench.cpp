// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>

#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/web_runtime.h"
#include "tests/support/page.h"
#include "tv/tv.h"
#include "tvhost/plugin.h"

namespace {

constexpr int kBatch = 1000;

/// A plug-in whose page only counts what is posted to it.
class CountingPage {
  public:
    CountingPage()
        : plugin_(test::PluginPath()), instance_(plugin_.module(), [this](const pp::Var&) { ++count_; })
    {}

    pp::Var Await(const pp::Var& message) { return instance_.Await(message); }
    pp::Var Command(const char* command, const char* key, const pp::Var& value)
    {
        pp::VarDictionary message;
        message.Set("command", command);
        message.Set(key, value);
        return instance_.Await(message);
    }
    pp::Instance instance() const { return pp::Instance(instance_.pp_instance()); }

  private:
    std::atomic<std::int64_t> count_{0};
    host::Plugin plugin_;
    tv::EmbeddedInstance instance_;
};

pp::VarDictionary ServiceMessage(const std::string& name, const pp::Var& data)
{
    pp::VarDictionary message;
    message.Set("command", name);
    message.Set("code", 0);
    message.Set("errorName", "");
    message.Set("errorMessage", "");
    message.Set("data", data);
    return message;
}

/// The resident memory of this process, in KiB.
double ResidentKiB()
{
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return static_cast<double>(resident) * 4;
}

/// Floor: a delivery thread builds and posts the message that an event becomes.
void PostTheEventsMessage(benchmark::State& state)
{
    CountingPage page;
    pp::Instance instance = page.instance();
    tv::DeliveryThread thread("bench");
    tv::Deliveries deliveries;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            deliveries.Post(thread, [&instance] {
                pp::VarDictionary data;
                data.Set("event", 90001);
                instance.PostMessage(ServiceMessage("PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE", data));
            });
        }
        thread.Drain();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(PostTheEventsMessage)->UseRealTime();

void ContentEvent(benchmark::State& state)
{
    CountingPage page;
    page.Command("RegisterEvent", "event", 90001);
    tv::EventProxyService& proxy = tv::EventProxyService::Get();
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            proxy.Raise(90001);
        proxy.Notify(-1, false);  // behind those raised, so they have been delivered
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(ContentEvent)->UseRealTime();

/// Does `thousand` a thousand times: "grown_KiB" is by how much resident memory grew after the first half.
template <typename Thousand>
void MillionInARow(benchmark::State& state, Thousand thousand)
{
    double grown = 0;
    for (auto _ : state) {
        double half = 0;
        for (int batch = 0; batch < 1000; ++batch) {
            if (batch == 500)
                half = ResidentKiB();
            thousand();
        }
        grown = ResidentKiB() - half;
    }
    state.SetItemsProcessed(state.iterations() * 1000 * kBatch);
    state.counters["grown_KiB"] = grown;
}

void EventsInARow(benchmark::State& state)
{
    CountingPage page;
    page.Command("RegisterEvent", "event", 90001);
    tv::EventProxyService& proxy = tv::EventProxyService::Get();
    MillionInARow(state, [&proxy] {
        for (int i = 0; i < kBatch; ++i)
            proxy.Raise(90001);
        proxy.Notify(-1, false);
    });
}
BENCHMARK(EventsInARow)->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void MessagesInARow(benchmark::State& state)
{
    CountingPage page;
    MillionInARow(state, [&page] {
        for (int i = 0; i < kBatch; ++i)
            benchmark::DoNotOptimize(page.Command("GetVersion", "input", pp::Var()));
    });
}
BENCHMARK(MessagesInARow)->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Floor: a delivery thread builds and posts the message that a settings change becomes.
void PostTheSettingsMessage(benchmark::State& state)
{
    CountingPage page;
    pp::Instance instance = page.instance();
    tv::DeliveryThread thread("bench");
    tv::Deliveries deliveries;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            deliveries.Post(thread, [&instance] {
                instance.PostMessage(ServiceMessage("db/bench/key", pp::Var("db/bench/key")));
            });
        }
        thread.Drain();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(PostTheSettingsMessage)->UseRealTime();

void SettingsChange(benchmark::State& state)
{
    CountingPage page;
    page.Command("AddVconfCallbackWithKey", "key", "db/bench/key");
    tv::SettingsStore& settings = tv::SettingsStore::Get();
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            settings.Set("db/bench/key", i);
        settings.SetAndTell("db/bench/other", 0, false);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(SettingsChange)->UseRealTime();

/// Floor: a closure handed over a message loop's queue and back.
void HandOverAndBack(benchmark::State& state)
{
    pp::SimpleThreadAwaitLoop worker{pp::InstanceHandle(PP_Instance{0})};
    worker.Start();
    sem_t done;
    sem_init(&done, 0, 0);
    const auto answer = [](void* user_data, int32_t) { sem_post(static_cast<sem_t*>(user_data)); };
    pp::MessageLoop loop = worker.message_loop();
    for (auto _ : state) {
        loop.PostWork(pp::CompletionCallback(answer, &done));
        sem_wait(&done);
    }
    sem_destroy(&done);
}
BENCHMARK(HandOverAndBack)->UseRealTime();

/// "GetVersion" from the page to its reply, over the worker thread.
void GetVersion(benchmark::State& state)
{
    CountingPage page;
    pp::VarDictionary message;
    message.Set("command", "GetVersion");
    for (auto _ : state)
        benchmark::DoNotOptimize(page.Await(message));
}
BENCHMARK(GetVersion)->UseRealTime();

}  // namespace
