#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "core/mutex.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The last date that there is: the end of the year 9999, in milliseconds since 1970-01-01T00:00:00Z.
constexpr std::int64_t kLastDate = 253402300799999;

/// Playing time: it stands still until somebody moves it. The TV's date runs along with it. All operations
/// may be called on any thread; only one thread moves the clock.
class PLATFORM_API Clock {
  public:
    using Time = std::chrono::milliseconds;  ///< playing time since the TV was switched on
    using Alarm = std::function<void()>;
    using AlarmId = std::pair<Time, unsigned long long>;

    Time Now() const EXCLUDES(mutex_);
    /// Milliseconds since 1970-01-01T00:00:00Z.
    Time Date() const EXCLUDES(mutex_);
    /// Makes the date what is given, now.
    void SetDate(Time since_epoch) EXCLUDES(mutex_);
    /// What the date was last set to.
    Time DateAsSet() const EXCLUDES(mutex_);

    /// Calls `alarm` once, on the thread that moves the clock, when playing time reaches `when`; alarms of
    /// the same time in the order of setting. A time that has passed goes off with the next move.
    AlarmId Set(Time when, Alarm alarm) EXCLUDES(mutex_);
    /// The alarm does not go off any more, unless it has been taken up already.
    void Cancel(AlarmId id) EXCLUDES(mutex_);

    /// Moves playing time on, stopping at each alarm on the way; `after_alarm` is called after each one.
    void Advance(Time by, const std::function<void()>& after_alarm) EXCLUDES(mutex_);

  private:
    mutable Mutex mutex_{LockLevel::Clock};
    Time now_ GUARDED_BY(mutex_){0};
    Time started_ GUARDED_BY(mutex_){0};  ///< the date at playing time 0
    Time set_ GUARDED_BY(mutex_){0};      ///< what the date was last set to
    unsigned long long next_id_ GUARDED_BY(mutex_) = 1;
    std::map<AlarmId, Alarm> alarms_ GUARDED_BY(mutex_);
};

/// That of the TV, valid for the life of the process.
PLATFORM_API Clock& TheClock();

}  // namespace tv
