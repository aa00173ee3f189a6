// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"
#include "tvhost/web/server.h"

namespace test {
namespace {

/// Web mode with one page open.
class WebServer : public testing::Test {
  protected:
    const Web web_;
    WebPage page_{web_.port()};
};

TEST_F(WebServer, RequestsAreAnsweredAsAgreed)
{
    const std::string closed = page_.path;
    const std::string page = web_.OpenPage();
    // The answer whole, or its beginning where it ends in "…".
    const auto expect = [&](const char* method, const std::string& path, const std::string& body, int status,
                            const std::string& answer) {
        SCOPED_TRACE(std::string(method) + ' ' + path + ' ' + body.substr(0, 60));
        const WebReply reply = page_.client.Send(method, path, body);
        EXPECT_EQ(reply.status, status) << reply.body;
        const std::size_t whole = answer.find("…");
        if (whole == std::string::npos || answer.substr(whole) != "…")
            EXPECT_EQ(reply.body, answer);
        else
            EXPECT_EQ(reply.body.substr(0, whole), answer.substr(0, whole));
        EXPECT_TRUE(reply.keeps_alive);
        if (reply.status == 405) {
            EXPECT_EQ(reply.body, R"({"error":"only )" + reply.Header("allow") + "\"}");
        }
    };
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    // clang-format off
    expect("POST", page + "await?x=1", " {\n\"command\" :\t\"GetVersion\"} ", 200, kVersionReply);
    expect("POST", page + "post", kVersionMessage, 202, "");
    for (const char* zero : {"-0", "-0.0"})
        expect("POST", page + "await", std::string(R"({"command":"UnRegisterEvent","event":)") + zero + "}", 200, R"({"code":26,…)");
    expect("POST", page + "await", nested(64), 200, R"({"code":26,…)");
    expect("POST", page + "await", nested(65), 400, R"({"error":"nested too deeply"})");
    expect("POST", page + "await", "", 400, R"({"error":"not JSON: …)");
    expect("POST", page + "await", "\"\xff\"", 400, R"({"error":"not UTF-8"})");
    expect("GET", page + "messages", "", 400, R"({"error":"a page's messages are a WebSocket"})");
    expect("GET", page + "runtime", "", 400, R"({"error":"a page's runtime is a WebSocket"})");
    expect("GET", "/journal?since=0x1", "", 400, R"({"error":"since must be the number of a line"})");
    expect("GET", page + "await", "", 405, R"({"error":"only POST"})");
    expect("POST", "/tv/state", "", 405, R"({"error":"only GET"})");
    expect("POST", "/", "", 405, R"({"error":"only GET, HEAD"})");
    expect("POST", "/page/1/await", kVersionMessage, 404, R"({"error":"there never was a page 1"})");
    expect("POST", "/page/999999999999999999/close", "", 404, R"({"error":"there never was …)");
    expect("GET", "/" + std::string(5000, 'x'), "", 404, R"({"error":"there is nothing at /)" + std::string(199, 'x') + "…\"}");
    for (const std::string& path : {std::string("/page/99999999999999999999/close"), std::string("/page/-1/await"), page + "dance", page})
        expect("POST", path, "", 404, R"({"error":"there is nothing at )" + path + "\"}");
    expect("POST", "/tv", R"({"tv":"poweroff","type":1})", 200, R"({"did":"poweroff","delivered":1,"results":[0]})");
    expect("POST", "/tv", R"({"tv":"restore","call":"dance"})", 400, R"({"error":"verb \"restore\": …)");
    expect("POST", "/tv", R"({"tv":")" + std::string(900'000, 'x') + "\"}", 400, R"({"error":"there is no verb \")" + std::string(200, 'x') + R"(…\""})");
    expect("POST", "/tv", "x", 400, R"({"error":"not JSON: …)");
    for (const char* no_verb : {R"({"tv":7})", R"(["tv"])"})
        expect("POST", "/tv", no_verb, 400, R"({"error":"expected {\"tv\": VERB, …}"})");
    for (const char* of_page : {R"({"tv":"close"})", R"({"tv":"open"})"})
        expect("POST", "/tv", of_page, 400, R"({"error":"pages come and go by /page/open and /page/N/close"})");
    expect("POST", page + "close", "", 204, "");
    for (const std::string& gone : {closed, page})
        for (const char* what : {"await", "post", "close"})
            expect("POST", gone + what, kVersionMessage, 410, R"({"error":"page …)");
    // clang-format on
}

TEST_F(WebServer, ABodyOverTheLimitIsReadToItsEndAndRefused)
{
    const auto text_of = [](std::size_t bytes) { return '"' + std::string(bytes - 2, 'x') + '"'; };
    EXPECT_EQ(page_.Await(text_of(kMebibyte)).status, 200);
    for (const std::size_t bytes : {kMebibyte + 1, 20 * kMebibyte}) {
        const WebReply reply = page_.Await(text_of(bytes));
        EXPECT_EQ(reply.status, 413) << bytes;
        EXPECT_EQ(reply.body, R"({"error":"the body is larger than 1048576 bytes"})");
        EXPECT_TRUE(reply.keeps_alive);
    }
    for (const auto& [body, status] :
         {std::pair(std::string(kVersionMessage), 200), {text_of(3 * kMebibyte), 413}})
        EXPECT_EQ(
            page_.client.Send("POST", page_.path + "await", body, {{"Transfer-Encoding", "chunked"}}).status,
            status);
    EXPECT_EQ(page_.Await(kVersionMessage).body, kVersionReply) << "it goes on";

    // Who asks whether to send the body is told no before it is sent.
    const std::string head = "POST " + page_.path +
                             "await HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(web_.port()) +
                             "\r\nExpect: 100-continue\r\nContent-Length: ";
    EXPECT_EQ(WebClient(web_.port()).SendBytes(head + "5000000\r\n\r\n").status, 413);
    EXPECT_EQ(WebClient(web_.port()).SendBytes(head + "2\r\n\r\n").status, 100);
}

TEST_F(WebServer, MessagesArriveInOrderAndWaitForTheirListeners)
{
    const std::string messages = page_.path + "messages";
    const auto post = [&](int from, int to) {
        for (int i = from; i < to; ++i)
            ASSERT_EQ(page_.Post(R"({"command":"m)" + std::to_string(i) + "\"}").status, 202);
    };
    const auto expect = [](WebListener& listener, int from, int to) {
        for (int i = from; i < to; ++i)
            ASSERT_EQ(listener.Read(), RefusedMessage("m" + std::to_string(i)));
    };
    post(0, 300);
    EXPECT_EQ(page_.Await(kVersionMessage).body, kVersionReply);
    {
        std::vector<WebListener> listeners;
        for (int i = 0; i < 200; ++i)
            listeners.emplace_back(web_.port(), messages);
        expect(listeners[0], 0, 300);
        listeners[0].Send("nobody cares");
        post(300, 340);
        for (WebListener& listener : listeners)
            expect(listener, 300, 340);
    }
    post(340, 380);
    WebListener again(web_.port(), messages);
    // What was under way to listeners that had gone can be lost; what came after is there.
    post(380, 400);
    while (again.Read() != RefusedMessage("m399")) {
    }
    page_.client.Post(page_.path + "close");
    EXPECT_EQ(again.ReadToEnd(), "the page was closed");
}

TEST_F(WebServer, ATvBelongsToThePageThatCameLast)
{
    const auto events = [&] { return Text(page_.State()["subscriptions"]["events"]); };
    const auto status_of = [&](const std::string& path) { return WebListener(web_.port(), path).status(); };
    const std::string first = page_.path;
    EXPECT_EQ("/page/" + page_.State()["page"].asString() + '/', first);
    WebListener listener(web_.port(), first + "messages");
    page_.Await(R"({"command":"RegisterEvent","event":90019})");
    EXPECT_EQ(events(), "[90019]");
    page_.Post(R"({"command":"last"})");

    WebPage second(web_.port());
    EXPECT_NE(first, second.path);
    EXPECT_EQ(events(), "[]") << "the earlier page's instance is gone";
    EXPECT_EQ(listener.Read(), RefusedMessage("last"));
    EXPECT_EQ(listener.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(status_of(first + "messages"), 410);
    for (const char* path : {"/page/1/messages", "/page//messages", "/messages"})
        EXPECT_EQ(status_of(path), 404) << path;

    WebListener other(web_.port(), second.path + "messages");
    const auto close = [&](const std::string& page) {
        return second.client.Send("POST", page + "close", "", {{"Content-Type", "text/plain"}}).status;
    };
    EXPECT_EQ(close(first), 410);
    EXPECT_EQ(second.Await(kVersionMessage).body, kVersionReply) << "a late close leaves the new page alone";
    EXPECT_EQ(close(second.path), 204);
    EXPECT_EQ(other.ReadToEnd(), "the page was closed");
    EXPECT_TRUE(second.State()["page"].isNull());
}

TEST(WebHost, ASlowListenerIsDroppedAndHoldsUpNobody)
{
    host::ServeOptions options;
    options.limits.queue_bytes = 4 * kMebibyte;
    options.limits.close_grace = std::chrono::minutes(2);
    const Web web(options);
    WebPage page(web.port());
    WebListener slow(web.port(), "/journal");
    WebListener quick(web.port(), "/journal");
    const std::string large = R"({"command":"GetVersion","x":")" + std::string(kMebibyte / 2, 'x') + "\"}";
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(page.Await(large).body, kVersionReply);
        while (quick.Read() != R"({"reply":)" + std::string(kVersionReply) + '}') {
        }
    }
    EXPECT_EQ(slow.ReadToEnd(), "too slow: what was to be sent has piled up");
}

TEST_F(WebServer, RestoringCutsADelayedCallShortUnlessItIsRefused)
{
    for (const char* restore : {kRestore, R"({"tv":"restore","call":"vconf_get_int"})"}) {
        HeldUp held(page_);
        WebClient refused(web_.port());
        refused.Begin("POST", "/tv", R"({"tv":"restore","cal":"vconf_get_int"})");
        for (int i = 0; i < 50; ++i)
            EXPECT_TRUE(page_.State()["answers"].isArray()) << "told although the plug-in is busy";
        EXPECT_TRUE(refused.IsQuiet()) << "it waits for its turn";
        EXPECT_EQ(page_.Do(restore).body, R"({"did":"restore"})");
        EXPECT_EQ(J(held.client.Finish().body)["code"], 9999) << "the call was answered, only sooner";
        EXPECT_EQ(refused.Finish().status, 400);
    }
}

TEST_F(WebServer, ARequestThatComesBeforeTheAnswerToTheLastIsTakenUpBehindIt)
{
    HeldUp held(page_);
    held.client.Begin("GET", "/nowhere");
    page_.State();  // a round trip: the server has taken what was sent before it
    page_.Do(kRestore);
    EXPECT_EQ(held.client.Finish().status, 200);
    EXPECT_EQ(held.client.Finish().status, 404);
}

TEST_F(WebServer, APostThatItsPageDoesNotLiveToSeeIsAnsweredOnce)
{
    HeldUp held(page_);
    // The close takes its place in the line, and some of the posts behind it.
    WebClient closer(web_.port());
    closer.Begin("POST", page_.path + "close");
    WebClient poster(web_.port());
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(poster.Post(page_.path + "post", kVersionMessage).status, 202);
    page_.Do(kRestore);
    EXPECT_EQ(held.client.Finish().status, 200);
    EXPECT_EQ(closer.Finish().status, 204);
    const std::string next = web_.OpenPage();
    EXPECT_TRUE(poster.IsQuiet());
    EXPECT_EQ(poster.Post(next + "await", kVersionMessage).body, kVersionReply);
}

TEST_F(WebServer, APageThatIsReplacedNeverFindsTheTvFree)
{
    WebListener replaced(web_.port(), page_.path + "messages");
    const Json::Int64 number = page_.State()["page"].asInt64();
    page_.Do(R"({"tv":"answer","call":"device_power_subscribe_poweroff","delay":600000})");
    WebClient opening(web_.port());
    opening.Begin("POST", "/page/open");
    EXPECT_EQ(replaced.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(page_.State()["page"], number + 1);
    page_.Do(kRestore);
    EXPECT_EQ(J(opening.Finish().body)["page"], number + 1);
}

TEST_F(WebServer, AConnectionMayEndBeforeTheTurnThatAnsweredIt)
{
    page_.Await(R"({"command":"RegisterEvent","event":90019})");
    const auto count_descriptors = [] {
        const std::filesystem::directory_iterator open("/proc/self/fd");
        return std::distance(begin(open), end(open));
    };
    const auto before = count_descriptors();
    // The channel's event comes after the reply, in the same turn, and holds it up.
    page_.Do(R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","result":0,"delay":600000})");
    const std::string tune = R"({"command":"SetServiceByServiceid","Serviceid":"1002"})";
    EXPECT_EQ(J(WebClient(web_.port()).Post(page_.path + "await", tune).body)["code"], 0);
    EXPECT_TRUE(ComesTrue([&] { return count_descriptors() <= before; }));
    EXPECT_EQ(page_.Do(kRestore).body, R"({"did":"restore"})");
}

TEST_F(WebServer, AFailureInATurnIsAnsweredAndTheHostGoesOn)
{
    const std::string get = R"({"command":"GetIntegerFromVconfWithKey","key":"k"})";
    for (const bool is_standard : {true, false}) {
        const auto fail_at = [is_standard](const std::string& call) {
            return tv::TheJournal().ListenToCalls([=](const tv::SharedCall& made) {
                if (made->name == call && is_standard)
                    throw std::runtime_error("the listener failed");
                if (made->name == call)
                    throw 7;
            });
        };
        const auto expect_failure = [is_standard](const WebReply& reply) {
            EXPECT_EQ(reply.status, 500);
            EXPECT_EQ(J(reply.body)["error"], is_standard ? "the listener failed" : "it does not say why");
            EXPECT_TRUE(reply.keeps_alive);
        };
        const Json::Int64 number = page_.State()["page"].asInt64();
        page_.client.Post(page_.path + "close");
        {
            const auto failing = fail_at("TVServiceAPI::CreateSignalSubscriber");  // on the plug-in's thread
            expect_failure(page_.client.Post("/page/open"));
            EXPECT_TRUE(page_.State()["page"].isNull());
        }
        page_.path = page_.client.OpenPage();
        EXPECT_EQ(page_.State()["page"], number + 1);
        {
            const auto failing = fail_at("vconf_get_int");  // on its worker thread
            expect_failure(page_.Await(get));
            EXPECT_EQ(page_.Post(get).status, 202) << "a post has had its answer";
        }
        EXPECT_EQ(page_.Await(kVersionMessage).body, kVersionReply);
    }
}

TEST(WebHost, AnswersWhatWaitsWhenItEnds)
{
    std::optional<HeldUp> held;
    std::deque<WebClient> waiting;
    {
        const Web web;
        WebPage page(web.port());
        held.emplace(page);
        for (const auto& [path, body] : std::vector<std::pair<std::string, std::string>>{
                 {page.path + "await", kVersionMessage},
                 {page.path + "close", ""},
                 {"/page/open", ""},
                 {"/tv", R"({"tv":"poweroff","type":1})"},
             }) {
            WebClient& client = waiting.emplace_back(web.port());
            // Known to the server, it is read before what comes later.
            client.Get("/tv/state");
            client.Begin("POST", path, body);
        }
        for (int i = 0; i < 2; ++i)
            page.State();
    }
    const WebReply reply = held->client.Finish();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(J(reply.body)["code"], 9999);
    for (std::size_t i = 0; i < waiting.size(); ++i)
        EXPECT_EQ(waiting[i].Finish().status, 503) << i;
}

TEST(WebAnswer, IsAnErrorWhenItIsDropped)
{
    host::WebServer server("127.0.0.1", 0, {});
    std::thread later;
    server.Start({[&later](const host::WebRequest& request, host::WebServer::Answer answer) {
                      if (request.path == "/later")
                          later = std::thread([dropped = std::move(answer)] {});
                  },
                  [](const host::WebRequest&) { return host::ErrorResponse(404, "nothing"); }});
    WebClient client(server.port());
    for (const char* path : {"/at-once", "/later"}) {
        const WebReply reply = client.Get(path);
        EXPECT_EQ(reply.status, 500) << path;
        EXPECT_TRUE(J(reply.body)["error"].isString() && reply.keeps_alive) << path;
    }
    EXPECT_TRUE(client.IsQuiet());
    server.Stop();  // before, the server's thread may be assigning what is joined
    later.join();
}

}  // namespace
}  // namespace test
