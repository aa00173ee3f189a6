// SPDX-License-Identifier: Apache-2.0
#include "core/journal.h"

#include <algorithm>
#include <utility>

#include "core/calls.h"

namespace tv {

Journal& TheJournal()
{
    // Never destroyed: a plug-in that is still loaded at exit makes calls after all destructors.
    static Journal& journal = *new Journal;
    return journal;
}

Journal::Listening::Listening(Journal& journal, CallListener on_call, LogListener on_log)
    : journal_(journal), on_call_(std::move(on_call)), on_log_(std::move(on_log))
{}

Journal::Listening::~Listening()
{
    journal_.Forget(this);
}

std::unique_ptr<Journal::Listening> Journal::ListenToCalls(CallListener listener)
{
    auto listening = std::make_unique<Listening>(*this, std::move(listener), nullptr);
    const MutexLock lock(mutex_);
    listeners_.push_back(listening.get());
    call_count_.fetch_add(1, std::memory_order_release);
    Calls::AddWatcher();
    return listening;
}

std::unique_ptr<Journal::Listening> Journal::ListenToLog(LogListener listener)
{
    auto listening = std::make_unique<Listening>(*this, nullptr, std::move(listener));
    const MutexLock lock(mutex_);
    listeners_.push_back(listening.get());
    log_count_.fetch_add(1, std::memory_order_release);
    return listening;
}

void Journal::Forget(const Listening* listening)
{
    const MutexLock lock(mutex_);
    listeners_.erase(std::find(listeners_.begin(), listeners_.end(), listening));
    if (listening->on_call_) {
        call_count_.fetch_sub(1, std::memory_order_release);
        Calls::RemoveWatcher();
    } else {
        log_count_.fetch_sub(1, std::memory_order_release);
    }
}

void Journal::Write(CallRecord record)
{
    const SharedCall shared = std::make_shared<const CallRecord>(std::move(record));
    const MutexLock lock(mutex_);
    for (const Listening* listening : listeners_) {
        if (listening->on_call_)
            listening->on_call_(shared);
    }
}

void Journal::Write(const LogRecord& record)
{
    const MutexLock lock(mutex_);
    for (const Listening* listening : listeners_) {
        if (listening->on_log_)
            listening->on_log_(record);
    }
}

}  // namespace tv
