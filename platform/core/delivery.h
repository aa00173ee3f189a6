// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "core/mutex.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The thread on which one of the TV's services calls back, one callback at a time. It starts with the
/// first delivery and ends with the object.
class ZELUMO_PLATFORM_API DeliveryThread {
  public:
    using Work = std::function<void()>;

    /// `name` is given to the thread: at most 15 characters.
    explicit DeliveryThread(std::string name) : name_(std::move(name)) {}
    /// Runs what is still queued, then ends the thread.
    ~DeliveryThread();
    DeliveryThread(const DeliveryThread&) = delete;
    DeliveryThread& operator=(const DeliveryThread&) = delete;

    /// Any thread: runs `work` on the delivery thread some time later, in the order of the posts.
    void Post(Work work) EXCLUDES(mutex_);
    /// Any thread: runs `work` on the delivery thread, after what was posted before, and returns when it
    /// is done. On the delivery thread itself it runs at once.
    void Run(const Work& work) EXCLUDES(mutex_);
    /// Returns when everything that was posted before has been run. Not on the delivery thread.
    void Drain() EXCLUDES(mutex_);
    /// Whether the caller is on it.
    bool IsCurrent() const EXCLUDES(mutex_);

  private:
    void Loop() EXCLUDES(mutex_);

    const std::string name_;
    mutable Mutex mutex_{LockLevel::Queue};
    CondVar changed_;
    std::deque<Work> queue_ GUARDED_BY(mutex_);
    bool ending_ GUARDED_BY(mutex_) = false;
    std::thread thread_ GUARDED_BY(mutex_);  ///< the destructor joins it without
    std::thread::id thread_id_ GUARDED_BY(mutex_);
};

/// What the TV wants to deliver by itself, service by service. Usually each delivery goes straight to its
/// service's thread. While held, deliveries wait in one line, in the order in which they came up, until
/// Release: so a script sees the same order every time.
class ZELUMO_PLATFORM_API Deliveries {
  public:
    /// Any thread. `thread` outlives the delivery.
    void Post(DeliveryThread& thread, DeliveryThread::Work work) EXCLUDES(mutex_);
    /// Any thread. From now on deliveries wait.
    void Hold() EXCLUDES(mutex_);
    /// Runs the waiting deliveries one after the other, each on its own thread, those included that they
    /// set off themselves; returns how many ran. Deliveries still wait afterwards. One thread at a time.
    std::size_t Release() EXCLUDES(mutex_);
    /// Any thread. Whether there is something to release.
    bool waits() const EXCLUDES(mutex_);
    /// Any thread. Deliveries go straight to their threads again, the waiting ones first.
    void Resume() EXCLUDES(mutex_);

  private:
    struct Waiting {
        DeliveryThread* thread;
        DeliveryThread::Work work;
    };
    mutable Mutex mutex_{LockLevel::Deliveries};
    bool held_ GUARDED_BY(mutex_) = false;
    std::deque<Waiting> waiting_ GUARDED_BY(mutex_);
};

/// Those of the TV, valid for the life of the process.
ZELUMO_PLATFORM_API Deliveries& TheDeliveries();

}  // namespace tv
