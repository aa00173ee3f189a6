// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <thread>

#include "core/mutex.h"

namespace soak {

/// What went wrong; each finding is printed at once. Any thread.
class Findings {
  public:
    /// Where the run has come to, for the findings from now on.
    void SetPlace(std::string place) EXCLUDES(mutex_);
    void Add(const std::string& what) EXCLUDES(mutex_);
    bool any() const { return count_ != 0; }

  private:
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::string place_ GUARDED_BY(mutex_);
    std::atomic<int> count_{0};
};

/// What waits for an answer. When something has waited for longer than is bearable, it is printed and the
/// process ends with status 1. Any thread.
class Watchdog {
  public:
    explicit Watchdog(std::chrono::seconds patience);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Something waits for as long as the object lives.
    class Waiting {
      public:
        Waiting(Watchdog& watchdog, std::string what);
        ~Waiting();
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;

      private:
        friend class Watchdog;
        Watchdog& watchdog_;
        const std::string what_;
        const std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
        std::list<const Waiting*>::iterator place_;
    };

  private:
    void Loop() EXCLUDES(mutex_);

    const std::chrono::seconds patience_;
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    tv::CondVar ended_;
    std::list<const Waiting*> waiting_ GUARDED_BY(mutex_);
    bool ending_ GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

/// What one part of the run has done. Any thread.
struct Counts {
    std::atomic<std::uint64_t> sent{0};      ///< blocking messages
    std::atomic<std::uint64_t> answered{0};  ///< those that got their reply
    std::atomic<std::uint64_t> gone{0};      ///< those that were told that their page is gone
    std::atomic<std::uint64_t> posted{0};
    std::atomic<std::uint64_t> events{0};  ///< messages that pages were told
    std::atomic<std::uint64_t> pages{0};
};

}  // namespace soak
