// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "core/mutex.h"
#include "tvhost/session.h"
#include "tvhost/web/channel.h"
#include "tvhost/web/kept_lines.h"

namespace host {

/// Everything that happens, line by line: what is kept of it, and whoever listens. Any thread.
class WebJournal {
  public:
    /// `channel` is where it is heard.
    explicit WebJournal(std::shared_ptr<Channel> channel) : channel_(std::move(channel)) {}
    WebJournal(const WebJournal&) = delete;
    WebJournal& operator=(const WebJournal&) = delete;

    void Add(const std::string& line) EXCLUDES(mutex_);
    void Add(const LineOut& line) EXCLUDES(mutex_);

    /// `{"first": F, "next": M, "lines": […]}`: what is kept from line `since` on.
    std::string Since(unsigned long long since) const EXCLUDES(mutex_);
    /// For somebody who listens: first what is kept from line `since` on, or nothing for 0. It is heard from
    /// then on.
    Subscription Subscribe(unsigned long long since) EXCLUDES(mutex_);
    /// Whether anybody listens.
    void SetHeard(bool heard) EXCLUDES(mutex_);

  private:
    const std::shared_ptr<Channel> channel_;
    mutable tv::Mutex mutex_{tv::LockLevel::Kept};
    KeptLines kept_ GUARDED_BY(mutex_);
    bool heard_ GUARDED_BY(mutex_) = false;
};

}  // namespace host
