#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "core/mutex.h"
#include "tvhost/session.h"
#include "tvhost/web/channel.h"

namespace host {

/// Everything that happens, line by line, numbered from 1: what is kept of it, and whoever listens. Any
/// thread.
class WebJournal {
  public:
    /// What is kept: so many lines, as long as they take no more than that.
    static constexpr std::size_t kLines = 4096;
    static constexpr std::size_t kBytes = std::size_t{64} * 1024 * 1024;

    /// `channel` is where it is heard.
    explicit WebJournal(std::shared_ptr<Channel> channel) : channel_(std::move(channel)), ring_(kLines) {}
    WebJournal(const WebJournal&) = delete;
    WebJournal& operator=(const WebJournal&) = delete;

    void Add(std::string line) EXCLUDES(mutex_);
    /// `text`: the whole line, where it is written out already, or "".
    void Add(LineOut line, std::string text) EXCLUDES(mutex_);

    /// `{"first": F, "next": M, "lines": […]}`: what is kept from line `since` on.
    std::string Since(unsigned long long since) EXCLUDES(mutex_);
    /// For somebody who listens: first what is kept from line `since` on, or nothing for 0. It is heard from
    /// then on.
    Subscription Subscribe(unsigned long long since) EXCLUDES(mutex_);
    /// Whether anybody listens.
    void SetHeard(bool heard) EXCLUDES(mutex_);

  private:
    struct Kept {
        std::variant<Channel::Text, LineOut> line;  ///< as it came up, until somebody reads it
        std::size_t bytes = 0;
    };

    Kept& At(unsigned long long number) REQUIRES(mutex_) { return ring_[number % kLines]; }
    void Keep(Kept kept) REQUIRES(mutex_);
    /// The first line that is kept, from `since` on.
    unsigned long long First(unsigned long long since) const REQUIRES(mutex_);
    Channel::Text TextOf(unsigned long long number) REQUIRES(mutex_);

    const std::shared_ptr<Channel> channel_;
    tv::Mutex mutex_{tv::LockLevel::Kept};
    std::vector<Kept> ring_ GUARDED_BY(mutex_);  ///< line N at N % kLines
    unsigned long long first_ GUARDED_BY(mutex_) = 1;
    unsigned long long next_ GUARDED_BY(mutex_) = 1;
    std::size_t bytes_ GUARDED_BY(mutex_) = 0;
    bool heard_ GUARDED_BY(mutex_) = false;
};

}  // namespace host
