// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/mutex.h"

namespace soak {

/// How far the threads of a crew have come together, for others to wait on. Any thread.
class Progress {
  public:
    /// That many threads more take part.
    void Join(int threads) EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        threads_ += threads;
        has_begun_ = true;
    }
    /// One of them has finished.
    void Leave() EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        --threads_;
        changed_.NotifyAll();
    }
    /// One of them has come one step further.
    void Step() EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        ++steps_;
        changed_.NotifyAll();
    }
    /// Waits until they have made that many steps, or all of them have finished.
    void Await(int steps) EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        while (steps_ < steps && (!has_begun_ || threads_ != 0))
            changed_.Wait(mutex_);
    }

  private:
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    tv::CondVar changed_;
    bool has_begun_ GUARDED_BY(mutex_) = false;
    int threads_ GUARDED_BY(mutex_) = 0;
    int steps_ GUARDED_BY(mutex_) = 0;
};

}  // namespace soak
