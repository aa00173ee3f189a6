// SPDX-License-Identifier: Apache-2.0
#include "soak/hosts.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "log/dlog.h"
#include "services/web-runtime/json_var.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tvhost/web/kept_lines.h"

namespace soak {
namespace {

class EmbeddedSeat : public Seat {
  public:
    explicit EmbeddedSeat(tv::EmbeddedInstance::Sender sender) : sender_(std::move(sender)) {}

    std::optional<Json::Value> Await(const Json::Value& message) override
    {
        const pp::Var reply = sender_.Await(tv::ToVar(message));
        if (reply.is_undefined())
            return std::nullopt;
        return tv::ToJson(reply);
    }
    bool Post(const Json::Value& message) override
    {
        sender_.Post(tv::ToVar(message));
        return true;
    }
    Json::Value Do(const Json::Value& verb) override
    {
        Json::Value results(Json::objectValue);
        for (const auto& [name, value] : tv::CarryOut(verb))
            results[name] = value;
        return results;
    }

  private:
    const tv::EmbeddedInstance::Sender sender_;
};

/// Reads what happens, and holds against it that each blocking message is answered once, and before the
/// next line is carried out. Ends with the page.
void WatchJournal(test::WebListener& journal, Findings& findings)
{
    std::string unanswered;
    bool known = false;  // from the first line in on
    while (const std::optional<std::string> text = journal.Next()) {
        const Json::Value line = test::J(*text);
        if (line["did"] == "close")
            return;
        if (line.isMember("await") || line.isMember("post") || line.isMember("tv")) {
            if (!unanswered.empty())
                findings.Add("the journal shows no reply to " + unanswered);
            known = true;
            unanswered = line.isMember("await") ? *text : "";
        } else if (line.isMember("reply")) {
            if (known && unanswered.empty())
                findings.Add("the journal shows a reply too many: " + *text);
            unanswered.clear();
        } else if (line.isMember("error")) {
            unanswered.clear();
        }
    }
    // A journal that can't keep up is cut off; what it has shown was right.
}

}  // namespace

EmbeddedHost::EmbeddedHost() : plugin_(std::make_unique<host::Plugin>(test::PluginPath())) {}

void EmbeddedHost::Open(const std::shared_ptr<Page>& page, Dice&)
{
    if (instance_)
        Close();
    instance_ = std::make_unique<tv::EmbeddedInstance>(plugin_->module(), [page](const pp::Var& message) {
        const Json::Value json = tv::ToJson(message);
        for (std::size_t i = 0; i < page->ledger.listeners(); ++i)
            page->ledger.Arrive(i, json);
    });
}

void EmbeddedHost::Close()
{
    instance_.reset();
    // As every host does, which ends the page's players too.
    tv::DropLeftovers();
}

std::unique_ptr<Seat> EmbeddedHost::TakeSeat()
{
    return std::make_unique<EmbeddedSeat>(instance_->GetSender());
}

void EmbeddedHost::End()
{
    Close();
    plugin_.reset();
}

class WebHost::WebSeat : public Seat {
  public:
    WebSeat(const WebHost& host, std::uint16_t port, std::string path)
        : host_(host), client_(port), path_(std::move(path))
    {}

    std::optional<Json::Value> Await(const Json::Value& message) override
    {
        const test::WebReply reply = Send(path_ + "await", message);
        if (reply.status != 200)
            return std::nullopt;
        return test::J(reply.body);
    }
    bool Post(const Json::Value& message) override { return Send(path_ + "post", message).status == 202; }
    Json::Value Do(const Json::Value& verb) override
    {
        const test::WebReply reply = Send("/tv", verb);
        return reply.status == 200 ? test::J(reply.body) : Json::Value();
    }
    bool IsQuiet() override { return client_.IsQuiet(); }

  private:
    test::WebReply Send(const std::string& target, const Json::Value& body)
    {
        constexpr int kGone = 410;
        constexpr int kEnding = 503;
        const std::string text = test::Text(body);
        test::WebReply reply;
        try {
            reply = client_.Post(target, text);
        } catch (const std::runtime_error&) {
            // A host that has ended answers nobody.
            if (!host_.ending_)
                throw;
            reply.status = kEnding;
        }
        if (reply.status / 100 != 2 && reply.status != kGone && (reply.status != kEnding || !host_.ending_))
            throw std::runtime_error(text + " to " + target + " got status " + std::to_string(reply.status) +
                                     ": " + reply.body);
        return reply;
    }

    const WebHost& host_;  // outlives this object
    test::WebClient client_;
    const std::string path_;
};

WebHost::WebHost(Findings& findings) : findings_(findings), web_(std::make_unique<test::Web>()) {}

WebHost::~WebHost()
{
    if (web_)
        WebHost::End();
}

void WebHost::Open(const std::shared_ptr<Page>& page, Dice& dice)
{
    AwaitListeners();
    const std::string path = web_->OpenPage();
    JoinListeners("another page has the TV now");
    page_ = page;
    path_ = path;
    // What is posted meanwhile waits for the first listener; a second one hears what comes after.
    const bool alone = page->ledger.listeners() == 1;
    const int lateness = alone && dice.Chance(50) ? dice.Below(20) : 0;
    for (std::size_t i = 0; i < page->ledger.listeners(); ++i)
        listeners_.emplace_back([this, i, lateness] { Listen(i, lateness); });
    if (!alone)
        AwaitListeners();
    if (dice.Chance(10)) {
        // Connected here, so that it does not miss the page's end.
        journal_ = std::thread([this, journal = test::WebListener(web_->port(), "/journal")]() mutable {
            WatchJournal(journal, findings_);
        });
    }
}

void WebHost::Close()
{
    AwaitListeners();
    if (const int status = test::WebClient(web_->port()).Post(path_ + "close").status; status != 204)
        findings_.Add("closing the page got status " + std::to_string(status));
    JoinListeners("the page was closed");
}

std::unique_ptr<Seat> WebHost::TakeSeat()
{
    return std::make_unique<WebSeat>(*this, web_->port(), path_);
}

void WebHost::End()
{
    AwaitListeners();
    ending_ = true;
    web_.reset();
    JoinListeners("the TV host ends");
}

void WebHost::ForgetPages()
{
    // A line goes only with the others of its chunk; two chunks more than are kept push out everything else.
    constexpr std::size_t kLines = host::KeptLines::kLines + 1300;
    const std::string alike(100, '.');
    for (std::size_t i = 0; i < kLines; ++i)
        __dlog_print(DLOG_BUFFER_MAIN, DLOG_DEBUG, "soak", "%s", alike.c_str());
}

void WebHost::Listen(std::size_t index, int lateness)
{
    page_->senders.Await(lateness);
    std::string reason;
    try {
        test::WebListener listener(web_->port(), path_ + "messages");
        ++listening_;
        if (listener.status() != 101)
            throw std::runtime_error("a listener was refused with status " +
                                     std::to_string(listener.status()));
        while (const std::optional<std::string> text = listener.Next())
            page_->ledger.Arrive(index, test::J(*text));
        reason = listener.reason();
    } catch (const std::exception& error) {
        reason = error.what();
        listening_ = page_->ledger.listeners();
    }
    const tv::MutexLock lock(mutex_);
    reasons_.push_back(reason);
}

void WebHost::AwaitListeners()
{
    while (page_ && listening_ < page_->ledger.listeners())
        std::this_thread::yield();
}

void WebHost::JoinListeners(const std::string& reason)
{
    for (std::thread& listener : listeners_)
        listener.join();
    if (journal_.joinable())
        journal_.join();
    std::vector<std::string> reasons;
    {
        const tv::MutexLock lock(mutex_);
        reasons.swap(reasons_);
    }
    for (const std::string& given : reasons) {
        if (given != reason)
            findings_.Add("a listener ended with \"" + given + "\" instead of \"" + reason + '"');
    }
    listeners_.clear();
    listening_ = 0;
    page_.reset();
}

}  // namespace soak
