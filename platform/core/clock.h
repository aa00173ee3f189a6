#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "zelumo-platform/export.h"

namespace tv {

/// Playing time: it stands still until somebody moves it. The TV's date runs along with it. All operations
/// may be called on any thread; only one thread moves the clock.
class PLATFORM_API Clock {
  public:
    using Time = std::chrono::milliseconds;  ///< playing time since the TV was switched on
    using Alarm = std::function<void()>;
    using AlarmId = std::pair<Time, unsigned long long>;

    Time Now() const;
    /// Milliseconds since 1970-01-01T00:00:00Z.
    Time Date() const;
    /// Makes the date what is given, now.
    void SetDate(Time since_epoch);
    /// What the date was last set to.
    Time DateAsSet() const;

    /// Calls `alarm` once, on the thread that moves the clock, when playing time reaches `when`; alarms of
    /// the same time in the order of setting. A time that has passed goes off with the next move.
    AlarmId Set(Time when, Alarm alarm);
    /// The alarm does not go off any more, unless it has been taken up already.
    void Cancel(AlarmId id);

    /// Moves playing time on, stopping at each alarm on the way; `after_alarm` is called after each one.
    void Advance(Time by, const std::function<void()>& after_alarm);

    /// Playing time is 0 again, and the date what it was then; no alarm is set.
    void Reset();

  private:
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    Time now_{0};
    Time started_{0};  ///< the date at playing time 0
    Time set_{0};      ///< what the date was last set to
    unsigned long long next_id_ = 1;
    std::map<AlarmId, Alarm> alarms_;
};

}  // namespace tv
