#include "tvhost/web_host.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "tv/tv.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 100ms;
/// What may wait for its turn, in bytes of the bodies.
constexpr std::size_t kMaxWaitingBytes = std::size_t{64} * 1024 * 1024;
constexpr char kReplaced[] = "another page has the TV now";
constexpr char kClosed[] = "the page was closed";
constexpr char kEnding[] = "the TV host ends";

/// A request that can't be granted.
class Refused : public std::runtime_error {
  public:
    Refused(int status, const std::string& why) : std::runtime_error(why), status_(status) {}
    int status() const { return status_; }

  private:
    const int status_;
};

WebResponse WrongMethod(const char* allowed)
{
    WebResponse response = ErrorResponse(405, std::string("only ") + allowed);
    response.allow = allowed;
    return response;
}

void Require(const WebRequest& request, const char* method)
{
    if (request.method != method)
        throw Refused(405, method);
}

Json::Value ParseBody(const std::string& body, int max_depth)
{
    try {
        return ParseJson(body, max_depth);
    } catch (const JsonError& error) {
        throw Refused(400, error.what());
    }
}

/// The JSON text as a line can hold it.
std::string InLine(std::string text, const Json::Value& json)
{
    const bool is_line =
        std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    return is_line ? std::move(text) : WriteJson(json);
}

std::string Around(const std::string& name, const std::string& value)
{
    return "{\"" + name + "\":" + value + '}';
}

/// What comes after `prefix`, or nothing when the text begins otherwise.
std::optional<std::string_view> After(std::string_view text, std::string_view prefix)
{
    if (text.substr(0, prefix.size()) != prefix)
        return std::nullopt;
    return text.substr(prefix.size());
}

/// Runs what answers a request; what it throws becomes the answer, which it has left then.
template <typename Action>
void Answering(WebServer::Answer& answer, Action action)
{
    try {
        action();
    } catch (const Refused& refused) {
        answer(refused.status() == 405 ? WrongMethod(refused.what())
                                       : ErrorResponse(refused.status(), refused.what()));
    } catch (const LineError& error) {
        answer(ErrorResponse(400, error.what()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelumo-tv: a request failed: %s\n", error.what());
        answer(ErrorResponse(500, error.what()));
    }
}

long long SinceEpoch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

WebHost::WebHost(const ServeOptions& options)
    : options_(options),
      files_(options.web, options.app),
      recorder_(options.record.empty() ? nullptr : std::make_unique<Recorder>(options.record)),
      server_(options.address, options.port, options.limits),
      journal_(server_.MakeChannel(WebServer::Unheard::Drop,
                                   [this](std::size_t listeners) { HearJournal(listeners != 0); })),
      // A page of an earlier run is never taken for one of this run.
      first_page_(SinceEpoch()),
      last_page_(first_page_ - 1)
{}

WebHost::~WebHost() = default;

void WebHost::StopOnInterrupt()
{
    server_.OnInterrupt([this] { Stop(); });
}

void WebHost::Stop()
{
    {
        const tv::MutexLock lock(mutex_);
        stopping_ = true;
        if (!no_delay_)
            no_delay_ = std::make_unique<tv::Calls::NoDelay>(tv::TheCalls(), nullptr);
    }
    changed_.NotifyOne();
}

void WebHost::Run(const std::function<void()>& ready)
{
    Session session(options_.plugin, [this](const OrderedObject& line) { OnLineOut(line); }, {});
    session_ = &session;
    {
        const tv::MutexLock lock(mutex_);
        hearing_ = &session;
    }
    BeginRecording();
    started_ = Clock::now();
    server_.Start({[this](const WebRequest& request, Answer answer) {
                       Answering(answer, [&] { OnRequest(request, answer); });
                   },
                   [this](const std::string& path) { return OnListen(path); }});
    ready();
    ServeTurns();

    if (session.is_open())
        ClosePage(kEnding);
    if (recorder_)
        recorder_->Flush();
    std::deque<Turn> left;
    {
        const tv::MutexLock lock(mutex_);
        hearing_ = nullptr;
        left.swap(turns_);
    }
    session_ = nullptr;
    for (Turn& turn : left)
        turn.answer(ErrorResponse(503, kEnding));
    left.clear();
    server_.Stop();
    const tv::MutexLock lock(mutex_);
    no_delay_.reset();
}

// The server's thread.

void WebHost::OnRequest(const WebRequest& request, Answer& answer)
{
    if (const auto page = After(request.path, "/page/")) {
        OnPageRequest(request, std::string(*page), answer);
    } else if (request.path == "/tv") {
        Require(request, "POST");
        OnVerb(request.body, answer);
    } else if (request.path == "/tv/state") {
        if (request.method != "HEAD")
            Require(request, "GET");
        answer(StateResponse());
    } else if (request.path == "/journal") {
        Require(request, "GET");
        throw Refused(400, "the journal is a WebSocket");
    } else {
        answer(FileResponse(request));
    }
}

void WebHost::OnPageRequest(const WebRequest& request, const std::string& path, Answer& answer)
{
    if (path == "open") {
        Require(request, "POST");
        TakeTurn(
            [this](Answer& opened) {
                WebResponse response;
                response.body = WriteJson(OrderedObject{{"page", static_cast<Json::Int64>(OpenPage())}});
                opened(std::move(response));
            },
            answer);
        return;
    }
    const std::size_t slash = path.find('/');
    const std::string number = path.substr(0, slash);
    const std::string what = slash == std::string::npos ? "" : path.substr(slash + 1);
    if (number.empty() || number.size() > 18 || number.find_first_not_of("0123456789") != std::string::npos ||
        (what != "await" && what != "post" && what != "close" && what != "messages"))
        throw Refused(404, "there is nothing at /page/" + path);
    const long long page = std::stoll(number);
    if (what == "messages") {
        Require(request, "GET");
        throw Refused(400, "a page's messages are a WebSocket");
    }
    Require(request, "POST");
    MessagesOf(page);
    if (what == "close")
        TakeTurn(
            [this, page](Answer& closed) {
                MessagesOf(page);
                ClosePage(kClosed);
                WebResponse response;
                response.status = 204;
                closed(std::move(response));
            },
            answer);
    else
        OnMessage(page, what == "await", request.body, answer);
}

void WebHost::OnMessage(long long page, bool blocking, const std::string& body, Answer& answer)
{
    const char* const kind = blocking ? "await" : "post";
    Line line;
    Json::Value message = ParseBody(body, kMaxMessageDepth);
    line.text = Around(kind, InLine(body, message));
    line.json[kind] = std::move(message);
    // What becomes of a post in its turn is not waited for.
    Answer nobody;
    TakeTurn(
        [this, page, line = std::move(line)](Answer& replied) {
            MessagesOf(page);
            CarryOut(line, replied);
        },
        blocking ? answer : nobody, body.size());
    if (!blocking) {
        WebResponse response;
        response.status = 202;
        answer(std::move(response));
    }
}

void WebHost::OnVerb(const std::string& body, Answer& answer)
{
    Line line;
    line.json = ParseBody(body, kMaxMessageDepth + 1);
    if (!line.json.isObject() || !line.json["tv"].isString())
        throw Refused(400, "expected {\"tv\": VERB, …}");
    const std::string verb = line.json["tv"].asString();
    if (verb == "advance")
        throw Refused(400, "time passes by itself here");
    if (verb == "open" || verb == "close")
        throw Refused(400, "pages come and go by /page/open and /page/N/close");
    line.text = InLine(body, line.json);
    // A call that takes its time is cut short at once. What is restored after the lines before this one is
    // the same as ever, so that a recording comes out the same.
    std::shared_ptr<tv::Calls::NoDelay> no_delay;
    if (verb == "restore") {
        const bool names_call = line.json.isMember("call");
        const Json::Value call = names_call ? line.json["call"] : Json::Value();
        const tv::AnyCall* const known = call.isString() ? tv::TheCalls().Find(call.asString()) : nullptr;
        if (known != nullptr || !names_call)
            no_delay = std::make_shared<tv::Calls::NoDelay>(tv::TheCalls(), known);
    }
    TakeTurn([this, line = std::move(line), no_delay](Answer& done) { CarryOut(line, done); }, answer,
             body.size());
}

WebResponse WebHost::StateResponse()
{
    Json::Value state = tv::StateJson();
    {
        const tv::MutexLock lock(page_mutex_);
        // While a page opens the TV is its own already: the page that is replaced must not find it free.
        if (page_open_ || page_opening_)
            state["page"] = static_cast<Json::Int64>(page_open_ ? last_page_ : last_page_ + 1);
        else
            state["page"] = Json::Value();
    }
    WebResponse response;
    response.body = WriteJson(state);
    return response;
}

WebResponse WebHost::FileResponse(const WebRequest& request) const
{
    const std::optional<WebFiles::Found> found = files_.Find(request.path);
    if (!found)
        throw Refused(404, "there is nothing at " + request.path);
    if (request.method != "GET" && request.method != "HEAD")
        throw Refused(405, "GET, HEAD");
    WebResponse response;
    response.type = found->type;
    if (!found->redirect.empty()) {
        response.status = 301;
        response.location = found->redirect;
    } else {
        response.file = found->file;
    }
    return response;
}

std::variant<std::shared_ptr<Channel>, WebResponse> WebHost::OnListen(const std::string& path)
{
    if (path == "/journal")
        return journal_;
    constexpr std::string_view kMessages = "/messages";
    const std::optional<std::string_view> rest = After(path, "/page/");
    if (rest && rest->size() > kMessages.size() &&
        rest->substr(rest->size() - kMessages.size()) == kMessages) {
        const std::string number(rest->substr(0, rest->size() - kMessages.size()));
        if (number.size() <= 18 && number.find_first_not_of("0123456789") == std::string::npos) {
            try {
                return MessagesOf(std::stoll(number));
            } catch (const Refused& refused) {
                return ErrorResponse(refused.status(), refused.what());
            }
        }
    }
    return ErrorResponse(404, "there is no WebSocket at " + path);
}

void WebHost::HearJournal(bool heard)
{
    journal_heard_ = heard;
    const tv::MutexLock lock(mutex_);
    if (hearing_ != nullptr)
        hearing_->Hear({heard, heard});
}

void WebHost::TakeTurn(Action run, Answer& answer, std::size_t bytes)
{
    {
        const tv::MutexLock lock(mutex_);
        if (stopping_)
            throw Refused(503, kEnding);
        if (waiting_bytes_ + bytes > kMaxWaitingBytes)
            throw Refused(503, "too many messages are waiting");
        waiting_bytes_ += bytes;
        turns_.push_back({std::move(run), std::move(answer), bytes});
    }
    changed_.NotifyOne();
}

// The thread of Run.

void WebHost::ServeTurns()
{
    const bool ticks = options_.speed > 0;
    Clock::time_point next_tick = started_ + kTick;
    tv::MutexLock lock(mutex_);
    while (!stopping_) {
        if (ticks && Clock::now() >= next_tick) {
            lock.Unlock();
            Tick();
            next_tick = Clock::now() + kTick;
            lock.Lock();
        } else if (!turns_.empty()) {
            Turn turn = std::move(turns_.front());
            turns_.pop_front();
            waiting_bytes_ -= turn.bytes;
            lock.Unlock();
            Answering(turn.answer, [&turn] { turn.run(turn.answer); });
            lock.Lock();
        } else if (ticks) {
            changed_.WaitUntil(mutex_, next_tick);
        } else {
            changed_.Wait(mutex_);
        }
    }
}

void WebHost::CarryOut(const Line& line, Answer& answer)
{
    if (journal_heard_)
        journal_->Send(line.text);
    {
        const tv::MutexLock lock(line_mutex_);
        answer_ = std::move(answer);
    }
    try {
        session_->CarryOut(line.json);
    } catch (const std::exception& error) {
        answer = TakeCaused().answer;
        if (journal_heard_)
            journal_->Send(WriteJson(OrderedObject{{"error", error.what()}}));
        throw;
    }
    const Caused caused = TakeCaused();
    if (recorder_)
        recorder_->Write(line.text, caused.lines_out);
}

void WebHost::CarryOut(const Line& line)
{
    Answer nobody;
    CarryOut(line, nobody);
}

WebHost::Caused WebHost::TakeCaused()
{
    const tv::MutexLock lock(line_mutex_);
    return {std::exchange(lines_out_, {}), std::move(answer_)};
}

void WebHost::OnLineOut(const OrderedObject& line)
{
    const std::string& kind = line.front().first;
    const tv::MutexLock lock(line_mutex_);
    std::string value;
    std::string text;
    const bool records = recorder_ && kind != "call" && kind != "log";
    const bool shows = journal_heard_ && !(ticking_ && kind == "did");
    if (kind == "reply" || kind == "message") {
        value = WriteJson(line.front().second);
        if (records || shows)
            text = Around(kind, value);
    } else if (records || shows || answer_) {
        text = WriteJson(line);
    }
    if (kind == "message") {
        const tv::MutexLock page_lock(page_mutex_);
        if (messages_)
            messages_->Send(std::move(value));
    } else if (answer_ && (kind == "reply" || kind == "did")) {
        WebResponse response;
        response.body = kind == "reply" ? std::move(value) : text;
        answer_(std::move(response));
    }
    if (shows)
        journal_->Send(text);
    if (records)
        lines_out_.push_back(std::move(text));
}

long long WebHost::OpenPage()
{
    {
        const tv::MutexLock lock(page_mutex_);
        page_opening_ = true;
    }
    try {
        if (session_->is_open())
            ClosePage(kReplaced);
        {
            // The channel first: the plug-in may have something to say at once.
            const tv::MutexLock lock(page_mutex_);
            messages_ = server_.MakeChannel(WebServer::Unheard::Keep);
        }
        Line line;
        line.json["tv"] = "open";
        line.text = WriteJson(line.json);
        CarryOut(line);
    } catch (...) {
        const tv::MutexLock lock(page_mutex_);
        page_opening_ = false;
        throw;
    }
    const tv::MutexLock lock(page_mutex_);
    page_open_ = true;
    page_opening_ = false;
    return ++last_page_;
}

void WebHost::ClosePage(const std::string& reason)
{
    {
        const tv::MutexLock lock(page_mutex_);
        page_open_ = false;
    }
    Line line;
    line.json["tv"] = "close";
    line.text = WriteJson(line.json);
    CarryOut(line);
    const tv::MutexLock lock(page_mutex_);
    messages_->Close(reason);
    messages_.reset();
}

void WebHost::BeginRecording()
{
    Line date;
    date.json["tv"] = "clock";
    date.json["date"] = static_cast<Json::Int64>(SinceEpoch());
    date.text = WriteJson(OrderedObject{{"tv", "clock"}, {"date", date.json["date"]}});
    if (recorder_) {
        for (const std::string& note : options_.note)
            recorder_->Comment(note);
        // A script begins with a page that is open, a recording without one.
        recorder_->Write(R"({"tv":"close"})", {R"({"did":"close"})"});
        for (const std::string& key : options_.kept_settings.getMemberNames())
            recorder_->Write(WriteJson(OrderedObject{
                                 {"tv", "setting"}, {"key", key}, {"value", options_.kept_settings[key]}}),
                             {R"({"did":"setting","delivered":0})"});
    }
    CarryOut(date);
}

void WebHost::Tick()
{
    using Milliseconds = std::chrono::milliseconds;
    const std::chrono::duration<double, std::milli> passed = Clock::now() - started_;
    const Milliseconds target(static_cast<long long>(passed.count() * options_.speed));
    while (ticked_ < target) {
        const Milliseconds by =
            std::min<Milliseconds>(target - ticked_, Milliseconds(std::numeric_limits<int>::max()));
        ticked_ += by;
        {
            const tv::MutexLock lock(line_mutex_);
            ticking_ = true;
        }
        Json::Value line;
        line["tv"] = "advance";
        line["ms"] = static_cast<Json::Int64>(by.count());
        session_->CarryOut(line);
        const std::vector<std::string> lines_out = TakeCaused().lines_out;
        if (recorder_)
            recorder_->Advance(by.count(), lines_out);
        const tv::MutexLock lock(line_mutex_);
        ticking_ = false;
    }
}

// Any thread.

std::shared_ptr<Channel> WebHost::MessagesOf(long long page)
{
    const tv::MutexLock lock(page_mutex_);
    if (page < first_page_ || page > last_page_)
        throw Refused(404, "there never was a page " + std::to_string(page));
    if (page != last_page_ || !page_open_)
        throw Refused(410, "page " + std::to_string(page) + " was closed or replaced");
    return messages_;
}

int RunServe(const ServeOptions& options)
{
    try {
        WebHost host(options);
        if (!host.is_loopback())
            std::fprintf(stderr,
                         "zelumo-tv: warning: everybody who reaches %s can use this TV, and read what is in "
                         "its folders\n",
                         host.url().c_str());
        host.StopOnInterrupt();
        host.Run([&] {
            std::printf("zelumo-tv: %s\n", host.url().c_str());
            std::fflush(stdout);
        });
        return 0;
    } catch (const ServerError& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
    }
    return 2;
}

}  // namespace host
