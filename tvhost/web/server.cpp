// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/server.h"

#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <filesystem>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "tvhost/web/connection.h"
#include "tvhost/web/own_names.h"

namespace host {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using namespace std::chrono_literals;

/// How often connections are watched for those that took too long. A timer of their own would cost each
/// request more than the rest of its way through the server.
constexpr std::chrono::milliseconds kWatch = 1s;
constexpr auto kLastAnswers = 500ms;
/// Descriptors that are left to files, to the plug-in and to the TV; a quarter where there are few.
constexpr std::size_t kReserve = 24;

/// How many connections the process has descriptors for, beside those that it holds already.
std::size_t FreeDescriptors()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    std::error_code error;
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    const auto taken = error ? 0 : static_cast<std::size_t>(std::distance(begin(open), end(open)));
    const std::size_t all = std::min<rlim_t>(limit.rlim_cur, std::numeric_limits<int>::max());
    const std::size_t free = all > taken ? all - taken : 0;
    return free - std::min(free, std::clamp<std::size_t>(free / 4, 1, kReserve));
}

}  // namespace

std::string HostName(const asio::ip::address& address)
{
    if (!address.is_v6())
        return address.to_string();
    const asio::ip::address_v6 v6 = address.to_v6();
    return v6.is_v4_mapped() ? asio::ip::make_address_v4(asio::ip::v4_mapped, v6).to_string()
                             : '[' + v6.to_string() + ']';
}

bool ServerState::MakeRoom(const Connection* but)
{
    Connection* first = nullptr;
    std::optional<Connection::Spare> least;
    for (Connection* connection : connections) {
        const std::optional<Connection::Spare> spare = connection == but ? std::nullopt : connection->spare();
        if (spare && (!least || *spare < *least)) {
            least = spare;
            first = connection;
        }
    }
    if (first != nullptr)
        first->GiveWay();
    return first != nullptr;
}

class WebServer::Core {
  public:
    Core(const std::string& address, std::uint16_t port, Limits limits,
         std::vector<std::string> allow_origins)
        : state_(limits, std::move(allow_origins))
    {
        for (const std::string& origin : state_.allow_origins) {
            if (const std::optional<std::string> why = CheckOrigin(origin))
                throw ServerError(*why);
        }
        error_code error;
        const std::string where = address + ':' + std::to_string(port);
        const asio::ip::address parsed =
            asio::ip::make_address(address == "localhost" ? "127.0.0.1" : address, error);
        if (error)
            throw ServerError(address + ": not an address");
        const tcp::endpoint endpoint(parsed, port);
        acceptor_.open(endpoint.protocol(), error);
        if (!error)
            acceptor_.set_option(asio::socket_base::reuse_address(true), error);
        if (!error)
            acceptor_.bind(endpoint, error);
        if (!error)
            acceptor_.listen(asio::socket_base::max_listen_connections, error);
        if (error == asio::error::address_in_use)
            throw ServerError(where + ": the port is in use; --port 0 takes a free one");
        if (error)
            throw ServerError(where + ": " + error.message());
        local_ = acceptor_.local_endpoint();
    }

    const tcp::endpoint& local() const { return local_; }
    ServerState& state() { return state_; }

    void Start(Handlers handlers)
    {
        state_.handlers = std::move(handlers);
        room_ = std::min(state_.limits.connections, FreeDescriptors());
        Accept();
        WatchConnections();
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "web");
            state_.io.run();
        });
    }
    void Stop()
    {
        if (!thread_.joinable())
            return;
        asio::post(state_.io, [this] {
            state_.stopping = true;
            acceptor_.close();
            retry_.cancel();
            last_answers_.expires_after(kLastAnswers);
            last_answers_.async_wait([this](error_code) { state_.io.stop(); });
            WatchEnd();
        });
        thread_.join();
        const std::set<Connection*> connections = state_.connections;
        for (Connection* connection : connections)
            connection->LetGo();
    }
    void Post(std::function<void()> work) { asio::post(state_.io, std::move(work)); }
    void After(std::chrono::milliseconds time, std::function<void()> work)
    {
        if (state_.stopping)
            return;
        const auto timer = std::make_shared<asio::steady_timer>(state_.io, time);
        timer->async_wait([this, timer, work = std::move(work)](error_code) {
            if (!state_.stopping)
                work();
        });
    }

  private:
    void Accept()
    {
        acceptor_.async_accept([this](error_code error, TcpSocket socket) {
            if (state_.stopping)
                return;
            if (!error) {
                if (state_.connections.size() < room_ || state_.MakeRoom())
                    ServeConnection(state_, std::move(socket));
                else
                    TurnAway(std::move(socket));
                return Accept();
            }
            // Out of descriptors, most likely: where none can be freed, some will be in a while.
            if (state_.MakeRoom())
                return Accept();
            retry_.expires_after(100ms);
            retry_.async_wait([this](error_code cancelled) {
                if (!cancelled)
                    Accept();
            });
        });
    }
    /// All that there are keep their places.
    static void TurnAway(TcpSocket socket)
    {
        const WebResponse response = ErrorResponse(503, "there are too many connections");
        const std::string text = ResponseHead(response, response.body.size(), {false, false}) + response.body;
        error_code error;
        socket.non_blocking(true, error);
        socket.write_some(asio::buffer(text), error);
        socket.shutdown(TcpSocket::shutdown_send, error);
    }
    void WatchConnections()
    {
        watch_.expires_after(std::min(kWatch, state_.limits.head / 4));
        watch_.async_wait([this](error_code) {
            const std::set<Connection*> connections = state_.connections;
            for (Connection* connection : connections)
                connection->Watch(std::chrono::steady_clock::now());
            WatchConnections();
        });
    }
    /// Ends the connections that wait for no answer any more, and the wait when none is left.
    void WatchEnd()
    {
        const std::set<Connection*> connections = state_.connections;
        for (Connection* connection : connections)
            connection->End();
        if (state_.connections.empty())
            return state_.io.stop();
        retry_.expires_after(5ms);
        retry_.async_wait([this](error_code) { WatchEnd(); });
    }

    ServerState state_;
    asio::basic_socket_acceptor<tcp, asio::io_context::executor_type> acceptor_{state_.io};
    tcp::endpoint local_;
    std::size_t room_ = 0;  ///< how many connections there may be
    asio::steady_timer watch_{state_.io};
    asio::steady_timer retry_{state_.io};
    asio::steady_timer last_answers_{state_.io};
    std::thread thread_;
};

WebServer::WebServer(const std::string& address, std::uint16_t port, Limits limits,
                     std::vector<std::string> allow_origins)
    : core_(std::make_unique<Core>(address, port, limits, std::move(allow_origins)))
{}

WebServer::~WebServer()
{
    Stop();
}

std::string WebServer::url() const
{
    return "http://" + HostName(core_->local().address()) + ':' + std::to_string(port()) + '/';
}

std::uint16_t WebServer::port() const
{
    return core_->local().port();
}

bool WebServer::is_loopback() const
{
    return core_->local().address().is_loopback();
}

std::shared_ptr<Channel> WebServer::MakeChannel(Channel::Unheard unheard, Channel::Events events)
{
    return std::make_shared<Channel>(core_->state(), unheard, std::move(events));
}

void WebServer::Start(Handlers handlers)
{
    core_->Start(std::move(handlers));
}

void WebServer::Stop()
{
    core_->Stop();
}

void WebServer::Post(std::function<void()> work)
{
    core_->Post(std::move(work));
}

void WebServer::After(std::chrono::milliseconds time, std::function<void()> work)
{
    core_->After(time, std::move(work));
}

}  // namespace host
