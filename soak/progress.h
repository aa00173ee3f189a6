#pragma once

#include <condition_variable>
#include <mutex>

namespace soak {

/// How far the threads of a crew have come together, for others to wait on. Any thread.
class Progress {
  public:
    /// That many threads more take part.
    void Join(int threads)
    {
        const std::lock_guard lock(mutex_);
        threads_ += threads;
        has_begun_ = true;
    }
    /// One of them has finished.
    void Leave()
    {
        const std::lock_guard lock(mutex_);
        --threads_;
        changed_.notify_all();
    }
    /// One of them has come one step further.
    void Step()
    {
        const std::lock_guard lock(mutex_);
        ++steps_;
        changed_.notify_all();
    }
    /// Waits until they have made that many steps, or all of them have finished.
    void Await(int steps)
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return steps_ >= steps || (has_begun_ && threads_ == 0); });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    bool has_begun_ = false;
    int threads_ = 0;
    int steps_ = 0;
};

}  // namespace soak
