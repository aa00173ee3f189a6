// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "core/clock.h"
#include "core/mutex.h"
#include "core/verb.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The verbs that wait for their time of playing. Any thread, unless something else is said.
class ZELUMO_PLATFORM_API Schedule {
  public:
    /// Is given what is due, on the thread that moves the clock: `carry_out` does what `verb` asks for, and
    /// throws VerbError.
    using Taker = std::function<void(const Json::Value& verb, const VerbAction& carry_out)>;

    /// `clock` outlives this object.
    explicit Schedule(Clock& clock) : clock_(clock) {}
    ~Schedule() { Clear(); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;

    /// `verb` is due when that much playing time has passed; those of the same time in the order of adding.
    /// Throws JsonMistake when too many wait.
    void Add(Clock::Time after, const Json::Value& verb, VerbAction carry_out) EXCLUDES(mutex_);
    /// Without one, what is due is carried out, and what it throws goes to whoever moves the clock.
    void SetTaker(Taker taker) EXCLUDES(mutex_);
    /// Nothing waits any more.
    void Clear() EXCLUDES(mutex_);
    /// What waits, as `at` verbs without their "tv", in the order in which it is due: "ms" is what is left at
    /// the playing time `now`.
    Json::Value ToJson(Clock::Time now) const EXCLUDES(mutex_);

  private:
    using Key = std::pair<Clock::Time, unsigned long long>;  ///< when it is due, and which of that time
    struct Entry {
        Json::Value verb;
        VerbAction carry_out;
        std::size_t bytes = 0;
        Clock::AlarmId alarm;
    };
    void OnDue(const Key& key) EXCLUDES(mutex_);

    Clock& clock_;
    mutable Mutex mutex_{LockLevel::Service};
    Taker taker_ GUARDED_BY(mutex_);
    std::map<Key, Entry> waiting_ GUARDED_BY(mutex_);
    std::size_t bytes_ GUARDED_BY(mutex_) = 0;  ///< of what waits, as text
    unsigned long long next_ GUARDED_BY(mutex_) = 0;
};

/// That of the TV, valid for the life of the process.
ZELUMO_PLATFORM_API Schedule& TheSchedule();

}  // namespace tv
