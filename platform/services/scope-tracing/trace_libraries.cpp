// SPDX-License-Identifier: Apache-2.0
#include "services/scope-tracing/trace_libraries.h"

#include <algorithm>

namespace tv {

TraceLibraries& TraceLibraries::Get()
{
    static TraceLibraries& libraries = *new TraceLibraries;
    return libraries;
}

void TraceLibraries::Register(ht_enabled_flag* enabled)
{
    const MutexLock lock(mutex_);
    flags_.push_back(enabled);
    enabled->store(on_ ? 1 : 0);
}

void TraceLibraries::Deregister(ht_enabled_flag* enabled)
{
    const MutexLock lock(mutex_);
    flags_.erase(std::remove(flags_.begin(), flags_.end(), enabled), flags_.end());
}

void TraceLibraries::Enable(bool on)
{
    const MutexLock lock(mutex_);
    on_ = on;
    for (ht_enabled_flag* flag : flags_)
        flag->store(on ? 1 : 0);
}

std::size_t TraceLibraries::Count() const
{
    const MutexLock lock(mutex_);
    return flags_.size();
}

}  // namespace tv
