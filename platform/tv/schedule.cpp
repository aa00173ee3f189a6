// SPDX-License-Identifier: Apache-2.0
#include "tv/schedule.h"

#include <algorithm>

#include "core/json_node.h"
#include "core/json_text.h"

namespace tv {
namespace {

/// What may wait: so many, and so much in bytes of their text.
constexpr std::size_t kMaxWaiting = 10'000;
constexpr std::size_t kMaxWaitingBytes = std::size_t{16} * 1024 * 1024;

}  // namespace

Schedule& TheSchedule()
{
    static Schedule& schedule = *new Schedule(TheClock());
    return schedule;
}

void Schedule::Add(Clock::Time after, const Json::Value& verb, VerbAction carry_out)
{
    const std::size_t bytes = WriteJson(verb).size();
    const MutexLock lock(mutex_);
    if (waiting_.size() >= kMaxWaiting || bytes_ + bytes > kMaxWaitingBytes)
        throw JsonMistake("too many verbs are scheduled");
    const Clock::Time when = clock_.Now() + after;
    const Key key{when, next_++};
    bytes_ += bytes;
    const Clock::AlarmId alarm = clock_.Set(when, [this, key] { OnDue(key); });
    waiting_.emplace(key, Entry{verb, std::move(carry_out), bytes, alarm});
}

void Schedule::SetTaker(Taker taker)
{
    const MutexLock lock(mutex_);
    taker_ = std::move(taker);
}

void Schedule::Clear()
{
    const MutexLock lock(mutex_);
    for (const auto& [key, entry] : waiting_)
        clock_.Cancel(entry.alarm);
    waiting_.clear();
    bytes_ = 0;
}

Json::Value Schedule::ToJson(Clock::Time now) const
{
    const MutexLock lock(mutex_);
    Json::Value list(Json::arrayValue);
    for (const auto& [key, entry] : waiting_) {
        Json::Value one;
        one["ms"] = static_cast<Json::Int64>(std::max(key.first - now, Clock::Time(0)).count());
        one["do"] = entry.verb;
        list.append(std::move(one));
    }
    return list;
}

void Schedule::OnDue(const Key& key)
{
    Entry due;
    Taker taker;
    {
        const MutexLock lock(mutex_);
        const auto found = waiting_.find(key);
        if (found == waiting_.end())
            return;
        due = std::move(found->second);
        waiting_.erase(found);
        bytes_ -= due.bytes;
        taker = taker_;
    }
    if (taker)
        taker(due.verb, due.carry_out);
    else
        due.carry_out();
}

}  // namespace tv
