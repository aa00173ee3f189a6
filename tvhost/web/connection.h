// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tvhost/web/server.h"

namespace host {

using TcpSocket =
    boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

/// What a request's or a listener's header may take.
constexpr std::uint32_t kMaxHeaderBytes = 16 * 1024;

/// What the server needs to know of its connections, of both kinds. The server's thread only.
class Connection {
  public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    /// The server stops. Called again and again until the connection has ended.
    virtual void End() = 0;
    /// Ends it, if it took too long.
    virtual void Watch(std::chrono::steady_clock::time_point) {}

    /// How well it can be done without: the least is the first to go when there is no room for another one.
    struct Spare {
        bool waits;  ///< somebody waits for an answer
        std::chrono::steady_clock::time_point since;
        bool operator<(const Spare& other) const
        {
            return std::tie(waits, since) < std::tie(other.waits, other.since);
        }
    };
    /// Nothing for a connection that keeps its place, as those of a page do.
    virtual std::optional<Spare> spare() const { return std::nullopt; }
    /// It makes room: its descriptor is free when this returns.
    virtual void GiveWay() {}
    /// The server has stopped: what the connection waits for doesn't come any more.
    virtual void LetGo() {}
};

/// What connections need to know of their server. They must not outlive it.
struct ServerState {
    ServerState(WebServer::Limits the_limits, std::vector<std::string> the_origins)
        : limits(the_limits), allow_origins(std::move(the_origins))
    {}
    /// Ends the connection that can best be done without, but not that one. False when there is none. The
    /// server's thread.
    bool MakeRoom(const Connection* but = nullptr);

    const WebServer::Limits limits;
    const std::vector<std::string> allow_origins;
    std::atomic<bool> stopping{false};
    // The server's thread only.
    WebServer::Handlers handlers;
    std::set<Connection*> connections;
    std::size_t body_bytes = 0;     ///< of the bodies that are being read
    boost::asio::io_context io{1};  // takes connections with it, so it goes first
};

/// An address as it stands in a URL.
std::string HostName(const boost::asio::ip::address& address);

/// Serves a browser's connection, until one of both ends it. The server's thread.
void ServeConnection(ServerState& server, TcpSocket socket);

}  // namespace host
