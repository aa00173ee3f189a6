#include "tvhost/web_server.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <csignal>
#include <deque>
#include <limits>
#include <optional>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/mutex.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using namespace std::chrono_literals;

constexpr std::uint32_t kMaxHeaderBytes = 16 * 1024;
/// What is read of a body that is refused, so that the browser gets to read the refusal.
constexpr std::size_t kMaxDrainedBytes = std::size_t{64} * 1024 * 1024;
/// How often connections are watched for those that took too long. A timer of their own would cost each
/// request more than the rest of its way through the server.
constexpr auto kWatch = 5s;
constexpr auto kIdle = 75s;
constexpr auto kSlowBody = 30s;
constexpr auto kSlowFile = 600s;
constexpr auto kLastAnswers = 500ms;

std::string_view View(beast::string_view text)
{
    return {text.data(), text.size()};
}

std::string HostName(const asio::ip::address& address)
{
    if (!address.is_v6())
        return address.to_string();
    const asio::ip::address_v6 v6 = address.to_v6();
    return v6.is_v4_mapped() ? asio::ip::make_address_v4(asio::ip::v4_mapped, v6).to_string()
                             : '[' + v6.to_string() + ']';
}

/// What both kinds of connection need to know of their server.
class Connection {
  public:
    virtual ~Connection() = default;
    /// The server stops.
    virtual void End() = 0;
    /// Ends it, if it took too long.
    virtual void Watch(std::chrono::steady_clock::time_point now) = 0;
    /// The server has stopped: what the connection waits for doesn't come any more.
    virtual void LetGo() {}
};

struct Shared {
    explicit Shared(WebServer::Limits the_limits) : limits(the_limits) {}

    const WebServer::Limits limits;
    // The server's thread only.
    WebServer::Handlers handlers;
    bool stopping = false;
    std::set<Connection*> connections;
    asio::io_context io{1};  // takes connections with it, so it goes first
};

class Listener;

class ChannelQueue : public Channel, public std::enable_shared_from_this<ChannelQueue> {
  public:
    using OnListeners = std::function<void(std::size_t)>;

    ChannelQueue(Shared& shared, bool keeps, OnListeners on_listeners)
        : shared_(shared), keeps_(keeps), on_listeners_(std::move(on_listeners))
    {}

    void Send(std::string text) override EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        if (closing_)
            return;
        if (inbox_bytes_ + text.size() > 4 * shared_.limits.queue_bytes ||
            inbox_.size() >= 4 * shared_.limits.queue_texts) {
            inbox_.clear();
            inbox_bytes_ = 0;
            overflown_ = true;
        } else {
            inbox_bytes_ += text.size();
            inbox_.push_back(std::make_shared<const std::string>(std::move(text)));
        }
        Schedule();
    }
    void Close(std::string reason) override EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        if (closing_)
            return;
        closing_ = std::move(reason);
        Schedule();
    }

    // The server's thread.
    /// False when the channel was closed.
    bool Join(Listener& listener);
    void Leave(const Listener& listener);

  private:
    void Schedule() REQUIRES(mutex_)
    {
        if (!scheduled_)
            asio::post(shared_.io, [self = shared_from_this()] { self->Deliver(); });
        scheduled_ = true;
    }
    void Deliver() EXCLUDES(mutex_);
    void Keep(std::shared_ptr<const std::string> text);

    Shared& shared_;
    const bool keeps_;
    const OnListeners on_listeners_;
    tv::Mutex mutex_{tv::LockLevel::Channel};
    std::vector<std::shared_ptr<const std::string>> inbox_ GUARDED_BY(mutex_);
    std::size_t inbox_bytes_ GUARDED_BY(mutex_) = 0;
    bool overflown_ GUARDED_BY(mutex_) = false;
    bool scheduled_ GUARDED_BY(mutex_) = false;
    std::optional<std::string> closing_ GUARDED_BY(mutex_);
    // The server's thread only.
    std::vector<Listener*> listeners_;
    std::deque<std::shared_ptr<const std::string>> kept_;
    std::size_t kept_bytes_ = 0;
    bool closed_ = false;
};

/// A WebSocket that gets a channel's texts. Keeps itself alive by its pending operations.
class Listener : public Connection, public std::enable_shared_from_this<Listener> {
  public:
    Listener(Shared& shared, beast::tcp_stream stream, std::shared_ptr<ChannelQueue> channel)
        : shared_(shared), socket_(std::move(stream)), channel_(std::move(channel)), grace_(shared.io)
    {
        shared_.connections.insert(this);
    }
    ~Listener() override { shared_.connections.erase(this); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    void Start(const http::request<http::buffer_body>& request)
    {
        beast::get_lowest_layer(socket_).expires_never();
        socket_.set_option(websocket::stream_base::timeout{30s, 60s, true});
        socket_.read_message_max(kMaxHeaderBytes);
        socket_.text(true);
        socket_.async_accept(request, [self = shared_from_this()](error_code error) {
            if (error)
                return self->Leave();
            self->accepted_ = true;
            self->Read();
            self->Write();
        });
    }
    void Push(std::shared_ptr<const std::string> text)
    {
        if (closing_)
            return;
        queued_bytes_ += text->size();
        queue_.push_back(std::move(text));
        if (queued_bytes_ > shared_.limits.queue_bytes || queue_.size() > shared_.limits.queue_texts)
            Drop("too slow: what was to be sent has piled up");
        else
            Write();
    }
    /// Sends what is queued, then closes.
    void Finish(websocket::close_code code, const std::string& reason)
    {
        if (closing_)
            return;
        // A reason has room for 123 bytes.
        closing_.emplace(code, beast::string_view(reason.data(), std::min<std::size_t>(reason.size(), 120)));
        grace_.expires_after(shared_.limits.close_grace);
        grace_.async_wait([self = shared_from_this()](error_code error) {
            if (!error)
                beast::get_lowest_layer(self->socket_).close();
        });
        Write();
    }
    /// Closes without what is queued.
    void Drop(const std::string& reason)
    {
        queue_.clear();
        queued_bytes_ = 0;
        Finish(websocket::close_code::policy_error, reason);
    }
    void End() override { Finish(websocket::close_code::going_away, "the TV host ends"); }
    void Watch(std::chrono::steady_clock::time_point) override {}  // Beast does, with pings

  private:
    void Read()
    {
        socket_.async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t) {
            if (error)
                return self->Leave();
            self->buffer_.clear();  // listeners have nothing to say
            self->Read();
        });
    }
    void Write()
    {
        if (!accepted_ || writing_)
            return;
        if (queue_.empty()) {
            if (closing_ && !close_sent_) {
                close_sent_ = true;
                socket_.async_close(*closing_, [self = shared_from_this()](error_code) {
                    self->grace_.cancel();
                    self->Leave();
                });
            }
            return;
        }
        writing_ = true;
        const std::shared_ptr<const std::string> text = std::move(queue_.front());
        queue_.pop_front();
        queued_bytes_ -= text->size();
        socket_.async_write(asio::buffer(*text),
                            [self = shared_from_this(), text](error_code error, std::size_t) {
                                self->writing_ = false;
                                if (error)
                                    return self->Leave();
                                self->Write();
                            });
    }
    void Leave()
    {
        accepted_ = false;
        if (const auto channel = std::move(channel_))
            channel->Leave(*this);
    }

    Shared& shared_;
    websocket::stream<beast::tcp_stream> socket_;
    std::shared_ptr<ChannelQueue> channel_;  // null once it has left
    asio::steady_timer grace_;
    beast::flat_buffer buffer_;
    std::deque<std::shared_ptr<const std::string>> queue_;
    std::size_t queued_bytes_ = 0;
    std::optional<websocket::close_reason> closing_;
    bool accepted_ = false;
    bool writing_ = false;
    bool close_sent_ = false;
};

bool ChannelQueue::Join(Listener& listener)
{
    if (closed_)
        return false;
    listeners_.push_back(&listener);
    if (on_listeners_)
        on_listeners_(listeners_.size());
    for (auto& text : std::exchange(kept_, {}))
        listener.Push(std::move(text));
    kept_bytes_ = 0;
    return true;
}

void ChannelQueue::Leave(const Listener& listener)
{
    listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), &listener), listeners_.end());
    if (on_listeners_)
        on_listeners_(listeners_.size());
}

void ChannelQueue::Keep(std::shared_ptr<const std::string> text)
{
    kept_bytes_ += text->size();
    kept_.push_back(std::move(text));
    while (kept_bytes_ > shared_.limits.queue_bytes || kept_.size() > shared_.limits.queue_texts) {
        kept_bytes_ -= kept_.front()->size();
        kept_.pop_front();
    }
}

void ChannelQueue::Deliver()
{
    std::vector<std::shared_ptr<const std::string>> texts;
    std::optional<std::string> closing;
    bool overflown = false;
    {
        const tv::MutexLock lock(mutex_);
        texts.swap(inbox_);
        inbox_bytes_ = 0;
        overflown = std::exchange(overflown_, false);
        closing = closing_;
        scheduled_ = false;
    }
    // A listener may leave while it is told.
    const std::vector<Listener*> listeners = listeners_;
    if (overflown) {
        for (Listener* listener : listeners)
            listener->Drop("too slow: what was to be sent has piled up");
    }
    for (const auto& text : texts) {
        for (Listener* listener : listeners)
            listener->Push(text);
        if (listeners.empty() && keeps_)
            Keep(text);
    }
    if (closing && !closed_) {
        closed_ = true;
        kept_.clear();
        for (Listener* listener : listeners)
            listener->Finish(websocket::close_code::normal, *closing);
    }
}

/// A connection of a browser, one request after the other. Keeps itself alive by its pending operations
/// and while it waits for an answer. Whoever answers doesn't hold it, so that it ends on the server's thread.
class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection> {
  public:
    HttpConnection(Shared& shared, tcp::socket socket) : shared_(shared), stream_(std::move(socket))
    {
        shared_.connections.insert(this);
        buffer_.reserve(chunk_.size());  // else a message is read in small pieces
    }
    ~HttpConnection() override { shared_.connections.erase(this); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void Start()
    {
        error_code error;
        stream_.socket().set_option(tcp::no_delay(true), error);
        const tcp::endpoint local = stream_.socket().local_endpoint(error);
        if (error)
            return;
        const std::string port = ':' + std::to_string(local.port());
        own_names_ = {HostName(local.address()) + port, "localhost" + port};
        if (local.port() == 80) {
            own_names_.push_back(HostName(local.address()));
            own_names_.emplace_back("localhost");
        }
        ReadHeader();
    }
    void End() override
    {
        if (!answering_)
            stream_.close();
    }
    void Watch(std::chrono::steady_clock::time_point now) override
    {
        if (now >= deadline_)
            stream_.close();
    }
    void LetGo() override { held_.reset(); }

  private:
    using Request = http::request<http::buffer_body>;

    /// What is under way has that long, give or take the interval of the watch.
    void Expect(std::chrono::seconds patience) { deadline_ = std::chrono::steady_clock::now() + patience; }

    void ReadHeader()
    {
        answering_ = false;
        if (shared_.stopping)
            return;
        parser_.emplace();
        parser_->header_limit(kMaxHeaderBytes);
        // The limit is ours to watch: a body over it is read to its end all the same.
        parser_->body_limit(std::numeric_limits<std::uint64_t>::max());
        body_.clear();
        drained_ = 0;
        too_large_ = false;
        Expect(kIdle);
        http::async_read_header(stream_, buffer_, *parser_,
                                [self = shared_from_this()](error_code error, std::size_t) {
                                    if (error)
                                        self->RefuseBroken(error);
                                    else
                                        self->TakeHeader();
                                });
    }
    void RefuseBroken(error_code error)
    {
        if (error == http::error::header_limit)
            Respond(ErrorResponse(431, "the request's header is too large"), false);
        else if (error.category() == http::make_error_code(http::error::bad_method).category() &&
                 error != http::error::end_of_stream && error != http::error::partial_message)
            Respond(ErrorResponse(400, "the request is not HTTP: " + error.message()), false);
    }
    void TakeHeader()
    {
        const Request& request = parser_->get();
        if (websocket::is_upgrade(request))
            return Upgrade();
        const boost::optional<std::uint64_t> length = parser_->content_length();
        too_large_ = length && *length > shared_.limits.body_bytes;
        if (beast::iequals(request[http::field::expect], "100-continue")) {
            // Who asks first is told at once, and sends no body then.
            if (too_large_)
                return Respond(TooLarge(), false);
            static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
            asio::async_write(stream_, asio::buffer(kContinue.data(), kContinue.size()),
                              [self = shared_from_this()](error_code error, std::size_t) {
                                  if (!error)
                                      self->ReadBody();
                              });
            return;
        }
        ReadBody();
    }
    void ReadBody()
    {
        if (parser_->is_done())
            return Handle();
        auto& part = parser_->get().body();
        part.data = chunk_.data();
        part.size = chunk_.size();
        Expect(kSlowBody);
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](error_code error, std::size_t) {
                             if (error && error != http::error::need_buffer)
                                 return self->RefuseBroken(error);
                             self->TakeBody();
                         });
    }
    void TakeBody()
    {
        const std::size_t size = chunk_.size() - parser_->get().body().size;
        too_large_ = too_large_ || body_.size() + size > shared_.limits.body_bytes;
        if (too_large_) {
            drained_ += size;
            if (drained_ > kMaxDrainedBytes)
                return Respond(TooLarge(), false);
        } else {
            body_.append(chunk_.data(), size);
        }
        ReadBody();
    }
    WebResponse TooLarge() const
    {
        return ErrorResponse(
            413, "the body is larger than " + std::to_string(shared_.limits.body_bytes) + " bytes");
    }

    bool IsOwn(std::string_view name) const
    {
        return std::any_of(own_names_.begin(), own_names_.end(), [&](const std::string& own) {
            return beast::iequals(own, beast::string_view(name.data(), name.size()));
        });
    }
    /// Why the request is none of ours, or nothing.
    std::optional<WebResponse> Foreign() const
    {
        const Request& request = parser_->get();
        if (request.count(http::field::host) != 1 || !IsOwn(View(request[http::field::host])))
            return ErrorResponse(403, "this server goes by the name of " + own_names_.front());
        constexpr std::string_view kScheme = "http://";
        const std::string_view origin = View(request[http::field::origin]);
        if (request.count(http::field::origin) != 0 &&
            (origin.substr(0, kScheme.size()) != kScheme || !IsOwn(origin.substr(kScheme.size()))))
            return ErrorResponse(403, "pages from elsewhere can't reach the TV");
        return std::nullopt;
    }
    std::string Path() const
    {
        const std::string_view target = View(parser_->get().target());
        return std::string(target.substr(0, target.find_first_of("?#")));
    }

    void Upgrade()
    {
        if (std::optional<WebResponse> refusal = Foreign())
            return Respond(std::move(*refusal), false);
        auto found = shared_.handlers.listen(Path());
        if (WebResponse* refusal = std::get_if<WebResponse>(&found))
            return Respond(std::move(*refusal), false);
        auto channel =
            std::static_pointer_cast<ChannelQueue>(std::get<std::shared_ptr<Channel>>(std::move(found)));
        const auto listener = std::make_shared<Listener>(shared_, std::move(stream_), channel);
        // Before it is accepted, so that it misses nothing that happens once the browser knows.
        if (channel->Join(*listener))
            listener->Start(parser_->get());
    }
    void Handle()
    {
        if (std::optional<WebResponse> refusal = Foreign())
            return Respond(std::move(*refusal), true);
        if (too_large_)
            return Respond(TooLarge(), true);
        deadline_ = std::chrono::steady_clock::time_point::max();
        answering_ = true;
        held_ = shared_from_this();
        WebRequest request{std::string(View(parser_->get().method_string())), Path(), std::move(body_)};
        static const WebResponse unanswered = ErrorResponse(500, "the request was given up");
        shared_.handlers.request(std::move(request),
                                 {[&io = shared_.io, weak = weak_from_this()](WebResponse response) {
                                      asio::dispatch(io, [weak, response = std::move(response)]() mutable {
                                          if (const std::shared_ptr<HttpConnection> self = weak.lock()) {
                                              self->held_.reset();
                                              self->Respond(std::move(response), true);
                                          }
                                      });
                                  },
                                  unanswered});
    }

    template <typename Body>
    void Prepare(http::response<Body>& message, const WebResponse& response, bool keep_alive)
    {
        const http::verb method = parser_->get().method();
        message.result(static_cast<unsigned>(response.status));
        message.version(11);
        message.keep_alive(keep_alive);
        message.set(http::field::cache_control, "no-cache");
        if (response.status != 204)
            message.set(http::field::content_type, response.type);
        if (!response.allow.empty())
            message.set(http::field::allow, response.allow);
        if (!response.location.empty())
            message.set(http::field::location, response.location);
        if (method == http::verb::get || method == http::verb::head) {
            message.set("X-Content-Type-Options", "nosniff");
            message.set("Content-Security-Policy", "frame-ancestors 'self'");
            message.set("Cross-Origin-Resource-Policy", "same-origin");
        }
    }
    /// `intact`: the request was read whole, so that another one can follow.
    void Respond(WebResponse response, bool intact)
    {
        answering_ = true;
        const bool keep_alive = intact && parser_->get().keep_alive() && !shared_.stopping;
        const bool head = parser_->get().method() == http::verb::head;
        if (!response.file.empty())
            return RespondFile(response, keep_alive, head);
        if (head || response.status == 204) {
            auto message = std::make_shared<http::response<http::empty_body>>();
            Prepare(*message, response, keep_alive);
            if (head)
                message->content_length(response.body.size());
            return Write(message);
        }
        auto message = std::make_shared<http::response<http::string_body>>();
        Prepare(*message, response, keep_alive);
        message->body() = std::move(response.body);
        message->prepare_payload();
        Write(message);
    }
    void RespondFile(const WebResponse& response, bool keep_alive, bool head)
    {
        error_code error;
        http::file_body::value_type file;
        file.open(response.file.c_str(), beast::file_mode::scan, error);
        if (error)
            return Respond(ErrorResponse(404, "the file can't be read"), true);
        if (head) {
            auto message = std::make_shared<http::response<http::empty_body>>();
            Prepare(*message, response, keep_alive);
            message->content_length(file.size());
            return Write(message);
        }
        auto message = std::make_shared<http::response<http::file_body>>();
        Prepare(*message, response, keep_alive);
        message->body() = std::move(file);
        message->prepare_payload();
        Write(message, kSlowFile);
    }
    template <typename Body>
    void Write(const std::shared_ptr<http::response<Body>>& message,
               std::chrono::seconds patience = kSlowBody)
    {
        Expect(patience);
        http::async_write(stream_, *message,
                          [self = shared_from_this(), message](error_code error, std::size_t) {
                              if (error)
                                  return;
                              if (message->keep_alive() && !self->shared_.stopping)
                                  return self->ReadHeader();
                              self->stream_.socket().shutdown(tcp::socket::shutdown_send, error);
                          });
    }

    Shared& shared_;
    beast::tcp_stream stream_;
    std::vector<std::string> own_names_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::buffer_body>> parser_;
    std::array<char, std::size_t{16} * 1024> chunk_{};
    std::string body_;
    std::size_t drained_ = 0;
    bool too_large_ = false;
    bool answering_ = false;                ///< a request was taken, and its answer is not yet written
    std::shared_ptr<HttpConnection> held_;  ///< itself, until the answer is known
    std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
};

}  // namespace

WebResponse ErrorResponse(int status, const std::string& why)
{
    WebResponse response;
    response.status = status;
    response.body = WriteJson(OrderedObject{{"error", why}});
    return response;
}

class WebServer::Core {
  public:
    Core(const std::string& address, std::uint16_t port, Limits limits) : shared_(limits)
    {
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
    Shared& shared() { return shared_; }

    void OnInterrupt(std::function<void()> stop)
    {
        signals_.emplace(shared_.io, SIGINT, SIGTERM);
        signals_->async_wait([this, stop = std::move(stop)](error_code error, int) {
            if (error)
                return;
            signals_->clear();
            stop();
        });
    }
    void Start(Handlers handlers)
    {
        shared_.handlers = std::move(handlers);
        Accept();
        WatchConnections();
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "web");
            shared_.io.run();
        });
    }
    void Stop()
    {
        if (!thread_.joinable())
            return;
        asio::post(shared_.io, [this] {
            shared_.stopping = true;
            acceptor_.close();
            retry_.cancel();
            signals_.reset();
            const std::set<Connection*> connections = shared_.connections;
            for (Connection* connection : connections)
                connection->End();
            last_answers_.expires_after(kLastAnswers);
            last_answers_.async_wait([this](error_code) { shared_.io.stop(); });
            WatchEnd();
        });
        thread_.join();
        const std::set<Connection*> connections = shared_.connections;
        for (Connection* connection : connections)
            connection->LetGo();
    }

  private:
    void Accept()
    {
        acceptor_.async_accept([this](error_code error, tcp::socket socket) {
            if (shared_.stopping)
                return;
            if (!error) {
                std::make_shared<HttpConnection>(shared_, std::move(socket))->Start();
                return Accept();
            }
            // Out of descriptors, most likely: some will be free in a while.
            retry_.expires_after(100ms);
            retry_.async_wait([this](error_code cancelled) {
                if (!cancelled)
                    Accept();
            });
        });
    }
    void WatchConnections()
    {
        watch_.expires_after(kWatch);
        watch_.async_wait([this](error_code) {
            const std::set<Connection*> connections = shared_.connections;
            for (Connection* connection : connections)
                connection->Watch(std::chrono::steady_clock::now());
            WatchConnections();
        });
    }
    /// Ends the wait for last answers when there is nobody left to wait for.
    void WatchEnd()
    {
        if (shared_.connections.empty())
            return shared_.io.stop();
        retry_.expires_after(5ms);
        retry_.async_wait([this](error_code) { WatchEnd(); });
    }

    Shared shared_;
    tcp::acceptor acceptor_{shared_.io};
    tcp::endpoint local_;
    asio::steady_timer watch_{shared_.io};
    asio::steady_timer retry_{shared_.io};
    asio::steady_timer last_answers_{shared_.io};
    std::optional<asio::signal_set> signals_;
    std::thread thread_;
};

WebServer::WebServer(const std::string& address, std::uint16_t port, Limits limits)
    : core_(std::make_unique<Core>(address, port, limits))
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

std::shared_ptr<Channel> WebServer::MakeChannel(Unheard unheard,
                                                std::function<void(std::size_t)> on_listeners)
{
    return std::make_shared<ChannelQueue>(core_->shared(), unheard == Unheard::Keep, std::move(on_listeners));
}

void WebServer::OnInterrupt(std::function<void()> stop)
{
    core_->OnInterrupt(std::move(stop));
}

void WebServer::Start(Handlers handlers)
{
    core_->Start(std::move(handlers));
}

void WebServer::Stop()
{
    core_->Stop();
}

}  // namespace host
