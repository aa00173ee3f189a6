// SPDX-License-Identifier: Apache-2.0
#include "core/clock.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tv {
namespace {

/// Reads a text from its begin to its end; once something does not fit, nothing does.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    /// That many digits, a number from `least` to `most`.
    int Number(std::size_t digits, int least, int most)
    {
        int number = 0;
        for (std::size_t i = 0; i < digits; ++i)
            number = number * 10 + Digit();
        if (number < least || number > most)
            fits_ = false;
        return number;
    }
    bool Skip(char c)
    {
        const bool there = !text_.empty() && text_.front() == c;
        if (there)
            text_.remove_prefix(1);
        return there;
    }
    void Expect(char c)
    {
        if (!Skip(c))
            fits_ = false;
    }
    /// The milliseconds of a fraction: one digit or more.
    int Fraction()
    {
        int milliseconds = Digit() * 100;
        for (int worth = 10; !text_.empty() && IsDigit(text_.front()); worth /= 10)
            milliseconds += Digit() * worth;
        return milliseconds;
    }
    bool at_end() const { return text_.empty(); }
    bool fits() const { return fits_; }

  private:
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    int Digit()
    {
        if (text_.empty() || !IsDigit(text_.front())) {
            fits_ = false;
            return 0;
        }
        const int digit = text_.front() - '0';
        text_.remove_prefix(1);
        return digit;
    }

    std::string_view text_;
    bool fits_ = true;
};

int DaysOf(int year, int month)
{
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

std::int64_t DaysSinceEpoch(int year, int month, int day)
{
    // Of the years that are over, and of 1970.
    const auto leap_days = [](int before) { return before / 4 - before / 100 + before / 400; };
    std::int64_t days = std::int64_t{365} * (year - 1970) + leap_days(year - 1) - leap_days(1969) + day - 1;
    for (int before = 1; before < month; ++before)
        days += DaysOf(year, before);
    return days;
}

}  // namespace

std::optional<std::chrono::milliseconds> ParseDate(std::string_view text)
{
    Scanner scanner(text);
    // A day more on either side, which an offset may bring back.
    const int year = scanner.Number(4, 1969, 9999);
    scanner.Expect('-');
    const int month = scanner.Number(2, 1, 12);
    scanner.Expect('-');
    const int day = scanner.Number(2, 1, scanner.fits() ? DaysOf(year, month) : 0);
    if (!scanner.fits())
        return std::nullopt;
    std::int64_t minutes = DaysSinceEpoch(year, month, day) * 24 * 60;
    int milliseconds = 0;
    if (!scanner.at_end()) {
        scanner.Expect('T');
        minutes += std::int64_t{60} * scanner.Number(2, 0, 23);
        scanner.Expect(':');
        minutes += scanner.Number(2, 0, 59);
        if (scanner.Skip(':')) {
            milliseconds = scanner.Number(2, 0, 59) * 1000;
            if (scanner.Skip('.'))
                milliseconds += scanner.Fraction();
        }
        const bool west = scanner.Skip('-');
        if (west || scanner.Skip('+')) {
            int offset = scanner.Number(2, 0, 23) * 60;
            scanner.Expect(':');
            offset += scanner.Number(2, 0, 59);
            minutes += west ? offset : -offset;
        } else {
            scanner.Expect('Z');
        }
    }
    const std::int64_t date = minutes * 60 * 1000 + milliseconds;
    if (!scanner.fits() || !scanner.at_end() || date < 0 || date > kLastDate)
        return std::nullopt;
    return std::chrono::milliseconds(date);
}

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

Clock::Moment Clock::Read() const
{
    const MutexLock lock(mutex_);
    return {now_, started_ + now_};
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

double Clock::speed() const
{
    const MutexLock lock(mutex_);
    return speed_;
}

void Clock::SetSpeed(double speed)
{
    const MutexLock lock(mutex_);
    speed_ = speed;
}

Clock::Time Clock::Advance(Time by, const std::function<bool()>& after_alarm)
{
    MutexLock lock(mutex_);
    const Time begin = now_;
    const Time target = now_ + by;
    for (bool goes_on = true;;) {
        const bool rings = !alarms_.empty() && alarms_.begin()->first.first <= target;
        const Time next = rings ? std::max(now_, alarms_.begin()->first.first) : target;
        if (next > now_ && !goes_on)
            break;
        now_ = next;
        if (!rings)
            break;
        Alarm alarm = std::move(alarms_.begin()->second);
        alarms_.erase(alarms_.begin());
        lock.Unlock();
        std::exchange(alarm, nullptr)();  // what it holds is let go of without the lock, too
        goes_on = after_alarm();
        lock.Lock();
    }
    return now_ - begin;
}

}  // namespace tv
