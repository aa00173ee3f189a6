// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/routes.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "core/calls.h"
#include "core/nearest.h"
#include "services/web-runtime/json_var.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tvhost/json_text.h"

namespace host {

/// A row of the table. In a pattern N stands for a page's number, and FILE for the path of a file that there
/// is. A HEAD is answered wherever a GET is, WebSockets aside.
struct Routes::Route {
    const char* methods = nullptr;  ///< as the header Allow has them
    const char* pattern = nullptr;
    void (Routes::*answer)(Asked&) = nullptr;
    Subscription (Routes::*listen)(Asked&) = nullptr;  ///< where a WebSocket may listen

    bool Allows(std::string_view method) const
    {
        const std::string_view first =
            std::string_view(methods).substr(0, std::string_view(methods).find(','));
        return method == first || (method == "HEAD" && first == "GET" && listen == nullptr);
    }
};

// clang-format off
const Routes::Route Routes::kRoutes[] = {
    {"POST",      "/page/open",       &Routes::OpenPage},
    {"POST",      "/page/N/await",    &Routes::Await},
    {"POST",      "/page/N/post",     &Routes::Post},
    {"POST",      "/page/N/close",    &Routes::ClosePage},
    {"GET",       "/page/N/messages", &Routes::MessagesAreASocket, &Routes::Messages},
    {"GET",       "/page/N/runtime",  &Routes::RuntimeIsASocket,   &Routes::Runtime},
    {"POST",      "/tv",              &Routes::DoVerb},
    {"GET",       "/tv/state",        &Routes::State},
    {"GET",       "/tv/relay",        &Routes::RelayAddress},
    {"GET",       "/journal",         &Routes::Journal,            &Routes::HearJournal},
    {"GET, HEAD", "FILE",             &Routes::File},
};
// clang-format on

namespace {

constexpr char kClosed[] = "the page was closed";

/// Whether the verb is one that is carried out in its turn, and not refused.
bool CanBeRead(const Json::Value& verb)
{
    try {
        tv::ReadVerb(verb);
        return true;
    } catch (const tv::VerbError&) {
        return false;
    }
}

/// The next name of the path, which is taken from it.
std::string_view TakeName(std::string_view& path)
{
    const std::size_t begin = path.empty() ? 0 : 1;
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string_view name = path.substr(begin, end - begin);
    path.remove_prefix(end);
    return name;
}

bool IsNumber(std::string_view name)
{
    return !name.empty() && name.size() <= 18 && name.find_first_not_of("0123456789") == std::string::npos;
}

/// The N of `since=N`; nothing where the query doesn't have it.
std::optional<unsigned long long> Since(std::string_view query)
{
    constexpr std::string_view kName = "since=";
    for (std::size_t begin = 0; begin < query.size();) {
        const std::size_t end = std::min(query.find('&', begin), query.size());
        const std::string_view part = query.substr(begin, end - begin);
        begin = end + 1;
        if (part.substr(0, kName.size()) != kName)
            continue;
        const std::string_view number = part.substr(kName.size());
        if (!IsNumber(number))
            throw Refused(400, "since must be the number of a line");
        return std::stoull(std::string(number));
    }
    return std::nullopt;
}

}  // namespace

Routes::Routes(const WebFiles& files, Turns& turns, Pages& pages, Lines& lines, WebJournal& journal,
               const Relay* relay)
    : files_(files), turns_(turns), pages_(pages), lines_(lines), journal_(journal), relay_(relay)
{}

bool Routes::Fits(const Route& route, Asked& asked) const
{
    std::string_view path = asked.request.path;
    if (route.pattern == std::string_view("FILE")) {
        const bool reads = asked.request.method == "GET" || asked.request.method == "HEAD";
        asked.file = files_.Find(path, reads && asked.request.accept.find("text/html") != std::string::npos);
        return asked.file.has_value();
    }
    if (path.substr(0, 1) != "/")
        return false;
    for (std::string_view pattern = route.pattern; !pattern.empty();) {
        const std::string_view expected = TakeName(pattern);
        const std::string_view name = TakeName(path);
        if (expected == "N" ? !IsNumber(name) : name != expected)
            return false;
        if (expected == "N")
            asked.page = std::stoll(std::string(name));
    }
    return path.empty();
}

void Routes::Find(Asked& asked)
{
    std::string allowed;
    for (const Route& route : kRoutes) {
        if (!Fits(route, asked))
            continue;
        if (route.Allows(asked.request.method))
            return (this->*route.answer)(asked);
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.methods);
        if (asked.file)
            break;
    }
    if (allowed.empty())
        throw Refused(404, "there is nothing at " + tv::Shortened(asked.request.path));
    WebResponse response = ErrorResponse(405, "only " + allowed);
    response.allow = allowed;
    asked.answer(std::move(response));
}

void Routes::Answer(WebRequest request, WebAnswer answer)
{
    Answering(answer, [&] {
        Asked asked{request, answer};
        Find(asked);
    });
}

std::variant<Subscription, WebResponse> Routes::Listen(WebRequest request)
{
    WebResponse refusal;
    WebAnswer answer([&refusal](WebResponse response) { refusal = std::move(response); }, {});
    Subscription subscription;
    Answering(answer, [&] {
        Asked asked{request, answer};
        for (const Route& route : kRoutes) {
            if (route.listen != nullptr && Fits(route, asked)) {
                subscription = (this->*route.listen)(asked);
                return;
            }
        }
        throw Refused(404, "there is no WebSocket at " + tv::Shortened(request.path));
    });
    if (subscription.channel)
        return subscription;
    return refusal;
}

void Routes::OpenPage(Asked& asked)
{
    // At once: pages ask for it again and again until a TV is there.
    if (relay_ != nullptr)
        relay_->CheckReady();
    turns_.Take(
        [this](WebAnswer& answer, Turns::Turn turn) {
            turns_.OnPluginThread(
                [this](WebAnswer& opened) {
                    WebResponse response;
                    response.body =
                        WriteJson(OrderedObject{{"page", static_cast<Json::Int64>(pages_.Open())}});
                    opened(std::move(response));
                },
                std::move(answer), std::move(turn));
        },
        asked.answer);
}

void Routes::ClosePage(Asked& asked)
{
    pages_.ChannelsOf(asked.page);
    turns_.Take(
        [this, page = asked.page](WebAnswer& answer, Turns::Turn turn) {
            pages_.ChannelsOf(page);
            turns_.OnPluginThread(
                [this](WebAnswer& closed) {
                    pages_.Close(kClosed);
                    WebResponse response;
                    response.status = 204;
                    closed(std::move(response));
                },
                std::move(answer), std::move(turn));
        },
        asked.answer);
}

void Routes::Await(Asked& asked)
{
    Send(tv::EmbeddedInstance::Kind::Blocking, asked, asked.answer);
}

void Routes::Post(Asked& asked)
{
    // What becomes of a post in its turn is not waited for.
    WebAnswer nobody;
    Send(tv::EmbeddedInstance::Kind::NonBlocking, asked, nobody);
    WebResponse response;
    response.status = 202;
    asked.answer(std::move(response));
}

void Routes::Send(tv::EmbeddedInstance::Kind kind, Asked& asked, WebAnswer& answer)
{
    pages_.ChannelsOf(asked.page);
    const Json::Value json = ParseRequest(asked.request.body, kMaxMessageDepth);
    Lines::Message message{kind, std::nullopt, std::move(asked.request.body)};
    // What has to wait stays text, since its values take many times as much.
    if (turns_.is_free())
        message.value = tv::ToVar(json);
    const std::size_t bytes = message.text.size();
    turns_.Take(
        [this, page = asked.page, message = std::move(message)](WebAnswer& replied,
                                                                Turns::Turn turn) mutable {
            pages_.ChannelsOf(page);
            lines_.Send(std::move(message), replied, std::move(turn));
        },
        answer, bytes);
}

void Routes::DoVerb(Asked& asked)
{
    const std::string& body = asked.request.body;
    Json::Value line = ParseRequest(body, kMaxMessageDepth + 1);
    if (!line.isObject() || !line["tv"].isString())
        throw Refused(400, "expected {\"tv\": VERB, …}");
    const std::string verb = line["tv"].asString();
    if (verb == "open" || verb == "close")
        throw Refused(400, "pages come and go by /page/open and /page/N/close");
    // A call that takes its time is cut short at once. What is restored after the lines before this one is
    // the same as ever, so that a recording comes out the same.
    std::shared_ptr<tv::Calls::NoDelay> no_delay;
    if (verb == "restore" && CanBeRead(line))
        no_delay = std::make_shared<tv::Calls::NoDelay>(
            tv::TheCalls(), line.isMember("call") ? tv::TheCalls().Find(line["call"].asString()) : nullptr);
    lines_.TakeVerb(std::move(line), body, asked.answer, std::move(no_delay));
}

void Routes::State(Asked& asked)
{
    // What a real TV does the desk can't see.
    Json::Value state;
    if (relay_ == nullptr)
        state = tv::StateJson();
    else
        state["relay"] = relay_->state();
    state["page"] = pages_.CurrentJson();
    WebResponse response;
    response.body = WriteJson(state);
    asked.answer(std::move(response));
}

void Routes::RelayAddress(Asked& asked)
{
    if (relay_ == nullptr)
        throw Refused(404, "no real TV is behind this desk; serve --relay lets one in");
    // Its secret is the desk's own.
    if (asked.request.is_of_guest)
        throw Refused(403, "only the desk's own pages may know where the TV comes in");
    WebResponse response;
    response.body = WriteJson(OrderedObject{{"address", relay_->url()}, {"relay", relay_->state()}});
    asked.answer(std::move(response));
}

void Routes::MessagesAreASocket(Asked&)
{
    throw Refused(400, "a page's messages are a WebSocket");
}

Subscription Routes::Messages(Asked& asked)
{
    return {pages_.ChannelsOf(asked.page).messages, {}};
}

void Routes::RuntimeIsASocket(Asked&)
{
    throw Refused(400, "a page's runtime is a WebSocket");
}

Subscription Routes::Runtime(Asked& asked)
{
    return {pages_.ChannelsOf(asked.page).runtime, {}};
}

void Routes::Journal(Asked& asked)
{
    WebResponse response;
    response.body = journal_.Since(Since(asked.request.query).value_or(1));
    asked.answer(std::move(response));
}

Subscription Routes::HearJournal(Asked& asked)
{
    return journal_.Subscribe(Since(asked.request.query).value_or(0));
}

void Routes::File(Asked& asked)
{
    WebResponse response;
    response.type = asked.file->type;
    if (!asked.file->redirect.empty()) {
        response.status = 301;
        response.location = asked.file->redirect;
    } else {
        response.file = asked.file->file;
        if (asked.request.method == "GET") {
            response.range = asked.request.range;
            response.if_range = asked.request.if_range;
        }
    }
    asked.answer(std::move(response));
}

}  // namespace host
