#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>

#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/var_dictionary.h"
#include "src/ppapi/web_runtime.h"
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
    tv::EventProxyService& proxy = tv::Tv::Get().event_proxy();
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            proxy.Raise(90001);
        proxy.Notify(-1, false);  // behind those raised, so they have been delivered
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(ContentEvent)->UseRealTime();

/// 100,000 events in a row; "grown" is what resident memory grew by after the first 10,000.
void ContentEventsInARow(benchmark::State& state)
{
    CountingPage page;
    page.Command("RegisterEvent", "event", 90001);
    tv::EventProxyService& proxy = tv::Tv::Get().event_proxy();
    double grown = 0;
    for (auto _ : state) {
        double before = 0;
        for (int batch = 0; batch < 100; ++batch) {
            for (int i = 0; i < kBatch; ++i)
                proxy.Raise(90001);
            proxy.Notify(-1, false);
            if (batch == 10)
                before = ResidentKiB();
        }
        grown = ResidentKiB() - before;
    }
    state.SetItemsProcessed(state.iterations() * 100 * kBatch);
    state.counters["grown_KiB"] = grown;
}
BENCHMARK(ContentEventsInARow)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

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
    tv::SettingsStore& settings = tv::Tv::Get().settings();
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
    struct Turn {
        std::mutex mutex;
        std::condition_variable changed;
        bool done = false;
    } turn;
    const auto answer = [](void* datum, int32_t) {
        auto* shared = static_cast<Turn*>(datum);
        const std::lock_guard lock(shared->mutex);
        shared->done = true;
        shared->changed.notify_one();
    };
    pp::MessageLoop loop = worker.message_loop();
    for (auto _ : state) {
        loop.PostWork(pp::CompletionCallback(answer, &turn));
        std::unique_lock lock(turn.mutex);
        turn.changed.wait(lock, [&] { return turn.done; });
        turn.done = false;
    }
}
BENCHMARK(HandOverAndBack)->UseRealTime();

void GetVersion(benchmark::State& state)
{
    CountingPage page;
    for (auto _ : state)
        benchmark::DoNotOptimize(page.Command("GetVersion", "input", pp::Var()));
}
BENCHMARK(GetVersion)->UseRealTime();

}  // namespace
