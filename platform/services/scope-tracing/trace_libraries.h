#pragma once

#include <mutex>
#include <vector>

#include "scope-tracing/ht_library.h"

namespace tv {

/// The libraries whose scopes can be traced. Any thread.
class PLATFORM_API TraceLibraries {
  public:
    /// The one of the process, never destroyed.
    static TraceLibraries& Get();

    void Register(ht_enabled_flag* enabled);
    /// The flag is not touched any more.
    void Deregister(ht_enabled_flag* enabled);
    /// Switches tracing on or off, for the libraries that are registered now or later.
    void Enable(bool on);
    std::size_t Count() const;

  private:
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    bool on_ = false;
    std::vector<ht_enabled_flag*> flags_;  // not owned; each lives until its library deregisters it
};

}  // namespace tv
