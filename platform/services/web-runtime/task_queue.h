// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "core/mutex.h"
#include "zelumo-platform/export.h"

namespace tv {

/// One piece of work in a queue. Exactly one of its operations is called, exactly once.
class Task {
  public:
    virtual ~Task() = default;
    /// On the queue's thread.
    virtual void Run() = 0;
    /// Instead of Run, because the queue ends. On the queue's thread, or on the one that destroys the queue.
    virtual void Cancel() = 0;
};

/// What a message loop runs: work, and messages of the page. Any thread posts; one thread attaches and
/// runs.
class ZELUMO_PLATFORM_API TaskQueue {
  public:
    using Clock = std::chrono::steady_clock;
    enum class Kind { Work, Message };

    ~TaskQueue();

    /// False when a thread is attached already.
    bool Attach() EXCLUDES(mutex_);
    /// Runs tasks until a quit is reached, then cancels what is left and calls the end observers. False
    /// off the attached thread.
    bool Run() EXCLUDES(mutex_);

    /// The queue uses the task until one of its operations has been called. False, and no operation is
    /// called, when the queue has ended, or for a message once a quit was posted.
    [[nodiscard]] bool Post(Kind kind, Task& task) EXCLUDES(mutex_);
    [[nodiscard]] bool PostLater(Task& task, Clock::time_point when) EXCLUDES(mutex_);
    /// Ends Run after the tasks posted before; messages that have not begun are cancelled instead. False when
    /// the queue has ended.
    bool Quit() EXCLUDES(mutex_);

    /// Calls `observer` on the queue's thread when Run ends; at once false when the queue is not attached
    /// or has ended.
    bool OnEnd(std::function<void()> observer) EXCLUDES(mutex_);

  private:
    struct Item {
        Kind kind;
        Task* task;  ///< not owned; null marks a quit
    };
    /// What is in the queue, and who waits for its end.
    struct Contents {
        std::deque<Item> items;
        std::multimap<Clock::time_point, Task*> later;
        std::vector<std::function<void()>> on_end;
    };
    /// The next thing to do, or nothing when the loop is to end.
    Task* Next(bool& cancel) REQUIRES(mutex_);
    /// Nothing is posted any more; what is left is the caller's to cancel.
    Contents End() REQUIRES(mutex_);
    /// Outside the lock: tasks may post.
    static void CancelAll(const Contents& left);

    Mutex mutex_{LockLevel::Queue};
    CondVar changed_;
    Contents contents_ GUARDED_BY(mutex_);
    std::thread::id thread_ GUARDED_BY(mutex_);
    bool quitting_ GUARDED_BY(mutex_) = false;
    bool ended_ GUARDED_BY(mutex_) = false;
};

}  // namespace tv
