// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/turns.h"

#include <utility>

namespace host {
namespace {

/// What may wait for its turn: so many, and so much in bytes of the bodies and of what goes with each.
constexpr std::size_t kMaxWaiting = 20'000;
constexpr std::size_t kMaxWaitingBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kCostOfOne = 1024;
/// What more there is room for of turns that bring the line on.
constexpr std::size_t kReserve = 20;
constexpr std::size_t kReserveBytes = std::size_t{2} * 1024 * 1024;
constexpr char kEnding[] = "the TV host ends";

}  // namespace

Turns::Turn& Turns::Turn::operator=(Turn&& other) noexcept
{
    if (this != &other) {
        End();
        turns_ = std::exchange(other.turns_, nullptr);
    }
    return *this;
}

void Turns::Turn::End()
{
    if (Turns* const turns = std::exchange(turns_, nullptr))
        turns->End();
}

void Turns::Take(Begin begin, WebAnswer& answer, std::size_t bytes, bool brings_on)
{
    bytes += kCostOfOne;
    const std::size_t most = kMaxWaiting + (brings_on ? kReserve : 0);
    const std::size_t most_bytes = kMaxWaitingBytes + (brings_on ? kReserveBytes : 0);
    {
        const tv::MutexLock lock(mutex_);
        if (stopping_)
            throw Refused(503, kEnding);
        if (busy_) {
            if (line_.size() >= most || bytes_ + bytes > most_bytes)
                throw Refused(503, "too many messages are waiting");
            bytes_ += bytes;
            line_.push_back({std::move(begin), std::move(answer), bytes});
            return;
        }
        busy_ = true;
    }
    Run({std::move(begin), std::move(answer), bytes});
}

void Turns::TakeFirst(Begin begin)
{
    {
        const tv::MutexLock lock(mutex_);
        if (stopping_)
            return;
        if (busy_) {
            line_.push_front({std::move(begin), {}, 0});
            return;
        }
        busy_ = true;
    }
    Run({std::move(begin), {}, 0});
}

bool Turns::is_free() const
{
    const tv::MutexLock lock(mutex_);
    return !busy_;
}

void Turns::Run(Waiting waiting)
{
    Answering(waiting.answer, [&] { waiting.begin(waiting.answer, Turn(*this)); });
}

void Turns::BeginNext()
{
    Waiting next;
    {
        const tv::MutexLock lock(mutex_);
        if (stopping_ || line_.empty()) {
            busy_ = false;
            changed_.NotifyOne();
            return;
        }
        next = std::move(line_.front());
        line_.pop_front();
        bytes_ -= next.bytes;
    }
    Run(std::move(next));
}

void Turns::End()
{
    const tv::MutexLock lock(mutex_);
    if (!stopping_ && !line_.empty()) {
        post_([this] { BeginNext(); });
        return;
    }
    busy_ = false;
    // Under the lock: once nobody has the turn and the line has ended, this object may be gone.
    if (stopping_)
        changed_.NotifyOne();
}

void Turns::OnPluginThread(Work work, WebAnswer answer, Turn turn)
{
    const tv::MutexLock lock(mutex_);
    tasks_.push_back({std::move(work), std::move(answer), std::move(turn)});
    changed_.NotifyOne();
}

void Turns::Serve()
{
    tv::MutexLock lock(mutex_);
    while (true) {
        if (!tasks_.empty()) {
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.Unlock();
            Answering(task.answer, [&task] { task.work(task.answer); });
            // What the work holds goes before the turn ends.
            task.work = nullptr;
            task.answer = {};
            task.turn = {};
            lock.Lock();
        } else if (stopping_ && !busy_) {
            break;
        } else {
            changed_.Wait(mutex_);
        }
    }
    std::deque<Waiting> left = std::exchange(line_, {});
    lock.Unlock();
    for (Waiting& waiting : left)
        waiting.answer(ErrorResponse(503, kEnding));
}

void Turns::Stop()
{
    const tv::MutexLock lock(mutex_);
    stopping_ = true;
    changed_.NotifyOne();
}

}  // namespace host
