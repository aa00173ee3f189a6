// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/mutex.h"

namespace host {

class Listener;
struct ServerState;

/// Texts for any number of WebSocket listeners: each gets all of them, in order, one frame each. Every
/// listener has a bounded queue of its own, so that a slow one holds up nobody; when it overflows, the
/// listener is closed with the reason. Made by the server, and must not outlive it.
class Channel : public std::enable_shared_from_this<Channel> {
  public:
    /// What becomes of texts while nobody listens.
    enum class Unheard { Keep, Drop };
    /// The code with which a WebSocket is closed that has served its purpose.
    static constexpr std::uint16_t kNormal = 1000;
    using Text = std::shared_ptr<const std::string>;
    /// What happens at its far end, on the server's thread.
    struct Events {
        /// The number of listeners changed: before a listener is accepted, and after one has gone.
        std::function<void(std::size_t)> listeners;
        /// A listener has something to say.
        std::function<void(std::string)> text;
    };

    Channel(ServerState& server, Unheard unheard, Events events);

    // Any thread.
    /// Never waits. Nothing is sent after Close. `number`: of those that are counted, see Subscription.
    void Send(Text text, unsigned long long number = 0) EXCLUDES(mutex_);
    /// Ends the channel: its listeners get what was sent before and are closed with the reason and the code;
    /// later ones are refused.
    void Close(std::string reason, std::uint16_t code = kNormal) EXCLUDES(mutex_);

    // The server's thread.
    bool is_closed() const { return closed_; }
    /// The listener gets the texts `first`, and then those that are sent from number `from` on. False when
    /// the channel was closed.
    bool Join(Listener& listener, std::vector<Text> first, unsigned long long from);
    /// A listener says something.
    void Hear(std::string text) const;
    void Leave(const Listener& listener);

  private:
    struct Numbered {
        Text text;
        unsigned long long number;
    };
    struct Closing {
        std::string reason;
        std::uint16_t code;
    };
    struct Joined {
        Listener* listener;
        unsigned long long from;
    };

    void Schedule() REQUIRES(mutex_);
    void Deliver() EXCLUDES(mutex_);
    void Keep(Text text);

    ServerState& server_;
    const bool keeps_;
    const Events events_;
    tv::Mutex mutex_{tv::LockLevel::Channel};
    std::vector<Numbered> inbox_ GUARDED_BY(mutex_);
    std::size_t inbox_bytes_ GUARDED_BY(mutex_) = 0;
    bool overflown_ GUARDED_BY(mutex_) = false;
    bool scheduled_ GUARDED_BY(mutex_) = false;
    std::optional<Closing> closing_ GUARDED_BY(mutex_);
    // The server's thread only.
    std::vector<Joined> listeners_;
    std::deque<Text> kept_;
    std::size_t kept_bytes_ = 0;
    bool closed_ = false;
};

/// How a WebSocket comes to listen to a channel.
struct Subscription {
    std::shared_ptr<Channel> channel;
    std::vector<Channel::Text> first;              ///< what it gets before what is sent
    unsigned long long from = 0;                   ///< it has those that are sent with a lower number
    std::size_t longest = std::size_t{16} * 1024;  ///< the most bytes that it may say at once
    std::chrono::milliseconds silence{60'000};     ///< who doesn't answer a ping for so long has gone
};

}  // namespace host
