// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/connection.h"

#include <netinet/tcp.h>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/verb.hpp>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include "tvhost/web/admission.h"
#include "tvhost/web/listener.h"
#include "tvhost/web/outlet.h"
#include "tvhost/web/own_names.h"
#include "tvhost/web/request_reader.h"
#include "tvhost/web/sent_file.h"

namespace host {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using namespace std::chrono_literals;

/// What is read, and of a file written, in one go.
constexpr std::size_t kPiece = std::size_t{16} * 1024;
/// What the system keeps of a file on its way.
constexpr int kFileBuffer = 256 * 1024;
constexpr auto kIdle = 75s;
constexpr auto kSlowBody = 30s;
constexpr auto kSlowFile = 600s;
constexpr auto kLastWords = 2s;

using KeepAliveAfter = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_KEEPIDLE>;

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
        Expect(server_.limits.head);
    }
    void End() override
    {
        if (!out_->is_answering())
            Close();
    }
    void Watch(std::chrono::steady_clock::time_point now) override
    {
        if (out_->is_answering() && !writing_)
            deadline_ = now + (reader_.has_rest() ? server_.limits.head : kIdle);  // once it is answered
        else if (now < deadline_)
            return;
        else if (reader_.in_header() && reader_.has_rest() && !leaving_ && !writing_)
            Refuse(ErrorResponse(408, "the request's header took too long"));
        else
            Close();
    }
    void LetGo() override { held_.reset(); }
    std::optional<Spare> spare() const override
    {
        if (!socket_.is_open())
            return std::nullopt;
        // Whether somebody is still there can't be told where nothing is read any more.
        const bool is_watched = !ended_ && !reader_.has_header();
        if (!out_->is_answering() || writing_ || !is_watched)
            return Spare{false, moved_};
        return is_of_page_ ? std::nullopt : std::optional(Spare{true, moved_});
    }
    void GiveWay() override { Close(); }

  private:
    /// A request that waits for its answer.
    struct Asked {
        bool intact;  ///< it was read whole, so that another one can follow
        bool head;
        Audience audience;
    };

    /// What is under way has that long, give or take the interval of the watch.
    void Expect(std::chrono::milliseconds patience)
    {
        moved_ = std::chrono::steady_clock::now();
        deadline_ = moved_ + patience;
    }

    void BeginRequest()
    {
        reader_.BeginRequest();
        Expect(reader_.has_rest() ? server_.limits.head : kIdle);
        Parse();
    }
    void Read()
    {
        if (reader_.in_header() && reader_.has_rest() && !std::exchange(in_part_, true))
            Expect(server_.limits.head);
        reading_ = true;
        socket_.async_read_some(reader_.buffer().prepare(kPiece),
                                [self = shared_from_this()](error_code error, std::size_t count) {
                                    self->reading_ = false;
                                    if (error)
                                        return self->EndOfInput();
                                    if (self->leaving_)
                                        return self->Drain(count);
                                    self->reader_.buffer().commit(count);
                                    self->Parse();
                                });
    }
    void Parse()
    {
        switch (reader_.Read()) {
            case RequestReader::Step::NeedsMore:
                return Read();
            case RequestReader::Step::HasHeader:
                return out_->Await() ? Hold() : TakeHeader();
            case RequestReader::Step::IsWhole:
                return Handle();
            case RequestReader::Step::IsRefused:
                return out_->Await() ? Hold() : Refuse(*std::exchange(reader_.refusal(), std::nullopt));
        }
    }
    /// Nothing else keeps it while it doesn't read.
    void Hold() { held_ = shared_from_this(); }
    void EndOfInput()
    {
        ended_ = true;
        // A browser may have said all that it has to say, and still wait for the answer.
        if (!out_->Await())
            return;
        Hold();
        // Or it has gone altogether, and the system will find out.
        error_code error;
        socket_.set_option(asio::socket_base::keep_alive(true), error);
        socket_.set_option(KeepAliveAfter(20), error);
        socket_.async_wait(TcpSocket::wait_error, [self = shared_from_this()](error_code failed) {
            if (!failed)
                self->Close();
        });
    }
    void TakeHeader()
    {
        in_part_ = false;
        if (!reader_.TakeHeader(own_names_))
            return Refuse(*std::exchange(reader_.refusal(), std::nullopt));
        if (reader_.is_upgrade())
            return Upgrade();
        if (reader_.waits_to_go_on()) {
            // Who asks first is told at once, and sends no body then. Where there is nothing to be seen
            // nobody wants one.
            if (server_.handlers.hides)
                return Refuse(ErrorResponse(417, "no body is wanted"));
            if (!reader_.visitor().is_welcome())
                return Refuse(Unwelcome(reader_.visitor(), own_names_));
            if (std::optional<WebResponse> refusal = reader_.TooLarge())
                return Refuse(std::move(*refusal));
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
        if (!reader_.is_whole())
            Expect(kSlowBody);
        Parse();
    }
    void Upgrade()
    {
        if (!reader_.visitor().is_welcome())
            return Refuse(Unwelcome(reader_.visitor(), own_names_));
        auto found = server_.handlers.listen(reader_.Take());
        if (WebResponse* refusal = std::get_if<WebResponse>(&found))
            return Refuse(std::move(*refusal));
        auto subscription = std::get<Subscription>(std::move(found));
        if (subscription.channel->is_closed())
            return Refuse(ErrorResponse(410, "what was to be listened to has ended"));
        out_->Close();
        Listen(server_, std::move(socket_), reader_.TakeUpgrade(), std::move(subscription));
    }
    void Handle()
    {
        const Asked asked = Ask(true);
        const Visitor& visitor = reader_.visitor();
        if (!visitor.is_welcome())
            Refuse(asked, Unwelcome(visitor, own_names_));
        else if (std::optional<WebResponse> refusal = reader_.TooLarge())
            Refuse(asked, std::move(*refusal));
        else if (visitor.origin != nullptr && reader_.method() == http::verb::options)
            Respond(asked, Preflight(reader_.notes()));
        else
            Pass(asked);
        if (asked.audience.keeps_alive)
            BeginRequest();
    }
    void Pass(const Asked& asked)
    {
        is_of_page_ = reader_.is_of_page();
        static const WebResponse unanswered = ErrorResponse(500, "the request was given up");
        server_.handlers.request(reader_.Take(), {[&server = server_, weak = weak_from_this(), out = out_,
                                                   asked](WebResponse response) {
                                                      Send(server, weak, *out, asked, std::move(response));
                                                  },
                                                  unanswered});
    }
    /// The server's thread alone answers what can't be passed on.
    void Refuse(WebResponse response) { Refuse(Ask(false), std::move(response)); }
    void Refuse(const Asked& asked, WebResponse response)
    {
        Respond(asked, server_.handlers.hides ? ErrorResponse(404, "there is nothing") : std::move(response));
    }
    void Respond(const Asked& asked, WebResponse response)
    {
        Send(server_, weak_from_this(), *out_, asked, std::move(response));
    }
    Asked Ask(bool intact)
    {
        const bool keeps_alive = intact && reader_.keeps_alive() && !server_.stopping;
        const Asked asked{
            intact,
            reader_.method() == http::verb::head,
            {reader_.reads(), keeps_alive, !server_.allow_origins.empty(), reader_.visitor().origin}};
        is_of_page_ = false;
        out_->Begin(!keeps_alive);
        if (!keeps_alive)
            Hold();
        return asked;
    }

    /// Sends what the socket takes at once, and leaves the rest to the server's thread. Any thread.
    static void Send(ServerState& server, const std::weak_ptr<HttpConnection>& connection, Outlet& out,
                     Asked asked, WebResponse response)
    {
        if (!response.file.empty()) {
            asio::post(server.io, [connection, asked, response = std::move(response)]() mutable {
                if (const std::shared_ptr<HttpConnection> self = connection.lock())
                    self->SendFile(asked, std::move(response));
            });
            return;
        }
        asked.audience.keeps_alive = asked.audience.keeps_alive && !server.stopping;
        std::string text = ResponseHead(response, response.body.size(), asked.audience);
        if (!asked.head)
            text += response.body;
        const Outlet::Sent sent = out.Send(text, !asked.audience.keeps_alive);
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
                              error ? self->Close() : self->GoOn(asked);
                          });
    }
    void SendFile(const Asked& asked, WebResponse response)
    {
        int failure = file_.Open(response);
        while (failure == EMFILE && server_.MakeRoom(this))
            failure = file_.Open(response);
        if (failure == EMFILE || failure == ENFILE)
            return Respond(asked, ErrorResponse(503, "too many files are open; try again"));
        if (failure != 0)
            return Respond(asked, ErrorResponse(404, "the file can't be read"));
        if (response.file.empty())
            return Respond(asked, std::move(response));
        text_ = ResponseHead(response, file_.left(), asked.audience);
        if (asked.head)
            file_.Close();
        // Else the system would keep megabytes for everybody who doesn't read on.
        error_code error;
        socket_.set_option(asio::socket_base::send_buffer_size(kFileBuffer), error);
        writing_ = true;
        SendPiece(asked);
    }
    void SendPiece(const Asked& asked)
    {
        Expect(kSlowFile);
        // A file that became shorter meanwhile can only be broken off.
        if (file_.left() != 0 && !file_.Read(text_, 4 * kPiece))
            return Close();
        asio::async_write(socket_, asio::buffer(text_),
                          [self = shared_from_this(), asked](error_code failed, std::size_t) {
                              if (failed)
                                  return self->Close();
                              self->text_.clear();
                              if (self->file_.left() != 0)
                                  return self->SendPiece(asked);
                              self->file_.Close();
                              self->GoOn(asked);
                          });
    }
    /// The answer is sent.
    void GoOn(const Asked& asked)
    {
        const std::shared_ptr<HttpConnection> held = std::exchange(held_, nullptr);
        writing_ = false;
        const bool awaited = out_->End();
        if (!asked.intact && !ended_ && !server_.stopping)
            return Leave();
        if (!asked.audience.keeps_alive || ended_ || server_.stopping)
            return Close();
        Expect(reader_.has_rest() ? server_.limits.head : kIdle);
        if (reader_.refusal())
            Refuse(*std::exchange(reader_.refusal(), std::nullopt));
        else if (awaited)
            TakeHeader();
    }
    /// Reads on for a while before it closes: a browser that is still sending would not read the answer.
    void Leave()
    {
        out_->Close();
        error_code error;
        socket_.shutdown(TcpSocket::shutdown_send, error);
        leaving_ = true;
        reader_.Drop();
        Expect(kLastWords);
        if (!reading_)
            Read();
    }
    void Drain(std::size_t count)
    {
        drained_ += count;
        if (drained_ > kMaxDrainedBytes)
            Close();
        else
            Read();
    }
    void Close()
    {
        out_->Close();
        file_.Close();
        held_.reset();
        error_code error;
        socket_.shutdown(TcpSocket::shutdown_send, error);
        socket_.close(error);
    }

    ServerState& server_;
    TcpSocket socket_;
    const std::shared_ptr<Outlet> out_;
    OwnNames own_names_;
    RequestReader reader_{server_};
    bool in_part_ = false;     ///< a part of a header has come
    bool is_of_page_ = false;  ///< the request that waits is the open page's
    bool reading_ = false;
    bool leaving_ = false;                  ///< what comes is thrown away
    bool ended_ = false;                    ///< nothing more comes from the browser
    bool writing_ = false;                  ///< the server's thread sends an answer
    std::shared_ptr<HttpConnection> held_;  ///< itself, while nothing is pending but an answer
    std::string text_;                      ///< what is being sent
    SentFile file_;
    std::size_t drained_ = 0;
    std::chrono::steady_clock::time_point moved_;  ///< when the last thing happened to it
    std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
};

}  // namespace

void ServeConnection(ServerState& server, TcpSocket socket)
{
    std::make_shared<HttpConnection>(server, std::move(socket))->Start();
}

}  // namespace host
