// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "core/calls.h"
#include "core/mutex.h"
#include "core/service.h"
#include "scope-tracing/ht.h"
#include "services/scope-tracing/trace_libraries.h"
#include "zelumo-platform/export.h"

namespace tv {

/// A scope that has closed, with what was recorded.
struct TracedScope {
    struct Value {
        std::variant<int, bool, std::string> value;
        bool deferred;  ///< stored when the scope closed
    };
    struct Type {
        std::string name;
        unsigned settings;
        std::size_t size;
    };
    std::uint32_t point = 0;  ///< number of the trace point, from 1
    std::string file;
    int line = 0;
    std::string signature;
    std::chrono::nanoseconds start{0};  ///< since tracing was switched on
    std::chrono::nanoseconds duration{0};
    int thread = 0;           ///< the system's number
    std::string thread_name;  ///< when the scope closed
    std::vector<Value> values;
    std::vector<Type> types;
};

/// Collects the scopes of the traced libraries while it is on. Any thread, unless stated otherwise.
class ZELUMO_PLATFORM_API ScopeTracer : public Service {
  public:
    /// The one of the process, never destroyed.
    static ScopeTracer& Get();

    /// Receives scopes as they close, inner ones before the outer, on the thread that closed them, one at a
    /// time. It must not call the tracer.
    using Sink = std::function<void(const TracedScope&)>;

    /// `libraries` outlives this object.
    explicit ScopeTracer(TraceLibraries& libraries) : libraries_(libraries) {}

    /// On, for the libraries that are loaded now or later. `capture` (HT_…) is how every scope wants its
    /// first value.
    void Start(Sink sink, unsigned capture = HT_CAPTURE_IMMEDIATE) EXCLUDES(mutex_);
    /// Off. The sink is not running any more; scopes that are still open are dropped.
    void Stop() EXCLUDES(mutex_);

    const CallTable* calls() const override;

    // For the tracing library's own entry points.
    bool is_on() const { return on_.load(std::memory_order_acquire); }
    unsigned capture() const { return capture_.load(std::memory_order_relaxed); }
    /// The next number of a trace point.
    std::uint32_t NewPoint() { return 1 + points_.fetch_add(1, std::memory_order_relaxed); }
    /// `scope.start` is a time of the steady clock here.
    /// Dropped while tracing is off.
    void Close(TracedScope scope) EXCLUDES(mutex_);

  private:
    TraceLibraries& libraries_;
    std::atomic<bool> on_{false};
    std::atomic<unsigned> capture_{HT_CAPTURE_IMMEDIATE};
    std::atomic<std::uint32_t> points_{0};
    Mutex mutex_{LockLevel::Tracer};  ///< held while the sink runs
    Sink sink_ GUARDED_BY(mutex_);
    std::chrono::nanoseconds started_ GUARDED_BY(mutex_){0};
};

}  // namespace tv
