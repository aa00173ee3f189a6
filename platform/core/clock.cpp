#include "core/clock.h"

#include <algorithm>
#include <utility>

namespace tv {

Clock& TheClock()
{
    static Clock& clock = *new Clock;
    return clock;
}

Clock::Time Clock::Now() const
{
    const MutexLock lock(mutex_);
    return now_;
}

Clock::Time Clock::Date() const
{
    const MutexLock lock(mutex_);
    return started_ + now_;
}

void Clock::SetDate(Time since_epoch)
{
    const MutexLock lock(mutex_);
    started_ = since_epoch - now_;
    set_ = since_epoch;
}

Clock::Time Clock::DateAsSet() const
{
    const MutexLock lock(mutex_);
    return set_;
}

Clock::AlarmId Clock::Set(Time when, Alarm alarm)
{
    const MutexLock lock(mutex_);
    const AlarmId id{when, next_id_++};
    alarms_.emplace(id, std::move(alarm));
    return id;
}

void Clock::Cancel(AlarmId id)
{
    const MutexLock lock(mutex_);
    alarms_.erase(id);
}

void Clock::Advance(Time by, const std::function<void()>& after_alarm)
{
    MutexLock lock(mutex_);
    const Time target = now_ + by;
    while (!alarms_.empty() && alarms_.begin()->first.first <= target) {
        const auto first = alarms_.begin();
        now_ = std::max(now_, first->first.first);
        Alarm alarm = std::move(first->second);
        alarms_.erase(first);
        lock.Unlock();
        std::exchange(alarm, nullptr)();  // what it holds is let go of without the lock, too
        after_alarm();
        lock.Lock();
    }
    now_ = target;
}

}  // namespace tv
