#include "tvhost/web/channel.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>
#include <utility>

#include "tvhost/web/listener.h"

namespace host {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using boost::system::error_code;
using namespace std::chrono_literals;

namespace {

constexpr char kTooSlow[] = "too slow: what was to be sent has piled up";

}  // namespace

/// A WebSocket that gets a channel's texts. Keeps itself alive by its pending operations.
class Listener : public Connection, public std::enable_shared_from_this<Listener> {
  public:
    using Text = std::shared_ptr<const std::string>;

    Listener(ServerState& server, TcpSocket socket, std::shared_ptr<Channel> channel)
        : server_(server), socket_(std::move(socket)), channel_(std::move(channel)), grace_(server.io)
    {
        server_.connections.insert(this);
    }
    ~Listener() override { server_.connections.erase(this); }

    void Start(const beast::http::request<beast::http::empty_body>& request)
    {
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
    void Push(Text text)
    {
        if (closing_)
            return;
        queued_bytes_ += text->size();
        queue_.push_back(std::move(text));
        if (queued_bytes_ > server_.limits.queue_bytes || queue_.size() > server_.limits.queue_texts)
            Drop(kTooSlow);
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
        grace_.expires_after(server_.limits.close_grace);
        grace_.async_wait([self = shared_from_this()](error_code error) {
            if (!error)
                self->socket_.next_layer().close(error);
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
        const Text text = std::move(queue_.front());
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

    ServerState& server_;
    websocket::stream<TcpSocket> socket_;
    std::shared_ptr<Channel> channel_;  // null once it has left
    asio::steady_timer grace_;
    beast::flat_buffer buffer_;
    std::deque<Text> queue_;
    std::size_t queued_bytes_ = 0;
    std::optional<websocket::close_reason> closing_;
    bool accepted_ = false;
    bool writing_ = false;
    bool close_sent_ = false;
};

void Listen(ServerState& server, TcpSocket socket,
            const beast::http::request<beast::http::empty_body>& request,
            const std::shared_ptr<Channel>& channel)
{
    const auto listener = std::make_shared<Listener>(server, std::move(socket), channel);
    // Before it is accepted, so that it misses nothing that happens once the browser knows.
    if (channel->Join(*listener))
        listener->Start(request);
}

Channel::Channel(ServerState& server, Unheard unheard, OnListeners on_listeners)
    : server_(server), keeps_(unheard == Unheard::Keep), on_listeners_(std::move(on_listeners))
{}

void Channel::Send(std::string text)
{
    const tv::MutexLock lock(mutex_);
    if (closing_)
        return;
    if (inbox_bytes_ + text.size() > 4 * server_.limits.queue_bytes ||
        inbox_.size() >= 4 * server_.limits.queue_texts) {
        inbox_.clear();
        inbox_bytes_ = 0;
        overflown_ = true;
    } else {
        inbox_bytes_ += text.size();
        inbox_.push_back(std::make_shared<const std::string>(std::move(text)));
    }
    Schedule();
}

void Channel::Close(std::string reason)
{
    const tv::MutexLock lock(mutex_);
    if (closing_)
        return;
    closing_ = std::move(reason);
    Schedule();
}

void Channel::Schedule()
{
    if (!scheduled_)
        asio::post(server_.io, [self = shared_from_this()] { self->Deliver(); });
    scheduled_ = true;
}

bool Channel::Join(Listener& listener)
{
    if (closed_)
        return false;
    listeners_.push_back(&listener);
    if (on_listeners_)
        on_listeners_(listeners_.size());
    for (Text& text : std::exchange(kept_, {}))
        listener.Push(std::move(text));
    kept_bytes_ = 0;
    return true;
}

void Channel::Leave(const Listener& listener)
{
    listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), &listener), listeners_.end());
    if (on_listeners_)
        on_listeners_(listeners_.size());
}

void Channel::Keep(Text text)
{
    kept_bytes_ += text->size();
    kept_.push_back(std::move(text));
    while (kept_bytes_ > server_.limits.queue_bytes || kept_.size() > server_.limits.queue_texts) {
        kept_bytes_ -= kept_.front()->size();
        kept_.pop_front();
    }
}

void Channel::Deliver()
{
    std::vector<Text> texts;
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
            listener->Drop(kTooSlow);
    }
    for (const Text& text : texts) {
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

}  // namespace host
