// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "core/mutex.h"
#include "zelumo-platform/export.h"

namespace tv {

/// One finished platform call.
struct CallRecord {
    const char* name;
    Json::Value args;    ///< array
    Json::Value result;  ///< null for calls without a result
    Json::Value out;     ///< array, an element null where the call left it unwritten; null: no out arguments
};

/// Listeners may keep it: nobody changes it.
using SharedCall = std::shared_ptr<const CallRecord>;

/// One line of the platform log. The texts are valid while the listener runs.
struct LogRecord {
    std::string_view text;  ///< the finished line, prefix included
    int buffer;
    int priority;
    std::string_view tag;
};

/// Where platform calls and log lines become visible. Listeners are called on the thread that made the
/// call, one at a time, in the order in which the calls ended; they must neither make platform calls nor
/// begin or end a listening. Any thread.
class ZELUMO_PLATFORM_API Journal {
  public:
    using CallListener = std::function<void(const SharedCall&)>;
    using LogListener = std::function<void(const LogRecord&)>;

    /// Listening lasts until the result is destroyed; after that no call of the listener is running. The
    /// journal outlives the result.
    class Listening;
    [[nodiscard]] std::unique_ptr<Listening> ListenToCalls(CallListener listener) EXCLUDES(mutex_);
    [[nodiscard]] std::unique_ptr<Listening> ListenToLog(LogListener listener) EXCLUDES(mutex_);

    bool calls_heard() const { return call_count_.load(std::memory_order_acquire) != 0; }
    bool log_heard() const { return log_count_.load(std::memory_order_acquire) != 0; }

    void Write(CallRecord record) EXCLUDES(mutex_);
    void Write(const LogRecord& record) EXCLUDES(mutex_);

  private:
    void Forget(const Listening* listening) EXCLUDES(mutex_);

    std::atomic<int> call_count_{0};
    std::atomic<int> log_count_{0};
    Mutex mutex_{LockLevel::Journal};  ///< held while listeners run, so that all of them see one order
    std::vector<const Listening*> listeners_ GUARDED_BY(mutex_);
};

/// That of the TV, valid for the life of the process.
ZELUMO_PLATFORM_API Journal& TheJournal();

class ZELUMO_PLATFORM_API Journal::Listening {
  public:
    Listening(Journal& journal, CallListener on_call, LogListener on_log);
    ~Listening();
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

  private:
    friend class Journal;
    Journal& journal_;  // outlives this object
    CallListener on_call_;
    LogListener on_log_;
};

}  // namespace tv
