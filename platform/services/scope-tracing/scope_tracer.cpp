// SPDX-License-Identifier: Apache-2.0
#include "services/scope-tracing/scope_tracer.h"

#include <utility>

namespace tv {

ScopeTracer& ScopeTracer::Get()
{
    static ScopeTracer& tracer = *new ScopeTracer(TraceLibraries::Get());
    return tracer;
}

void ScopeTracer::Start(Sink sink, unsigned capture)
{
    {
        const MutexLock lock(mutex_);
        sink_ = std::move(sink);
        started_ = std::chrono::steady_clock::now().time_since_epoch();
        capture_ = capture;
        on_ = true;
    }
    libraries_.Enable(true);
}

void ScopeTracer::Stop()
{
    libraries_.Enable(false);
    const MutexLock lock(mutex_);
    on_ = false;
    sink_ = nullptr;
}

void ScopeTracer::Close(TracedScope scope)
{
    const MutexLock lock(mutex_);
    // A scope may have been opened before tracing was switched off and on again.
    if (!sink_ || scope.start < started_)
        return;
    scope.start -= started_;
    sink_(scope);
}

}  // namespace tv
