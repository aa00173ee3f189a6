// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/channel.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
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
    using Text = Channel::Text;

    Listener(ServerState& server, TcpSocket socket, std::shared_ptr<Channel> channel)
        : server_(server), socket_(std::move(socket)), channel_(std::move(channel)), grace_(server.io)
    {
        server_.connections.insert(this);
    }
    ~Listener() override { server_.connections.erase(this); }

    void Start(const beast::http::request<beast::http::empty_body>& request, std::size_t longest,
               std::chrono::milliseconds silence)
    {
        socket_.set_option(websocket::stream_base::timeout{30s, silence, true});
        socket_.read_message_max(longest);
        socket_.text(true);
        socket_.async_accept(request, [self = shared_from_this()](error_code error) {
            if (error)
                return self->Leave();
            self->accepted_ = true;
            self->Read();
            self->Write();
        });
    }
    /// Texts that were there before take no part in its limits.
    void Begin(std::vector<Text> first)
    {
        for (Text& text : first) {
            max_bytes_ += text->size();
            ++max_texts_;
            Push(std::move(text));
        }
    }
    void Push(Text text)
    {
        if (closing_)
            return;
        queued_bytes_ += text->size();
        queue_.push_back(std::move(text));
        if (queued_bytes_ > max_bytes_ || queue_.size() > max_texts_)
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
            std::string text = beast::buffers_to_string(self->buffer_.data());
            self->buffer_.clear();
            if (self->channel_)
                self->channel_->Hear(std::move(text));
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
    std::size_t max_bytes_ = server_.limits.queue_bytes;
    std::size_t max_texts_ = server_.limits.queue_texts;
    std::optional<websocket::close_reason> closing_;
    bool accepted_ = false;
    bool writing_ = false;
    bool close_sent_ = false;
};

void Listen(ServerState& server, TcpSocket socket,
            const beast::http::request<beast::http::empty_body>& request, Subscription subscription)
{
    const auto listener = std::make_shared<Listener>(server, std::move(socket), subscription.channel);
    // Before it is accepted, so that it misses nothing that happens once the browser knows.
    if (subscription.channel->Join(*listener, std::move(subscription.first), subscription.from))
        listener->Start(request, subscription.longest, subscription.silence);
}

Channel::Channel(ServerState& server, Unheard unheard, Events events)
    : server_(server), keeps_(unheard == Unheard::Keep), events_(std::move(events))
{}

void Channel::Send(Text text, unsigned long long number)
{
    const tv::MutexLock lock(mutex_);
    if (closing_)
        return;
    if (inbox_bytes_ + text->size() > 4 * server_.limits.queue_bytes ||
        inbox_.size() >= 4 * server_.limits.queue_texts) {
        inbox_.clear();
        inbox_bytes_ = 0;
        overflown_ = true;
    } else {
        inbox_bytes_ += text->size();
        inbox_.push_back({std::move(text), number});
    }
    Schedule();
}

void Channel::Close(std::string reason, std::uint16_t code)
{
    const tv::MutexLock lock(mutex_);
    if (closing_)
        return;
    closing_ = Closing{std::move(reason), code};
    Schedule();
}

void Channel::Schedule()
{
    if (!scheduled_)
        asio::post(server_.io, [self = shared_from_this()] { self->Deliver(); });
    scheduled_ = true;
}

bool Channel::Join(Listener& listener, std::vector<Text> first, unsigned long long from)
{
    if (closed_)
        return false;
    listeners_.push_back({&listener, from});
    if (events_.listeners)
        events_.listeners(listeners_.size());
    listener.Begin(std::move(first));
    for (Text& text : std::exchange(kept_, {}))
        listener.Push(std::move(text));
    kept_bytes_ = 0;
    return true;
}

void Channel::Leave(const Listener& listener)
{
    const auto is_it = [&](const Joined& joined) { return joined.listener == &listener; };
    listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(), is_it), listeners_.end());
    if (events_.listeners)
        events_.listeners(listeners_.size());
}

void Channel::Hear(std::string text) const
{
    if (events_.text && !closed_)
        events_.text(std::move(text));
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
    std::vector<Numbered> texts;
    std::optional<Closing> closing;
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
    const std::vector<Joined> listeners = listeners_;
    if (overflown) {
        for (const Joined& joined : listeners)
            joined.listener->Drop(kTooSlow);
    }
    for (const Numbered& sent : texts) {
        for (const Joined& joined : listeners) {
            if (sent.number >= joined.from)
                joined.listener->Push(sent.text);
        }
        if (listeners.empty() && keeps_)
            Keep(sent.text);
    }
    if (closing && !closed_) {
        closed_ = true;
        kept_.clear();
        for (const Joined& joined : listeners)
            joined.listener->Finish(static_cast<websocket::close_code>(closing->code), closing->reason);
    }
}

}  // namespace host
