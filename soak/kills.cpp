// SPDX-License-Identifier: Apache-2.0
#include "soak/kills.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "soak/dice.h"
#include "soak/progress.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace soak {
namespace {

constexpr int kLeastKills = 12;
constexpr int kWriters = 3;
constexpr int kMostWritesBeforeKill = 1000;
constexpr char kPart[] = "kills";

/// The way by which a setting is written.
enum class Way { PageText, PageNumber, Tv };

/// A setting that is written to with rising numbers. One thread at a time.
struct Setting {
    std::string key;
    Way way;
    int sent = 0;      ///< the last number that was sent
    int answered = 0;  ///< the last one whose write was answered; 0: none
};

/// A text that shows when a part of it is missing or another's: up to some pages of the file.
std::string TextOf(int number)
{
    const std::size_t length = static_cast<std::size_t>(number) * 2654435761U % 9000;
    return std::to_string(number) + ' ' + std::string(length, static_cast<char>('a' + number % 26));
}

Json::Value ValueOf(const Setting& setting, int number)
{
    return setting.way == Way::PageNumber ? Json::Value(number) : Json::Value(TextOf(number));
}

class KillsPart {
  public:
    KillsPart(const Run& run, std::uint64_t number) : run_(run), number_(number)
    {
        for (int writer = 0; writer < kWriters; ++writer) {
            for (const Way way : {Way::PageText, Way::PageNumber, Way::Tv})
                settings_.push_back(
                    {"soak/" + std::to_string(writer) + '/' + std::to_string(static_cast<int>(way)), way});
        }
    }

    void Play(std::chrono::duration<double> time)
    {
        const Census before = Census::Take();
        const auto started = std::chrono::steady_clock::now();
        for (; !run_.findings.any() &&
               (kills_ < kLeastKills || std::chrono::steady_clock::now() - started < time);
             ++kills_) {
            run_.findings.SetPlace("seed " + std::to_string(run_.seed) + ", " + kPart + ", kill " +
                                   std::to_string(kills_));
            WriteUntilKilled();
        }
        test::ServeProcess last({"--settings", file_});
        ReadBack(last.port());
        if (last.End(SIGTERM) != 0)
            run_.findings.Add("the host did not end in order");
        if (const std::string excess = Census::Excess(before); !excess.empty())
            run_.findings.Add("left over: " + excess);
        std::printf("%s: %d kills of the host, %llu settings answered, %llu read back after a kill\n", kPart,
                    kills_, answered_, read_);
        std::fflush(stdout);
    }

  private:
    void WriteUntilKilled()
    {
        Dice dice(run_.seed, {number_, static_cast<std::uint64_t>(kills_)});
        test::ServeProcess server({"--settings", file_});
        const std::string page = ReadBack(server.port());
        std::vector<std::thread> writers;
        std::vector<unsigned long long> answered(kWriters, 0);
        Progress progress;
        progress.Join(kWriters);
        std::atomic<bool> killed{false};
        for (std::size_t i = 0; i < kWriters; ++i) {
            writers.emplace_back([&, i] {
                answered[i] = Write(server.port(), page, i, progress, killed);
                progress.Leave();
            });
        }
        progress.Await(dice.Below(kMostWritesBeforeKill));
        killed = true;
        server.End(SIGKILL);
        for (std::thread& writer : writers)
            writer.join();
        for (const unsigned long long count : answered)
            answered_ += count;
    }

    /// Writes the settings of one writer until the host is gone; returns how many writes were answered.
    unsigned long long Write(std::uint16_t port, const std::string& page, std::size_t writer,
                             Progress& progress, const std::atomic<bool>& killed)
    {
        constexpr std::size_t kEach = 3;
        unsigned long long answered = 0;
        try {
            test::WebClient client(port);
            for (std::size_t i = 0;; i = (i + 1) % kEach) {
                Setting& setting = settings_[writer * kEach + i];
                const int number = ++setting.sent;
                Send(client, page, setting, number);
                setting.answered = number;
                ++answered;
                progress.Step();
            }
        } catch (const std::runtime_error& error) {
            // The connection is lost: what was sent last may be written or not.
            if (!killed)
                run_.findings.Add(std::string("before the kill: ") + error.what());
        }
        return answered;
    }

    void Send(test::WebClient& client, const std::string& page, const Setting& setting, int number)
    {
        Json::Value body;
        body["key"] = setting.key;
        std::string target = page + "await";
        if (setting.way == Way::Tv) {
            target = "/tv";
            body["tv"] = "setting";
            body["value"] = ValueOf(setting, number);
        } else {
            body["command"] =
                setting.way == Way::PageText ? "SetStringToVconfWithKey" : "SetIntegerToVconfWithKey";
            body["input"] = ValueOf(setting, number);
        }
        const test::WebReply reply = client.Post(target, test::Text(body));
        const bool done = reply.status == 200 && (setting.way == Way::Tv || test::J(reply.body)["code"] == 0);
        if (!done)
            run_.findings.Add("a write of " + setting.key + " was answered " + std::to_string(reply.status) +
                              ' ' + reply.body);
    }

    /// Opens a page and holds what it reads against what was written. Returns the page.
    std::string ReadBack(std::uint16_t port)
    {
        const Watchdog::Waiting waiting(run_.watchdog, "reading the settings back");
        test::WebClient client(port);
        std::string page = "/page/" + test::J(client.Post("/page/open").body)["page"].asString() + '/';
        for (Setting& setting : settings_) {
            Json::Value message;
            message["command"] =
                setting.way == Way::PageNumber ? "GetIntegerFromVconfWithKey" : "GetStringFromVconfWithKey";
            message["key"] = setting.key;
            const Json::Value reply = test::J(client.Post(page + "await", test::Text(message)).body);
            int kept = setting.sent;
            while (kept > 0 && kept >= setting.answered && reply["data"] != ValueOf(setting, kept))
                --kept;
            if (kept < setting.answered)
                run_.findings.Add(setting.key + " was answered up to write " +
                                  std::to_string(setting.answered) + ", sent up to " +
                                  std::to_string(setting.sent) + ", but holds " +
                                  test::Text(reply).substr(0, 100));
            // What the kill has cut off never comes any more.
            setting.answered = kept;
            ++read_;
        }
        return page;
    }

    const Run& run_;
    const std::uint64_t number_;
    const test::TemporaryFolder folder_;
    const std::string file_ = (folder_ / "settings.db").string();
    std::vector<Setting> settings_;
    int kills_ = 0;
    unsigned long long answered_ = 0;
    unsigned long long read_ = 0;
};

}  // namespace

void RunKills(const Run& run, std::uint64_t number, std::chrono::duration<double> time)
{
    KillsPart(run, number).Play(time);
}

}  // namespace soak
