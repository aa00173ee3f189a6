// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "soak/dice.h"
#include "soak/findings.h"
#include "soak/hosts.h"
#include "soak/ledger.h"

namespace soak {

constexpr int kMostSenders = 4;

/// What a page's life is like, drawn from the seed.
struct Plan {
    Plan(const PageApi& api, Dice& dice);

    enum class End {
        Calm,      ///< closed when everybody has finished: everything must have arrived
        Rough,     ///< closed while messages are under way and services tell things
        Replaced,  ///< the same, by another page
        HostEnds,  ///< the host ends while messages are under way
    };
    End end;
    bool faults;  ///< calls to the platform fail and take their time
    std::size_t listeners;
    int senders;
    int messages;             ///< of each sender
    int ends_after;           ///< a rough end comes when that many messages of all senders are through
    std::vector<int> events;  ///< that the page subscribes
};

/// What everybody in a part of the run shares.
struct Stage {
    const PageApi& api;
    Findings& findings;
    Watchdog& watchdog;
    Counts& counts;
    const bool delivers_in_turn;
    std::atomic<std::uint64_t> next_ticket{0};  ///< numbers that are given out once
    std::atomic<int> next_report{kFirstReport};
};

/// What everybody in one page's life shares.
struct Scene {
    Stage& stage;
    Page& page;
    const Plan& plan;
    std::atomic<int> signals{0};
};

/// A blocking message that is counted, watched, and must have a reply unless the page is closing.
std::optional<Json::Value> Ask(Scene& scene, Seat& seat, const Json::Value& message);

/// A thread of the page: sends messages, and knows what the replies must be. Keeps its settings from page
/// to page.
class Sender {
  public:
    explicit Sender(int number);

    /// The settings that only this sender writes.
    const std::vector<std::string>& keys() const { return keys_; }
    void Speak(Scene& scene, Seat& seat, Dice& dice);

  private:
    void SayOne(Scene& scene, Seat& seat, Dice& dice);
    void AskForIdentity(Scene& scene, Seat& seat, Dice& dice);
    void WriteSetting(Scene& scene, Seat& seat, Dice& dice);
    void ReadSetting(Scene& scene, Seat& seat, Dice& dice);
    void AskExample(Scene& scene, Seat& seat, Dice& dice);
    void AskBroken(Scene& scene, Seat& seat, Dice& dice);
    void Toggle(Scene& scene, Seat& seat, Dice& dice);
    void Post(Scene& scene, Seat& seat);

    const int number_;
    std::vector<std::string> keys_;
    std::map<std::string, Json::Value> written_;
};

/// The keys that the person at the TV writes and the page watches.
const std::vector<std::string>& TvKeys();

/// The person at the TV: verbs, in a calm life without any chance in what they cause.
void PlayTv(Scene& scene, Seat& seat, Dice& dice);

/// The TV's services, which tell things on their own threads until `stop` is set, and at least for a while.
void TellThings(Scene& scene, Dice& dice, const std::atomic<bool>& stop);

}  // namespace soak
