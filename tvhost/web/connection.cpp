#include "tvhost/web/connection.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/file_posix.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "tvhost/web/limited_body.h"
#include "tvhost/web/listener.h"
#include "tvhost/web/outlet.h"
#include "tvhost/web/own_names.h"

namespace host {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;
using namespace std::chrono_literals;

/// What is read of a body that is refused, so that the browser gets to read the refusal.
constexpr std::size_t kMaxDrainedBytes = std::size_t{64} * 1024 * 1024;
/// What is read, and of a file written, in one go.
constexpr std::size_t kPiece = std::size_t{16} * 1024;
constexpr auto kIdle = 75s;
constexpr auto kSlowBody = 30s;
constexpr auto kSlowFile = 600s;

std::string_view View(beast::string_view text)
{
    return {text.data(), text.size()};
}

/// A connection of a browser, one request after the other. Reads on while a request waits for its answer, so
/// that an answer which the socket takes whole needs nothing more of the server's thread; keeps itself alive
/// by its pending operations. Whoever answers holds only the way out of it, so that it ends on the server's
/// thread.
class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection> {
  public:
    HttpConnection(ServerState& server, TcpSocket socket)
        : server_(server), socket_(std::move(socket)), out_(std::make_shared<Outlet>(socket_.native_handle()))
    {
        server_.connections.insert(this);
    }
    ~HttpConnection() override
    {
        out_->Close();
        server_.connections.erase(this);
    }

    void Start()
    {
        error_code error;
        socket_.set_option(asio::ip::tcp::no_delay(true), error);
        const asio::ip::tcp::endpoint local = socket_.local_endpoint(error);
        if (error)
            return;
        own_names_ = OwnNames(HostName(local.address()), local.port());
        BeginRequest();
    }
    void End() override
    {
        if (!out_->is_answering())
            Close();
    }
    void Watch(std::chrono::steady_clock::time_point now) override
    {
        if (out_->is_answering() && !writing_)
            deadline_ = now + kIdle;  // that long once it is answered
        else if (now >= deadline_)
            Close();
    }
    void LetGo() override { held_.reset(); }

  private:
    using Parser = http::request_parser<LimitedBody>;

    /// A request that waits for its answer.
    struct Asked {
        bool intact;  ///< it was read whole, so that another one can follow
        bool keeps_alive;
        bool reads;  ///< GET or HEAD
        bool head;
    };

    /// What is under way has that long, give or take the interval of the watch.
    void Expect(std::chrono::seconds patience) { deadline_ = std::chrono::steady_clock::now() + patience; }

    void BeginRequest()
    {
        parser_.emplace();
        parser_->header_limit(kMaxHeaderBytes);
        // The limit is ours to watch: a body over it is read to its end all the same.
        parser_->body_limit(std::numeric_limits<std::uint64_t>::max());
        parser_->get().body().limit = server_.limits.body_bytes;
        in_header_ = true;
        Expect(kIdle);
        Parse();
    }
    void Read()
    {
        socket_.async_read_some(buffer_.prepare(kPiece),
                                [self = shared_from_this()](error_code error, std::size_t count) {
                                    if (error)
                                        return self->EndOfInput();
                                    self->buffer_.commit(count);
                                    self->Parse();
                                });
    }
    void Parse()
    {
        while (in_header_ ? !parser_->is_header_done() : !parser_->is_done()) {
            if (buffer_.size() == 0)
                return Read();
            error_code error;
            buffer_.consume(parser_->put(buffer_.data(), error));
            if (error == http::error::need_more) {
                // Not of a body: what is left is a header's line, or one of the lines between the chunks.
                if (buffer_.size() < kMaxHeaderBytes)
                    return Read();
                error = http::error::header_limit;
            }
            if (error)
                return RefuseBroken(error);
            if (parser_->get().body().size > kMaxDrainedBytes + server_.limits.body_bytes)
                return Refuse(TooLarge());
        }
        if (!in_header_)
            return Handle();
        if (!out_->Await())
            TakeHeader();
    }
    void EndOfInput()
    {
        ended_ = true;
        // A browser may have said all that it has to say, and still wait for the answer.
        if (out_->Await())
            held_ = shared_from_this();
    }
    void RefuseBroken(error_code error)
    {
        refusal_ = error == http::error::header_limit
                       ? ErrorResponse(431, "the request's header is too large")
                       : ErrorResponse(400, "the request is not HTTP: " + error.message());
        if (!out_->Await())
            Refuse(std::move(*refusal_));
        else
            held_ = shared_from_this();
    }
    void TakeHeader()
    {
        in_header_ = false;
        parser_->eager(true);
        const auto& request = parser_->get();
        if (beast::websocket::is_upgrade(request))
            return Upgrade();
        if (beast::iequals(request[http::field::expect], "100-continue")) {
            // Who asks first is told at once, and sends no body then.
            if (IsTooLarge())
                return Refuse(TooLarge());
            static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
            asio::async_write(socket_, asio::buffer(kContinue.data(), kContinue.size()),
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
        if (!parser_->is_done())
            Expect(kSlowBody);
        Parse();
    }
    bool IsTooLarge() const
    {
        const std::size_t limit = server_.limits.body_bytes;
        const boost::optional<std::uint64_t> length = parser_->content_length();
        return (length && *length > limit) || parser_->get().body().size > limit;
    }
    WebResponse TooLarge() const
    {
        return ErrorResponse(
            413, "the body is larger than " + std::to_string(server_.limits.body_bytes) + " bytes");
    }

    /// Why the request is none of ours, or nothing.
    std::optional<WebResponse> Foreign() const
    {
        const auto& request = parser_->get();
        if (request.count(http::field::host) != 1 || !own_names_.IsHost(View(request[http::field::host])))
            return ErrorResponse(403, "this server goes by the name of " + own_names_.first());
        if (request.count(http::field::origin) != 0 &&
            !own_names_.IsOrigin(View(request[http::field::origin])))
            return ErrorResponse(403, "pages from elsewhere can't reach the TV");
        return std::nullopt;
    }
    std::string Path() const
    {
        const std::string_view target = View(parser_->get().target());
        return std::string(target.substr(0, target.find_first_of("?#")));
    }
    std::string Query() const
    {
        const std::string_view target = View(parser_->get().target());
        const std::string_view before_fragment = target.substr(0, target.find('#'));
        const std::size_t mark = before_fragment.find('?');
        return std::string(mark == std::string_view::npos ? "" : before_fragment.substr(mark + 1));
    }

    void Upgrade()
    {
        if (std::optional<WebResponse> refusal = Foreign())
            return Refuse(std::move(*refusal));
        auto found = server_.handlers.listen({{}, Path(), Query(), {}});
        if (WebResponse* refusal = std::get_if<WebResponse>(&found))
            return Refuse(std::move(*refusal));
        out_->Close();
        const http::request<http::empty_body> request(std::move(parser_->get().base()));
        Listen(server_, std::move(socket_), request, std::get<Subscription>(std::move(found)));
    }
    void Handle()
    {
        const Asked asked = Ask(true);
        if (std::optional<WebResponse> refusal = Foreign())
            Respond(asked, std::move(*refusal));
        else if (IsTooLarge())
            Respond(asked, TooLarge());
        else
            Pass(asked);
        if (asked.keeps_alive)
            BeginRequest();
    }
    void Pass(const Asked& asked)
    {
        auto& message = parser_->get();
        WebRequest request{std::string(View(message.method_string())), Path(), Query(),
                           std::move(message.body().text)};
        static const WebResponse unanswered = ErrorResponse(500, "the request was given up");
        server_.handlers.request(
            std::move(request),
            {[&server = server_, weak = weak_from_this(), out = out_, asked](WebResponse response) {
                 Send(server, weak, *out, asked, std::move(response));
             },
             unanswered});
    }
    /// The server's thread alone answers what can't be passed on.
    void Refuse(WebResponse response) { Respond(Ask(false), std::move(response)); }
    void Respond(const Asked& asked, WebResponse response)
    {
        Send(server_, weak_from_this(), *out_, asked, std::move(response));
    }
    Asked Ask(bool intact)
    {
        const auto& request = parser_->get();
        const bool head = request.method() == http::verb::head;
        const Asked asked{intact, intact && request.keep_alive() && !server_.stopping,
                          head || request.method() == http::verb::get, head};
        out_->Begin(!asked.keeps_alive);
        if (!asked.keeps_alive)
            held_ = shared_from_this();
        return asked;
    }

    /// Sends what the socket takes at once, and leaves the rest to the server's thread. Any thread.
    static void Send(ServerState& server, const std::weak_ptr<HttpConnection>& connection, Outlet& out,
                     Asked asked, WebResponse response)
    {
        if (!response.file.empty()) {
            asio::post(server.io, [connection, asked, response = std::move(response)] {
                if (const std::shared_ptr<HttpConnection> self = connection.lock())
                    self->SendFile(asked, response);
            });
            return;
        }
        asked.keeps_alive = asked.keeps_alive && !server.stopping;
        std::string text = ResponseHead(response, response.body.size(), asked.reads, asked.keeps_alive);
        if (!asked.head)
            text += response.body;
        const Outlet::Sent sent = out.Send(text, !asked.keeps_alive);
        if (sent.done)
            return;
        asio::post(server.io, [connection, asked, sent = sent.bytes, text = std::move(text)]() mutable {
            if (const std::shared_ptr<HttpConnection> self = connection.lock())
                self->SendRest(asked, std::move(text), sent);
        });
    }
    void SendRest(const Asked& asked, std::string text, std::size_t sent)
    {
        if (sent == text.size())
            return GoOn(asked);
        text_ = std::move(text);
        writing_ = true;
        Expect(kSlowBody);
        asio::async_write(socket_, asio::buffer(text_) + sent,
                          [self = shared_from_this(), asked](error_code error, std::size_t) {
                              if (error)
                                  self->Close();
                              else
                                  self->GoOn(asked);
                          });
    }
    void SendFile(const Asked& asked, const WebResponse& response)
    {
        error_code error;
        file_.open(response.file.c_str(), beast::file_mode::scan, error);
        const std::uint64_t size = error ? 0 : file_.size(error);
        if (error)
            return Respond(asked, ErrorResponse(404, "the file can't be read"));
        text_ = ResponseHead(response, size, asked.reads, asked.keeps_alive);
        file_left_ = asked.head ? 0 : size;
        writing_ = true;
        Expect(kSlowFile);
        SendPiece(asked);
    }
    void SendPiece(const Asked& asked)
    {
        const std::size_t begin = text_.size();
        error_code error;
        if (file_left_ != 0) {
            text_.resize(begin + static_cast<std::size_t>(std::min<std::uint64_t>(file_left_, 4 * kPiece)));
            const std::size_t count = file_.read(text_.data() + begin, text_.size() - begin, error);
            // A file that became shorter meanwhile can only be broken off.
            if (error || count == 0)
                return Close();
            text_.resize(begin + count);
            file_left_ -= count;
        }
        asio::async_write(socket_, asio::buffer(text_),
                          [self = shared_from_this(), asked](error_code failed, std::size_t) {
                              if (failed)
                                  return self->Close();
                              self->text_.clear();
                              if (self->file_left_ != 0)
                                  return self->SendPiece(asked);
                              self->file_.close(failed);
                              self->GoOn(asked);
                          });
    }
    /// The answer is sent.
    void GoOn(const Asked& asked)
    {
        const std::shared_ptr<HttpConnection> held = std::exchange(held_, nullptr);
        writing_ = false;
        const bool awaited = out_->End();
        if (!asked.keeps_alive || ended_ || server_.stopping)
            return Close();
        Expect(kIdle);
        if (refusal_)
            Refuse(std::move(*refusal_));
        else if (awaited)
            TakeHeader();
    }
    void Close()
    {
        out_->Close();
        held_.reset();
        error_code error;
        socket_.shutdown(TcpSocket::shutdown_send, error);
        socket_.close(error);
    }

    ServerState& server_;
    TcpSocket socket_;
    const std::shared_ptr<Outlet> out_;
    OwnNames own_names_;
    beast::flat_buffer buffer_;
    std::optional<Parser> parser_;
    bool in_header_ = true;
    bool ended_ = false;                    ///< nothing more comes from the browser
    bool writing_ = false;                  ///< the server's thread sends an answer
    std::optional<WebResponse> refusal_;    ///< of what came while a request waited for its answer
    std::shared_ptr<HttpConnection> held_;  ///< itself, while nothing is pending but an answer
    std::string text_;                      ///< what is being sent
    beast::file_posix file_;
    std::uint64_t file_left_ = 0;
    std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
};

}  // namespace

void ServeConnection(ServerState& server, TcpSocket socket)
{
    std::make_shared<HttpConnection>(server, std::move(socket))->Start();
}

}  // namespace host
