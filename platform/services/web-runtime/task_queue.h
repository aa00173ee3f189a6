#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

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
class PLATFORM_API TaskQueue {
  public:
    using Clock = std::chrono::steady_clock;
    enum class Kind { Work, Message };

    ~TaskQueue();

    /// False when a thread is attached already.
    bool Attach();
    bool IsAttached() const;
    bool IsAttachedHere() const;
    /// Runs tasks until a quit is reached, then cancels what is left and calls the end observers. False
    /// off the attached thread.
    bool Run();

    /// The queue uses the task until one of its operations has been called. False, and no operation is
    /// called, when the queue has ended, or for a message once a quit was posted.
    [[nodiscard]] bool Post(Kind kind, Task& task);
    [[nodiscard]] bool PostLater(Task& task, Clock::time_point when);
    /// Ends Run after the tasks posted before; messages that have not begun are cancelled instead. False when
    /// the queue has ended.
    bool Quit();

    /// Calls `observer` on the queue's thread when Run ends; at once false when the queue is not attached
    /// or has ended.
    bool OnEnd(std::function<void()> observer);

  private:
    struct Item {
        Kind kind;
        Task* task;  ///< not owned; null marks a quit
    };
    /// The next thing to do, or nothing when the loop is to end. `lock` holds mutex_.
    Task* Next(std::unique_lock<std::mutex>& lock, bool& cancel);
    void CancelAll(std::unique_lock<std::mutex>& lock);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    std::deque<Item> items_;
    std::multimap<Clock::time_point, Task*> later_;
    std::vector<std::function<void()>> on_end_;
    std::thread::id thread_;
    bool quitting_ = false;
    bool ended_ = false;
};

}  // namespace tv
