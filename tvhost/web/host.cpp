#include "tvhost/web/host.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <system_error>
#include <utility>

#include "tv/tv.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 100ms;
constexpr char kEnding[] = "the TV host ends";

long long SinceEpoch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

WebHost::WebHost(const ServeOptions& options)
    : options_(options),
      files_(options.web, options.app),
      recording_(options.record.empty() ? nullptr : std::make_unique<Recording>(options.record)),
      server_(options.address, options.port, options.limits),
      turns_([this](std::function<void()> work) { server_.Post(std::move(work)); }),
      journal_(server_.MakeChannel(
          Channel::Unheard::Drop,
          {[this](std::size_t listeners) { journal_.SetHeard(listeners != 0); }, nullptr})),
      pages_(
          [this] {
              return Pages::Channels{
                  server_.MakeChannel(Channel::Unheard::Keep),
                  server_.MakeChannel(Channel::Unheard::Keep, {nullptr, [this](std::string text) {
                                                                   routes_.HearByRuntime(std::move(text));
                                                               }})};
          },
          [this](const char* verb) {
              Json::Value line;
              line["tv"] = verb;
              lines_.CarryOut(line);
          }),
      lines_(turns_, pages_, journal_, recording_.get()),
      routes_(files_, turns_, pages_, lines_, journal_)
{}

WebHost::~WebHost() = default;

void WebHost::StopOnInterrupt()
{
    server_.OnInterrupt([this] { Stop(); });
}

void WebHost::Stop()
{
    // First, so that no turn begins when the one that is held up ends.
    turns_.Stop();
    const tv::MutexLock lock(mutex_);
    if (!no_delay_)
        no_delay_ = std::make_unique<tv::Calls::NoDelay>(tv::TheCalls(), nullptr);
}

void WebHost::Run(const std::function<void()>& ready)
{
    Session session(options_.plugin, [this](LineOut line) { lines_.OnLineOut(std::move(line)); },
                    {true, true});
    lines_.SetSession(session);
    tv::RemoteControl::Get().SetOnKey([this](const tv::RemoteKey& key) {
        pages_.TellByRuntime(
            WriteJson(OrderedObject{{"key", key.key}, {"keyCode", key.key_code}, {"code", key.code}}));
    });
    BeginRecording();
    started_ = Clock::now();
    if (options_.speed > 0)
        WaitForTick();
    server_.Start(
        {[this](const WebRequest& request, WebAnswer answer) { routes_.Answer(request, std::move(answer)); },
         [this](WebRequest request) { return routes_.Listen(std::move(request)); }});
    ready();
    turns_.Serve();

    WebAnswer nobody;
    Answering(nobody, [this] { pages_.Close(kEnding); });
    if (recording_)
        recording_->Flush();
    tv::RemoteControl::Get().SetOnKey(nullptr);
    server_.Stop();
    const tv::MutexLock lock(mutex_);
    no_delay_.reset();
}

void WebHost::WaitForTick()
{
    server_.After(kTick, [this] {
        turns_.TakeFirst([this](WebAnswer&, Turns::Turn turn) {
            turns_.OnPluginThread(
                [this](WebAnswer& nobody) {
                    Answering(nobody, [this] { Tick(); });
                    server_.Post([this] { WaitForTick(); });
                },
                {}, std::move(turn));
        });
    });
}

void WebHost::BeginRecording()
{
    if (recording_) {
        for (const std::string& note : options_.note)
            recording_->Comment(note);
        // A script begins with a page that is open, a recording without one.
        recording_->Write(R"({"tv":"close"})", {R"({"did":"close"})"});
        for (const std::string& key : options_.kept_settings.getMemberNames())
            recording_->Write(WriteJson(OrderedObject{
                                  {"tv", "setting"}, {"key", key}, {"value", options_.kept_settings[key]}}),
                              {R"({"did":"setting","delivered":0})"});
    }
    Json::Value line;
    line["tv"] = "clock";
    line["date"] = static_cast<Json::Int64>(SinceEpoch());
    WebAnswer nobody;
    lines_.CarryOut(line, WriteJson(OrderedObject{{"tv", "clock"}, {"date", line["date"]}}), nobody);
}

void WebHost::Tick()
{
    using Milliseconds = std::chrono::milliseconds;
    const std::chrono::duration<double, std::milli> passed = Clock::now() - started_;
    const Milliseconds target(static_cast<long long>(passed.count() * options_.speed));
    while (ticked_ < target) {
        const Milliseconds by =
            std::min<Milliseconds>(target - ticked_, Milliseconds(std::numeric_limits<int>::max()));
        ticked_ += by;
        lines_.Tick(by.count());
    }
}

int RunServe(const ServeOptions& options)
{
    try {
        WebHost host(options);
        if (!host.is_loopback())
            std::fprintf(stderr,
                         "zelumo-tv: warning: everybody who reaches %s can use this TV, and read what is in "
                         "its folders\n",
                         host.url().c_str());
        host.StopOnInterrupt();
        host.Run([&] {
            std::printf("zelumo-tv: %s\n", host.url().c_str());
            std::fflush(stdout);
        });
        return 0;
    } catch (const ServerError& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    }
    return 2;
}

}  // namespace host
