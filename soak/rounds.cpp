// SPDX-License-Identifier: Apache-2.0
#include "soak/rounds.h"

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "soak/people.h"
#include "tests/support/page.h"
#include "tv/tv.h"

namespace soak {
namespace {

using Clock = std::chrono::steady_clock;

/// Shorter parts are still warming up.
constexpr double kLeastSecondsToJudge = 10;
/// Every page, whether or not it has asked for anything: one for the signal, one for power-off.
constexpr std::size_t kRegistrationsOfAPage = 2;

enum Role : std::uint64_t { Planning, Opening, PlayingTheTv, PlayingServices, FirstSender };

/// One host and its pages.
class PagesPart {
  public:
    PagesPart(const Run& run, std::uint64_t number, std::string name)
        : run_(run), number_(number), name_(std::move(name))
    {
        for (int i = 0; i < kMostSenders; ++i)
            senders_.emplace_back(i);
    }

    void Play(const std::function<std::unique_ptr<Host>()>& make_host, std::chrono::duration<double> time)
    {
        StartServices();
        const Census before = Census::Take();
        std::optional<Census> at_rest;
        const auto started = Clock::now();
        const std::unique_ptr<Host> host = make_host();
        Stage stage{api_, run_.findings, run_.watchdog, counts_, host->delivers_in_turn()};
        std::shared_ptr<Page> page;
        bool over = false;
        for (std::uint64_t round = 0; !over; ++round) {
            run_.findings.SetPlace("seed " + std::to_string(run_.seed) + ", " + name_ + ", page " +
                                   std::to_string(round));
            over = Clock::now() - started >= time || run_.findings.any();
            Plan plan = PlanOf(round);
            if (over)
                plan.end = Plan::End::HostEnds;
            if (!page)
                page = OpenPage(*host, round);
            page = PlayRound(*host, stage, page, plan, round);
            if (page || over)
                continue;
            if (!at_rest)
                at_rest = Census::Take();
            else if (const std::string excess = Census::Excess(*at_rest); !excess.empty())
                run_.findings.Add("left over after a page: " + excess);
            host->ForgetPages();
            memory_.Measure();
        }
        const std::chrono::duration<double> played = Clock::now() - started;
        if (const std::string excess = Census::Excess(before); !excess.empty())
            run_.findings.Add("left over after the host: " + excess);
        if (tv::CountInstances() != 0 || tv::TraceLibraries::Get().Count() != 0)
            run_.findings.Add("an instance or a loaded library is left over");
        Judge(played.count());
    }

  private:
    Plan PlanOf(std::uint64_t round) const
    {
        Dice dice(run_.seed, {number_, round, Planning});
        return Plan(api_, dice);
    }

    /// The threads on which services call back start with their first delivery and stay.
    static void StartServices()
    {
        tv::EventProxyService::Get().Notify(0, false);
        tv::SignalService::Get().Notify(ESIGNAL_UNMUTE_BY_PINCODE, false);
        tv::PowerService::Get().Notify(0, false);
        tv::SettingsStore::Get().SetAndTell(std::string(kSettingPrefix) + "start", 1, false);
        tv::PlayerService::Get().Report(0, 0, 0, 0, false);
    }

    std::shared_ptr<Page> OpenPage(Host& host, std::uint64_t round)
    {
        const Watchdog::Waiting waiting(run_.watchdog, "opening a page");
        auto page = std::make_shared<Page>(api_, PlanOf(round).listeners);
        Dice dice(run_.seed, {number_, round, Opening});
        host.Open(page, dice);
        ++counts_.pages;
        return page;
    }

    /// Plays one page's life; returns the page that has taken its place, or null.
    std::shared_ptr<Page> PlayRound(Host& host, Stage& stage, const std::shared_ptr<Page>& page,
                                    const Plan& plan, std::uint64_t round)
    {
        const std::size_t leftovers = tv::CountDroppedLeftovers();
        Scene scene{stage, *page, plan};
        const std::unique_ptr<Seat> seat = host.TakeSeat();
        Subscribe(scene, *seat);

        std::vector<std::thread> threads;
        page->senders.Join(plan.senders);
        threads.reserve(static_cast<std::size_t>(plan.senders) + 2);
        for (int i = 0; i < plan.senders; ++i) {
            threads.emplace_back([&, i, mine = std::shared_ptr<Seat>(host.TakeSeat())] {
                Dice dice(run_.seed, {number_, round, FirstSender + static_cast<std::uint64_t>(i)});
                senders_[static_cast<std::size_t>(i)].Speak(scene, *mine, dice);
            });
        }
        threads.emplace_back([&] {
            Dice dice(run_.seed, {number_, round, PlayingTheTv});
            PlayTv(scene, *seat, dice);
        });
        std::atomic<bool> stop{false};
        std::thread services([&] {
            Dice dice(run_.seed, {number_, round, PlayingServices});
            TellThings(scene, dice, stop);
        });
        const auto join = [&] {
            for (std::thread& thread : threads)
                thread.join();
            threads.clear();
            stop = true;
            services.join();
        };

        const bool calm = plan.end == Plan::End::Calm;
        if (calm) {
            join();
            DrainSettings();
            page->ledger.MakeCertain();
        } else {
            page->senders.Await(plan.ends_after);
        }
        page->closing = true;
        std::shared_ptr<Page> next;
        {
            const Watchdog::Waiting waiting(run_.watchdog, "closing a page");
            if (plan.end == Plan::End::HostEnds)
                host.End();
            else if (plan.end == Plan::End::Replaced)
                next = OpenPage(host, round + 1);
            else
                host.Close();
        }
        if (!calm) {
            join();
            // Else the next page, once it watches, would be told of what came before it.
            DrainSettings();
        }
        tv::TheCalls().RestoreAll();

        for (const std::string& difference : page->ledger.Differences())
            run_.findings.Add(difference);
        counts_.events += page->ledger.CountArrived();
        // What was told too late for this page can have reached the next.
        if (next)
            next->ledger.Allow(kSignalName, scene.signals);
        if (const std::size_t left = tv::CountDroppedLeftovers() - leftovers; left != 0)
            run_.findings.Add(std::to_string(left) + " registrations outlived their page");
        const std::size_t registered = tv::CountRegistrations();
        if (registered != (next ? kRegistrationsOfAPage : 0))
            run_.findings.Add(std::to_string(registered) + " registrations are left over: " +
                              test::Text(tv::StateJson()["subscriptions"]));
        return next;
    }

    void Subscribe(Scene& scene, Seat& seat) const
    {
        std::vector<Json::Value> messages;
        for (const int event : scene.plan.events) {
            messages.push_back(test::J(R"({"command":"RegisterEvent"})"));
            messages.back()["event"] = event;
        }
        std::vector<std::string> keys = TvKeys();
        for (int i = 0; i < scene.plan.senders; ++i) {
            for (const std::string& key : senders_[static_cast<std::size_t>(i)].keys())
                keys.push_back(key);
        }
        for (const std::string& key : keys) {
            messages.push_back(test::J(R"({"command":"AddVconfCallbackWithKey"})"));
            messages.back()["key"] = key;
        }
        for (const Json::Value& message : messages) {
            const std::optional<Json::Value> reply = Ask(scene, seat, message);
            if (reply && (*reply)["code"] != 0)
                scene.stage.findings.Add(test::Text(message) + " was answered " + test::Text(*reply));
        }
    }

    /// What settings have set off is told when this has returned.
    static void DrainSettings()
    {
        tv::SettingsStore::Get().SetAndTell(std::string(kSettingPrefix) + "drain", 1, false);
    }

    void Judge(double seconds)
    {
        if (counts_.sent != counts_.answered + counts_.gone)
            run_.findings.Add(std::to_string(counts_.sent) + " blocking messages went in, " +
                              std::to_string(counts_.answered + counts_.gone) + " answers came out");
        const std::optional<long long> growth = memory_.Growth();
        if (growth && seconds >= kLeastSecondsToJudge && *growth > kFlatHeap)
            run_.findings.Add("the heap has grown by " + std::to_string(*growth) +
                              " bytes in each of the last two quarters of the time");
        const auto rate = [&](std::uint64_t count) { return static_cast<double>(count) / seconds; };
        const std::string grown = growth ? "heap " + std::to_string(memory_.last() / 1024) + " KiB, " +
                                               (*growth > 0 ? "+" : "") + std::to_string(*growth) +
                                               " bytes from quarter to quarter"
                                         : "heap not judged: too few pages";
        std::printf(
            "%s: %.1f s; %llu pages (%.1f/s), %llu blocking messages (%.0f/s), of which %llu were told that "
            "their page is gone, %llu posted, %llu messages to pages (%.0f/s); %s\n",
            name_.c_str(), seconds, Number(counts_.pages), rate(counts_.pages), Number(counts_.sent),
            rate(counts_.sent), Number(counts_.gone), Number(counts_.posted), Number(counts_.events),
            rate(counts_.events), grown.c_str());
        std::fflush(stdout);
    }
    static unsigned long long Number(std::uint64_t count) { return count; }

    const Run& run_;
    const std::uint64_t number_;
    const std::string name_;
    const PageApi api_;
    Counts counts_;
    MemoryCurve memory_;
    std::vector<Sender> senders_;
};

}  // namespace

void RunPages(const Run& run, std::uint64_t number, const std::string& name,
              const std::function<std::unique_ptr<Host>()>& make_host, std::chrono::duration<double> time)
{
    PagesPart(run, number, name).Play(make_host, time);
}

}  // namespace soak
