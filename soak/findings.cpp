// SPDX-License-Identifier: Apache-2.0
#include "soak/findings.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace soak {
namespace {

/// One fault can show in every message; the first few tell enough.
constexpr int kMostPrinted = 20;

}  // namespace

void Findings::SetPlace(std::string place)
{
    const tv::MutexLock lock(mutex_);
    place_ = std::move(place);
}

void Findings::Add(const std::string& what)
{
    const tv::MutexLock lock(mutex_);
    if (++count_ <= kMostPrinted)
        std::fprintf(stderr, "soak: FAILED: %s: %s\n", place_.c_str(), what.c_str());
}

Watchdog::Waiting::Waiting(Watchdog& watchdog, std::string what) : watchdog_(watchdog), what_(std::move(what))
{
    const tv::MutexLock lock(watchdog_.mutex_);
    place_ = watchdog_.waiting_.insert(watchdog_.waiting_.end(), this);
}

Watchdog::Waiting::~Waiting()
{
    const tv::MutexLock lock(watchdog_.mutex_);
    watchdog_.waiting_.erase(place_);
}

Watchdog::Watchdog(std::chrono::seconds patience) : patience_(patience)
{
    thread_ = std::thread([this] { Loop(); });
}

Watchdog::~Watchdog()
{
    {
        const tv::MutexLock lock(mutex_);
        ending_ = true;
    }
    ended_.NotifyAll();
    thread_.join();
}

void Watchdog::Loop()
{
    const tv::MutexLock lock(mutex_);
    while (!ending_) {
        // The oldest is the first.
        const auto now = std::chrono::steady_clock::now();
        if (waiting_.empty() || now - waiting_.front()->since_ < patience_) {
            ended_.WaitUntil(mutex_, now + std::chrono::seconds(1));
            continue;
        }
        for (const Waiting* waiting : waiting_) {
            const std::chrono::duration<double> waited = now - waiting->since_;
            std::fprintf(stderr, "soak: FAILED: unanswered for %.1f s: %s\n", waited.count(),
                         waiting->what_.substr(0, 300).c_str());
        }
        std::fflush(stdout);
        std::_Exit(1);
    }
}

}  // namespace soak
