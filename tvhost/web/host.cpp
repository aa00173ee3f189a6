// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/host.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <system_error>
#include <utility>

#include "core/clock.h"
#include "tv/tv.h"
#include "tvhost/interrupt.h"
#include "tvhost/json_text.h"
#include "tvhost/recording_marks.h"

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 100ms;
/// How long the clock may keep the turn while others may wait for theirs.
constexpr auto kMaxTurn = 10ms;
/// How much real time the clock may be behind when its turn was too short; what is more never passes.
constexpr std::chrono::duration<double, std::milli> kMaxBehind = 1s;
constexpr char kEnding[] = "the TV host ends";
constexpr char kTvLost[] = "the TV has gone";

std::chrono::milliseconds SinceEpoch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
}

}  // namespace

WebHost::WebHost(const ServeOptions& options)
    : options_(options),
      files_(options.web, options.app),
      recording_(options.record.empty()
                     ? nullptr
                     : std::make_unique<Recording>(options.record, options.overwrite
                                                                       ? OutputFile::Existing::Replace
                                                                       : OutputFile::Existing::Refuse)),
      server_(options.address, options.port, options.limits, options.allow_origins),
      turns_([this](std::function<void()> work) { server_.Post(std::move(work)); }),
      journal_(server_.MakeChannel(
          Channel::Unheard::Drop,
          {[this](std::size_t listeners) { journal_.SetHeard(listeners != 0); }, nullptr})),
      pages_(
          [this](long long page) {
              return Pages::Channels{server_.MakeChannel(Channel::Unheard::Keep),
                                     server_.MakeChannel(Channel::Unheard::Keep, runtime_.EventsOf(page))};
          },
          [this](const char* verb) {
              Json::Value line;
              line["tv"] = verb;
              lines_.CarryOut(line);
          }),
      lines_(turns_, pages_, journal_, recording_.get()),
      runtime_(server_, turns_, pages_, lines_),
      relay_(MakeRelay()),
      routes_(files_, turns_, pages_, lines_, journal_, relay_.get())
{
    lines_.SetTick([this] {
        WebAnswer nobody;
        Answering(nobody, [this] { Tick(); });
    });
}

WebHost::~WebHost() = default;

void WebHost::Stop()
{
    // First, so that no turn begins when the one that is held up ends.
    turns_.Stop();
    if (relay_)
        relay_->GiveUp();
    const tv::MutexLock lock(mutex_);
    if (!no_delay_)
        no_delay_ = std::make_unique<tv::Calls::NoDelay>(tv::TheCalls(), nullptr);
}

std::unique_ptr<Relay> WebHost::MakeRelay()
{
    if (!options_.relay)
        return nullptr;
    return std::make_unique<Relay>(
        *options_.relay, options_.web,
        Relay::Events{[this](LineOut line) { lines_.OnLineOut(std::move(line)); },
                      [this](const std::string& name) { server_.Post([this, name] { OnTvKey(name); }); },
                      [this] { server_.Post([this] { OnTvLost(); }); }});
}

void WebHost::OnTvLost()
{
    const auto close = [this](WebAnswer&, Turns::Turn turn) {
        turns_.OnPluginThread(
            [this](WebAnswer&) {
                // It may be back, and have another page by now.
                if (!relay_->is_open())
                    pages_.Close(kTvLost);
            },
            {}, std::move(turn));
    };
    // Behind what waits for the TV, which fails first.
    WebAnswer nobody;
    try {
        turns_.Take(close, nobody, 0, true);
    } catch (const Refused&) {
        turns_.TakeFirst(close);
    }
}

void WebHost::OnTvKey(const std::string& name)
{
    WebAnswer nobody;
    Answering(nobody, [&] {
        Json::Value line;
        line["tv"] = "key";
        line["key"] = name;
        lines_.TakeVerb(line, WriteJson(OrderedObject{{"tv", "key"}, {"key", name}}), nobody, nullptr);
    });
}

void WebHost::Run(const std::function<void()>& ready)
{
    if (relay_) {
        lines_.SetCounterpart(*relay_);
        return Serve(ready);
    }
    Session session(options_.plugin, [this](LineOut line) { lines_.OnLineOut(std::move(line)); },
                    {true, true});
    lines_.SetCounterpart(session);
    Serve(ready);
}

void WebHost::Serve(const std::function<void()>& ready)
{
    options_.loaded();
    BeginRecording();
    ready();
    runtime_.Begin();
    tv::TheClock().SetSpeed(options_.speed);
    counted_ = Clock::now();
    WaitForTick();
    server_.Start(
        {[this](const WebRequest& request, WebAnswer answer) { routes_.Answer(request, std::move(answer)); },
         [this](WebRequest request) { return routes_.Listen(std::move(request)); }});
    if (relay_)
        relay_->Start();
    turns_.Serve();

    WebAnswer nobody;
    Answering(nobody, [this] { pages_.Close(kEnding); });
    if (recording_) {
        recording_->Flush();
        recording_->Comment(kRecordingEnds);
    }
    runtime_.End();
    if (relay_)
        relay_->Stop();
    server_.Stop();
    const tv::MutexLock lock(mutex_);
    no_delay_.reset();
}

void WebHost::WaitForTick()
{
    server_.After(kTick, [this] {
        if (tv::TheClock().speed() > 0)
            TakeTick(false);
        else
            WaitForTick();
    });
}

void WebHost::TakeTick(bool last)
{
    const auto begin = [this](WebAnswer&, Turns::Turn turn) {
        turns_.OnPluginThread(
            [this](WebAnswer& nobody) {
                Answering(nobody, [this] { Tick(); });
                // While it is behind, whoever waits has a turn before the clock's next one.
                const bool behind = owed_ >= 1;
                server_.Post([this, behind] { behind ? TakeTick(true) : WaitForTick(); });
            },
            {}, std::move(turn));
    };
    if (!last)
        return turns_.TakeFirst(begin);
    WebAnswer nobody;
    try {
        turns_.Take(begin, nobody);
    } catch (const Refused&) {
        WaitForTick();  // so many wait that the clock takes the turn before them, later
    }
}

void WebHost::BeginRecording()
{
    if (recording_) {
        recording_->Begin();
        for (const std::string& note : options_.note)
            recording_->Comment(note);
        // A script begins with a page that is open, a recording without one.
        recording_->Write(R"({"tv":"close"})", {R"({"did":"close"})"});
        for (const std::string& key : options_.kept_settings.getMemberNames())
            recording_->Write(WriteJson(OrderedObject{{"tv", "setting"},
                                                      {"key", key},
                                                      {"value", options_.kept_settings[key]},
                                                      {"force", true}}),
                              {R"({"did":"setting","delivered":0})"});
    }
    Json::Value line;
    line["tv"] = "clock";
    line["date"] = static_cast<Json::Int64>(options_.date.value_or(SinceEpoch()).count());
    const std::string text = WriteJson(OrderedObject{{"tv", "clock"}, {"date", line["date"]}});
    if (relay_) {
        // No TV is told its date, but stand-ins that are compared with it have to be.
        if (recording_)
            recording_->Write(text, {R"({"did":"clock"})"});
        return;
    }
    WebAnswer nobody;
    lines_.CarryOut(line, text, nobody);
    for (const Json::Value& verb : options_.scenario) {
        lines_.CarryOut(verb, WriteJson(OrderedObject{{"tv", "at"}, {"ms", verb["ms"]}, {"do", verb["do"]}}),
                        nobody);
    }
}

void WebHost::Tick()
{
    using Milliseconds = std::chrono::milliseconds;
    constexpr double kMost = std::numeric_limits<int>::max();
    const auto speed = [] { return tv::TheClock().speed(); };
    const Clock::time_point now = Clock::now();
    // A verb has changed the speed, after a tick of its own: what that one was behind is left out.
    if (speed() != speed_)
        owed_ = 0;
    speed_ = speed();
    owed_ += std::chrono::duration<double, std::milli>(now - counted_).count() * speed_;
    counted_ = now;
    try {
        while (owed_ >= 1 && Clock::now() < now + kMaxTurn) {
            const Milliseconds by(static_cast<long long>(std::min(owed_, kMost)));
            owed_ -= static_cast<double>(lines_.Tick(by, now + kMaxTurn).count());
            // A verb that was due has changed it: the rest passes at the new one.
            if (speed() != speed_)
                owed_ *= speed() / speed_;
            speed_ = speed();
        }
    } catch (...) {
        owed_ = 0;
        throw;
    }
    owed_ = std::min(owed_, kMaxBehind.count() * speed_);
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
        if (host.has_open_relay())
            std::fprintf(
                stderr,
                "zelumo-tv: warning: what passes between this machine and the TV isn't encrypted, and "
                "who knows the relay's address can take the TV's place\n");
        const OnInterrupt stops([&host] { host.Stop(); });
        host.Run([&host] {
            std::string lines = "zelumo-tv: " + host.url() + '\n';
            if (!host.relay_url().empty())
                lines += "zelumo-tv: relay " + host.relay_url() + '\n';
            if (std::fputs(lines.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
                throw std::system_error(errno, std::generic_category(), "can't write to standard output");
        });
        return 0;
    } catch (const ServerError& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    } catch (const FileError& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    }
    return 2;
}

}  // namespace host
