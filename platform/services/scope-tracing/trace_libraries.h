// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "core/mutex.h"
#include "scope-tracing/ht_library.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The libraries whose scopes can be traced. Any thread.
class ZELUMO_PLATFORM_API TraceLibraries {
  public:
    /// The one of the process, never destroyed.
    static TraceLibraries& Get();

    void Register(ht_enabled_flag* enabled) EXCLUDES(mutex_);
    /// The flag is not touched any more.
    void Deregister(ht_enabled_flag* enabled) EXCLUDES(mutex_);
    /// Switches tracing on or off, for the libraries that are registered now or later.
    void Enable(bool on) EXCLUDES(mutex_);
    std::size_t Count() const EXCLUDES(mutex_);

  private:
    /// Tracing may be switched whatever else is held.
    mutable Mutex mutex_{LockLevel::Leaf};
    bool on_ GUARDED_BY(mutex_) = false;
    /// Not owned; each lives until its library deregisters it.
    std::vector<ht_enabled_flag*> flags_ GUARDED_BY(mutex_);
};

}  // namespace tv
