#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <string>

#include "core/mutex.h"
#include "tvhost/web/channel.h"

namespace host {

/// Which page has the TV: the one that came last, from when it begins to open until it closes or another one
/// comes.
class Pages {
  public:
    using MakeMessages = std::function<std::shared_ptr<Channel>()>;
    /// Carries out {"tv": "open"} or {"tv": "close"}.
    using CarryOut = std::function<void(const char* verb)>;

    /// `make_messages` makes the channel of a page's messages.
    Pages(MakeMessages make_messages, CarryOut carry_out);

    // In a turn, on the plug-in's thread. They throw what the verb throws.
    /// A page takes the place of the one that is open; its number.
    long long Open() EXCLUDES(mutex_);
    /// The page that is open goes. Nothing happens without one.
    void Close(const std::string& reason) EXCLUDES(mutex_);

    // Any thread.
    /// The messages of the page that is open. Throws Refused for any other page.
    std::shared_ptr<Channel> MessagesOf(long long page) const EXCLUDES(mutex_);
    /// A message to the page that is open or begins to.
    void Tell(std::string message) const EXCLUDES(mutex_);
    /// The page that has the TV, or null.
    Json::Value CurrentJson() const EXCLUDES(mutex_);

  private:
    const MakeMessages make_messages_;
    const CarryOut carry_out_;
    const long long first_;
    mutable tv::Mutex mutex_{tv::LockLevel::Page};
    long long last_ GUARDED_BY(mutex_);
    bool open_ GUARDED_BY(mutex_) = false;
    bool opening_ GUARDED_BY(mutex_) = false;               ///< from before the page that it replaces closes
    std::shared_ptr<Channel> messages_ GUARDED_BY(mutex_);  ///< of the page that is open or begins to
};

}  // namespace host
