// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/mutex.h"

namespace soak {

/// The page's interface as `web/page-api.json` describes it.
class PageApi {
  public:
    struct Command {
        Json::Value example;
        std::vector<int> codes;  ///< those that a reply may have
    };
    struct Broken {
        Json::Value message;
        Json::Value reply;
    };

    PageApi();
    const std::vector<Command>& commands() const { return commands_; }
    const std::vector<Broken>& broken() const { return broken_; }
    /// Events that the TV never raises by itself.
    const std::vector<int>& events() const { return events_; }
    /// Those that it does raise, when a channel is tuned or the power goes.
    const std::vector<int>& tv_events() const { return tv_events_; }
    const std::string& EventCommand(int event) const { return event_commands_.at(event); }

  private:
    std::vector<Command> commands_;
    std::vector<Broken> broken_;
    std::vector<int> events_;
    std::vector<int> tv_events_;
    std::map<int, std::string> event_commands_;
};

// What a page may be told, by name.
std::string EventName(int event);
std::string SettingName(const std::string& key);
std::string PostName(const std::string& command);
std::string ReportName(int value);
extern const char kSignalName[];

/// The settings that the soak watches begin so; other changes are not counted.
extern const char kSettingPrefix[];
/// Posted commands begin so.
extern const char kPostPrefix[];
/// A report of the soak has this type and a value from here on.
constexpr int kReportType = 131;
constexpr int kFirstReport = 1'000'000'000;

/// What a page must be told, and what each of its listeners was told. Any thread.
class Ledger {
  public:
    Ledger(const PageApi& api, std::size_t listeners) : api_(api), listeners_(listeners), arrived_(listeners)
    {}

    /// The page is told `what` once more: it must be, or (not `certain`) may be.
    void Expect(const std::string& what, bool certain) EXCLUDES(mutex_);
    /// What was expected so far, certain or not, must be told.
    void MakeCertain() EXCLUDES(mutex_);
    /// `what` may be told up to that many times more, whatever MakeCertain says.
    void Allow(const std::string& what, int times) EXCLUDES(mutex_);
    void Arrive(std::size_t listener, const Json::Value& message) EXCLUDES(mutex_);

    std::size_t listeners() const { return listeners_; }
    /// How many messages all listeners have got.
    std::uint64_t CountArrived() const EXCLUDES(mutex_);
    /// One line for everything that was lost, told twice or told for no reason.
    std::vector<std::string> Differences() const EXCLUDES(mutex_);

  private:
    struct Range {
        std::uint64_t least = 0;
        std::uint64_t most = 0;
        std::uint64_t allowed = 0;  ///< beyond those
    };
    /// The name of what a message tells; empty: it isn't counted.
    std::string NameOf(const Json::Value& message) const;

    const PageApi& api_;
    const std::size_t listeners_;
    mutable tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::map<std::string, Range> expected_ GUARDED_BY(mutex_);
    std::vector<std::map<std::string, std::uint64_t>> arrived_ GUARDED_BY(mutex_);
    std::uint64_t count_ GUARDED_BY(mutex_) = 0;
};

}  // namespace soak
