#pragma once

#include <cstddef>
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
    using OnListeners = std::function<void(std::size_t)>;

    Channel(ServerState& server, Unheard unheard, OnListeners on_listeners);

    // Any thread.
    /// Never waits. Nothing is sent after Close.
    void Send(std::string text) EXCLUDES(mutex_);
    /// Ends the channel: its listeners get what was sent before and are closed with the reason; later ones
    /// are refused.
    void Close(std::string reason) EXCLUDES(mutex_);

    // The server's thread.
    /// False when the channel was closed.
    bool Join(Listener& listener);
    void Leave(const Listener& listener);

  private:
    using Text = std::shared_ptr<const std::string>;

    void Schedule() REQUIRES(mutex_);
    void Deliver() EXCLUDES(mutex_);
    void Keep(Text text);

    ServerState& server_;
    const bool keeps_;
    const OnListeners on_listeners_;
    tv::Mutex mutex_{tv::LockLevel::Channel};
    std::vector<Text> inbox_ GUARDED_BY(mutex_);
    std::size_t inbox_bytes_ GUARDED_BY(mutex_) = 0;
    bool overflown_ GUARDED_BY(mutex_) = false;
    bool scheduled_ GUARDED_BY(mutex_) = false;
    std::optional<std::string> closing_ GUARDED_BY(mutex_);
    // The server's thread only.
    std::vector<Listener*> listeners_;
    std::deque<Text> kept_;
    std::size_t kept_bytes_ = 0;
    bool closed_ = false;
};

}  // namespace host
