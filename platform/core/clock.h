// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "core/mutex.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The last date that there is: the end of the year 9999, in milliseconds since 1970-01-01T00:00:00Z.
constexpr std::int64_t kLastDate = 253402300799999;

/// The time that an ISO 8601 text means, in milliseconds since 1970-01-01T00:00:00Z: a date (2026-01-01), or
/// a date and a time of day (T20:00, T20:00:00 or T20:00:00.250, finer fractions are cut off) with Z or its
/// offset
/// (+01:00). Nothing for any other text, and for a time before 1970 or after the year 9999. Any thread.
ZELUMO_PLATFORM_API std::optional<std::chrono::milliseconds> ParseDate(std::string_view text);

/// Playing time: it stands still until somebody moves it. The TV's date runs along with it. All operations
/// may be called on any thread; only one thread moves the clock.
class ZELUMO_PLATFORM_API Clock {
  public:
    using Time = std::chrono::milliseconds;  ///< playing time since the TV was switched on
    using Alarm = std::function<void()>;
    using AlarmId = std::pair<Time, unsigned long long>;

    Time Now() const EXCLUDES(mutex_);
    /// Milliseconds since 1970-01-01T00:00:00Z.
    Time Date() const EXCLUDES(mutex_);
    struct Moment {
        Time now;
        Time date;
    };
    /// Both at once.
    Moment Read() const EXCLUDES(mutex_);
    /// Makes the date what is given, now.
    void SetDate(Time since_epoch) EXCLUDES(mutex_);
    /// What the date was last set to.
    Time DateAsSet() const EXCLUDES(mutex_);

    /// Calls `alarm` once, on the thread that moves the clock, when playing time reaches `when`; alarms of
    /// the same time in the order of setting. A time that has passed goes off with the next move.
    AlarmId Set(Time when, Alarm alarm) EXCLUDES(mutex_);
    /// The alarm does not go off any more, unless it has been taken up already.
    void Cancel(AlarmId id) EXCLUDES(mutex_);

    /// How many times as fast as real time it is to run, for whoever moves it by itself; 0: it stands still.
    double speed() const EXCLUDES(mutex_);
    void SetSpeed(double speed) EXCLUDES(mutex_);

    /// Moves playing time on, stopping at each alarm on the way; `after_alarm` is called after each one, and
    /// says whether time goes on. Where it doesn't, playing time stays at that moment once all alarms of the
    /// moment have gone off, so that no move ends between two of them. Returns how far it came.
    Time Advance(Time by, const std::function<bool()>& after_alarm) EXCLUDES(mutex_);

  private:
    mutable Mutex mutex_{LockLevel::Clock};
    Time now_ GUARDED_BY(mutex_){0};
    Time started_ GUARDED_BY(mutex_){0};  ///< the date at playing time 0
    Time set_ GUARDED_BY(mutex_){0};      ///< what the date was last set to
    double speed_ GUARDED_BY(mutex_) = 0;
    unsigned long long next_id_ GUARDED_BY(mutex_) = 1;
    std::map<AlarmId, Alarm> alarms_ GUARDED_BY(mutex_);
};

/// That of the TV, valid for the life of the process.
ZELUMO_PLATFORM_API Clock& TheClock();

}  // namespace tv
