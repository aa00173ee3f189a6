// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "tvhost/web/channel.h"
#include "tvhost/web/request.h"

namespace host {

/// The server can't have its address; what() says why in one line.
class ServerError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The web server: takes requests apart, refuses what is not meant for it, and passes on the rest. It has
/// one thread of its own. A request that was not addressed to the server's own name, or that a page from
/// elsewhere sent, is refused with 403; a body over the limit with 413. When there is no room for another
/// connection, the one that has been idle for longest goes.
class WebServer {
  public:
    using Answer = WebAnswer;
    struct Handlers {
        /// A request. On the server's thread: it must not wait.
        std::function<void(WebRequest, Answer)> request;
        /// A WebSocket, without method and body: what it listens to, or a refusal. On the server's thread.
        std::function<std::variant<Subscription, WebResponse>(WebRequest)> listen;
        /// Whatever the server refuses is answered as if there were nothing, with 404.
        bool hides = false;
    };
    struct Limits {
        std::size_t body_bytes = std::size_t{1024} * 1024;
        /// What waits for one listener, or in a channel for its first.
        std::size_t queue_bytes = std::size_t{16} * 1024 * 1024;
        std::size_t queue_texts = 20'000;
        /// How long a listener that is to be closed has to take the reason.
        std::chrono::milliseconds close_grace{5000};
        /// How long a request's header may take from its first byte on.
        std::chrono::milliseconds head{10'000};
        /// How many connections there may be, if the process's descriptors suffice.
        std::size_t connections = 4096;
    };

    /// Takes the address and the port, 0 for a free one. Pages of `allow_origins` may use the server, too.
    /// Throws ServerError.
    WebServer(const std::string& address, std::uint16_t port, Limits limits,
              std::vector<std::string> allow_origins = {});
    /// Stops.
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// `http://127.0.0.1:8047/`
    std::string url() const;
    std::uint16_t port() const;
    /// Whether the address can be reached from this machine alone.
    bool is_loopback() const;

    /// A channel. One that keeps holds texts back while nobody listens; when they exceed the limit, the
    /// oldest go. Channels must not outlive the server.
    std::shared_ptr<Channel> MakeChannel(Channel::Unheard unheard,
                                         Channel::Events events = {nullptr, nullptr});

    /// Begins to answer.
    void Start(Handlers handlers);
    /// Takes no more requests, closes the listeners, and ends the thread; returns when it has ended.
    void Stop();

    /// Runs `work` on the server's thread, in the order of the calls; never waits. Work that the thread has
    /// not come to when the server stops is dropped. Any thread.
    void Post(std::function<void()> work);
    /// Runs `work` on the server's thread once that time has passed, unless the server ends first. On the
    /// server's thread, or before Start.
    void After(std::chrono::milliseconds time, std::function<void()> work);

  private:
    class Core;
    std::unique_ptr<Core> core_;
};

}  // namespace host
