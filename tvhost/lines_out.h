// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/mutex.h"

namespace host {

/// Lines out that wait to be compared. They may come up on any thread.
class LinesOut {
  public:
    void Add(std::string line) EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        lines_.push_back(std::move(line));
    }
    std::vector<std::string> Take() EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        return std::exchange(lines_, {});
    }

  private:
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::vector<std::string> lines_ GUARDED_BY(mutex_);
};

}  // namespace host
