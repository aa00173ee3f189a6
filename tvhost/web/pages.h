// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/mutex.h"
#include "tvhost/web/channel.h"

namespace host {

/// Which page has the TV: the one that came last, from when it begins to open until it closes or another one
/// comes.
class Pages {
  public:
    /// The WebSockets of a page.
    struct Channels {
        std::shared_ptr<Channel> messages;
        std::shared_ptr<Channel> runtime;  ///< what the TV's runtime does to the page beside messages
    };
    using MakeChannels = std::function<Channels(long long page)>;
    /// Carries out {"tv": "open"} or {"tv": "close"}.
    using CarryOut = std::function<void(const char* verb)>;

    Pages(MakeChannels make_channels, CarryOut carry_out);

    // In a turn, on the plug-in's thread. They throw what the verb throws.
    /// A page takes the place of the one that is open; its number.
    long long Open() EXCLUDES(mutex_);
    /// The page that is open goes. Nothing happens without one.
    void Close(const std::string& reason) EXCLUDES(mutex_);

    // Any thread.
    /// Those of the page that is open. Throws Refused for any other page.
    Channels ChannelsOf(long long page) const EXCLUDES(mutex_);
    /// A message to the page that is open or begins to.
    void Tell(std::string message) const EXCLUDES(mutex_);
    /// The same by its runtime; where `page` is given, to that one if it is open.
    void TellByRuntime(std::string text, std::optional<long long> page = std::nullopt) const EXCLUDES(mutex_);
    /// The page that has the TV, or null.
    Json::Value CurrentJson() const EXCLUDES(mutex_);

  private:
    const MakeChannels make_channels_;
    const CarryOut carry_out_;
    const long long first_;
    mutable tv::Mutex mutex_{tv::LockLevel::Page};
    long long last_ GUARDED_BY(mutex_);
    bool open_ GUARDED_BY(mutex_) = false;
    bool opening_ GUARDED_BY(mutex_) = false;  ///< from before the page that it replaces closes
    Channels channels_ GUARDED_BY(mutex_);     ///< of the page that is open or begins to
};

}  // namespace host
