// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/relay.h"

#include <exception>
#include <string_view>
#include <system_error>
#include <utility>

#include "services/web-runtime/json_var.h"
#include "tv/control.h"
#include "tvhost/json_text.h"
#include "tvhost/script_file.h"

namespace host {
namespace {

using namespace std::chrono_literals;

/// What a TV may say at once: no more than a recording of it may hold in a line.
constexpr std::size_t kLongestFrame = kMaxLineBytes;
constexpr int kDeepestFrame = kMaxLineDepth;
constexpr std::size_t kLongestKey = 64;
/// A TV that has been silent for so long, pings included, has gone: a page's message is answered within 5 s.
constexpr auto kSilence = 4s;
/// Why a WebSocket is closed, of the codes that are free for that.
constexpr std::uint16_t kTakenCode = 4001;
constexpr std::uint16_t kNotUnderstoodCode = 4002;
constexpr char kTvWent[] = "the TV went away before it answered";
constexpr char kEnding[] = "the TV host ends";

WebResponse Nothing()
{
    return ErrorResponse(404, "there is nothing");
}

/// There are a page, a script and a TV, which keeps its place; whoever else is idle gives way.
WebServer::Limits SmallLimits()
{
    WebServer::Limits limits;
    limits.connections = 16;
    return limits;
}

Channel::Text Frame(std::string text)
{
    return std::make_shared<const std::string>(std::move(text));
}

bool IsNumber(const Json::Value& value, long long number)
{
    return value.isInt64() && value.asInt64() == number;
}

/// A value as it is written of the plug-in's vars, whatever the TV's browser makes of it.
std::string VarText(const Json::Value& value)
{
    return tv::ToJsonText(tv::ToVar(value));
}

}  // namespace

Relay::Relay(const RelayAddress& address, const std::filesystem::path& web, Events events)
    : events_(std::move(events)),
      folder_(web / "relay"),
      secret_(MakeSecret()),
      server_(address.address, address.port, SmallLimits())
{
    for (const char* name : {"relay.html", "relay.js"}) {
        if (!std::filesystem::is_regular_file(folder_ / name))
            throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory),
                                    (folder_ / name).string());
    }
}

Relay::~Relay()
{
    Stop();
}

void Relay::Start()
{
    server_.Start({[this](const WebRequest& request, WebAnswer answer) { answer(Find(request)); },
                   [this](const WebRequest& request) { return Listen(request); }, true});
}

void Relay::Stop()
{
    GiveUp();
    server_.Stop();
    const tv::MutexLock lock(mutex_);
    tv_.reset();
}

const char* Relay::state() const
{
    const tv::MutexLock lock(mutex_);
    switch (state_) {
        case State::Waiting:
            return "waiting";
        case State::Ready:
            return "ready";
        case State::Missing:
            return "missing";
        case State::Gone:
            break;
    }
    return "gone";
}

bool Relay::is_open() const
{
    const tv::MutexLock lock(mutex_);
    return open_;
}

std::optional<std::string> Relay::BehindSecret(const std::string& path) const
{
    const std::size_t slash = path.find('/', 1);
    if (slash == std::string::npos || path.front() != '/' ||
        !IsSecret(std::string_view(path).substr(1, slash - 1), secret_))
        return std::nullopt;
    return path.substr(slash + 1);
}

WebResponse Relay::Find(const WebRequest& request) const
{
    const std::optional<std::string> name = BehindSecret(request.path);
    const bool is_page = name && name->empty();
    if ((!is_page && name != "relay.js") || (request.method != "GET" && request.method != "HEAD"))
        return Nothing();
    WebResponse response;
    response.type = is_page ? "text/html; charset=utf-8" : "text/javascript; charset=utf-8";
    response.file = folder_ / (is_page ? "relay.html" : "relay.js");
    return response;
}

std::variant<Subscription, WebResponse> Relay::Listen(const WebRequest& request)
{
    if (BehindSecret(request.path) != "tv")
        return Nothing();
    const tv::MutexLock lock(mutex_);
    if (tv_ && has_told_) {
        // It is let in to be told why it can't stay: its page would not see a refusal.
        std::shared_ptr<Channel> full = server_.MakeChannel(Channel::Unheard::Drop);
        full->Close("another TV is behind this desk already", kTakenCode);
        return Subscription{std::move(full), {}};
    }
    // One that has said nothing so far is none, and keeps no place.
    if (tv_)
        tv_->Close("another TV has come, and this one has said nothing", kTakenCode);
    const long long connection = ++connection_;
    has_told_ = false;
    opened_ = 0;
    tv_ = server_.MakeChannel(Channel::Unheard::Drop,
                              {[this, connection](std::size_t listeners) {
                                   if (listeners == 0)
                                       Leave(connection);
                               },
                               [this, connection](const std::string& text) { Hear(connection, text); }});
    return Subscription{tv_, {}, 0, kLongestFrame, kSilence};
}

void Relay::Leave(long long connection)
{
    std::optional<Asked> asked;
    bool was_open = false;
    {
        const tv::MutexLock lock(mutex_);
        if (connection != connection_ || !tv_)
            return;
        tv_.reset();
        if (state_ != State::Waiting)
            state_ = State::Gone;
        was_open = std::exchange(open_, false);
        asked.swap(asked_);
    }
    if (asked)
        asked->handled(std::make_exception_ptr(Refused(502, kTvWent)));
    if (was_open)
        events_.on_lost();
}

void Relay::Hear(long long connection, const std::string& text)
{
    std::string why;
    try {
        const Json::Value frame = ParseJson(text, kDeepestFrame);
        if (frame.isObject())
            return Understand(connection, frame);
        why = "not an object";
    } catch (const JsonError& error) {
        why = error.what();
    }
    {
        const tv::MutexLock lock(mutex_);
        if (connection == connection_ && tv_)
            tv_->Close("not understood: " + why, kNotUnderstoodCode);
    }
    Leave(connection);  // it may take its time to close
}

void Relay::Understand(long long connection, const Json::Value& frame)
{
    {
        const tv::MutexLock lock(mutex_);
        if (connection != connection_ || !tv_)
            return;
    }
    if (frame.isMember("plugin"))
        TakePlugin(frame["plugin"] == "ready");
    else if (frame.isMember("id"))
        TakeReply(frame);
    else if (frame.isMember("message"))
        TakeMessage(frame);
    else if (frame["key"].isString() && frame["key"].asString().size() <= kLongestKey)
        events_.on_key(frame["key"].asString());
}

void Relay::TakePlugin(bool is_ready)
{
    const tv::MutexLock lock(mutex_);
    has_told_ = true;
    state_ = is_ready ? State::Ready : State::Missing;
}

void Relay::TakeReply(const Json::Value& frame)
{
    std::optional<Asked> asked;
    {
        const tv::MutexLock lock(mutex_);
        if (asked_ && IsNumber(frame["id"], asked_->id))
            asked.swap(asked_);
    }
    if (!asked)
        return;
    std::exception_ptr failure;
    if (frame.isMember("reply"))
        Tell({LineOut::Kind::Reply, VarText(frame["reply"])});
    else
        failure = std::make_exception_ptr(Refused(
            502, "the TV could not ask its plug-in: " + (frame["error"].isString()
                                                             ? frame["error"].asString().substr(0, 200)
                                                             : "it does not say why")));
    asked->handled(failure);
}

void Relay::TakeMessage(const Json::Value& frame)
{
    {
        const tv::MutexLock lock(mutex_);
        // What an element said that has been replaced is no longer for the page that is open.
        if (!open_ || (frame.isMember("of") && !IsNumber(frame["of"], opened_)))
            return;
    }
    Tell({LineOut::Kind::Message, VarText(frame["message"])});
}

void Relay::GiveUp()
{
    std::optional<Asked> asked;
    {
        const tv::MutexLock lock(mutex_);
        ending_ = true;
        asked.swap(asked_);
    }
    if (asked)
        asked->handled(std::make_exception_ptr(Refused(503, kEnding)));
}

void Relay::Tell(LineOut line)
{
    const tv::MutexLock lock(output_mutex_);
    events_.output(std::move(line));
}

void Relay::CarryOut(const Json::Value& line)
{
    const Json::Value& verb = line["tv"];
    if (verb == "open") {
        Open();
    } else if (verb == "close") {
        Close();
    } else if (verb == "key") {
        try {
            tv::CarryOut(line);
        } catch (const tv::VerbError& error) {
            throw LineError(error.what());
        }
    } else {
        throw LineError("a real TV is behind the desk: only a stand-in can be told to do that");
    }
    Tell({LineOut::Kind::Did, WriteJson(OrderedObject{{"did", verb}})});
}

void Relay::CheckReady() const
{
    const tv::MutexLock lock(mutex_);
    RequireReady();
}

void Relay::RequireReady() const
{
    if (ending_)
        throw Refused(503, kEnding);
    if (state_ == State::Missing)
        throw Refused(503, "the TV's browser has no plug-in of the type application/x-zelumo");
    if (state_ != State::Ready)
        throw Refused(503, state_ == State::Gone
                               ? "the TV has gone; it may come back"
                               : "no TV is there yet: its browser has to open the relay's address");
}

void Relay::Open()
{
    const tv::MutexLock lock(mutex_);
    RequireReady();
    open_ = true;
    ++opened_;
    tv_->Send(Frame(R"({"page":"open"})"));
}

void Relay::Close()
{
    const tv::MutexLock lock(mutex_);
    if (std::exchange(open_, false))
        tv_->Send(Frame(R"({"page":"close"})"));
}

void Relay::Send(Message message, Handled handled)
{
    if (message.kind == tv::EmbeddedInstance::Kind::Blocking)
        return Ask(message.text, std::move(handled));
    {
        const tv::MutexLock lock(mutex_);
        SendToPage(R"({"post":)", message.text);
    }
    handled(nullptr);
}

void Relay::Ask(const std::string& message, Handled handled)
{
    const tv::MutexLock lock(mutex_);
    SendToPage(R"({"id":)" + std::to_string(++last_id_) + R"(,"await":)", message);
    asked_ = Asked{last_id_, std::move(handled)};
}

void Relay::SendToPage(std::string begin, const std::string& message)
{
    if (ending_)
        throw Refused(503, kEnding);
    if (!open_)
        throw Refused(502, "the TV has gone");
    tv_->Send(Frame(begin.append(message).append("}")));
}

Counterpart::Passed Relay::PassTime(std::chrono::milliseconds by, std::chrono::steady_clock::time_point)
{
    const tv::MutexLock lock(mutex_);
    passed_ms_ += by.count();
    return {by,
            WriteJson(OrderedObject{{"did", "advance"}, {"position", static_cast<Json::Int64>(passed_ms_)}})};
}

}  // namespace host
