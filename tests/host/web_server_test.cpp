#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"
#include "tvhost/web/server.h"

namespace {

using test::J;
using test::Lines;
using test::Text;
using test::Web;
using test::WebClient;
using test::WebListener;
using test::WebReply;

constexpr char kVersionMessage[] = R"({"command":"GetVersion"})";
constexpr char kVersionReply[] = R"({"code":0,"data":"1.00"})";
constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

std::string Nested(int depth)
{
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
}

std::string RefusedMessage(const std::string& command)
{
    return R"({"code":9,"command":")" + command +
           R"(","data":null,"errorMessage":"Parameters is invalid","errorName":"NotSupportedError"})";
}

template <typename Condition>
void WaitFor(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        std::this_thread::yield();
    }
}

/// Web mode with one page open.
class WebServer : public testing::Test {
  protected:
    Json::Value State() { return J(client_.Get("/tv/state").body); }

    const Web web_;
    const std::string page_ = web_.OpenPage();
    WebClient client_{web_.port()};
};

TEST_F(WebServer, RequestsAreAnsweredAsAgreed)
{
    const std::string closed = page_;
    const std::string page = web_.OpenPage();
    struct Case {
        const char* method;
        std::string path;
        std::string body;
        int status;
        std::string answer;  // whole, or its beginning where it ends in "…"
    };
    for (const Case& c : {
             // clang-format off
             Case{"POST", page + "await", kVersionMessage, 200, kVersionReply},
             Case{"POST", page + "await", " {\n\"command\" :\t\"GetVersion\"} ", 200, kVersionReply},
             Case{"POST", page + "await", "7", 200, R"({"code":26,…)"},
             Case{"POST", page + "await?x=1", kVersionMessage, 200, kVersionReply},
             Case{"POST", page + "post", kVersionMessage, 202, ""},
             Case{"POST", page + "await", "", 400, R"({"error":"not JSON: …)"},
             Case{"POST", page + "post", "'x'", 400, R"({"error":"not JSON: …)"},
             Case{"POST", page + "await", "\"\xff\"", 400, R"({"error":"not UTF-8"})"},
             Case{"POST", page + "await", Nested(64), 200, R"({"code":26,…)"},
             Case{"POST", page + "await", Nested(65), 400, R"({"error":"nested too deeply"})"},
             Case{"GET", page + "await", "", 405, R"({"error":"only POST"})"},
             Case{"GET", "/page/open", "", 405, R"({"error":"only POST"})"},
             Case{"GET", page + "messages", "", 400, R"({"error":"a page's messages are a WebSocket"})"},
             Case{"POST", closed + "await", kVersionMessage, 410, R"({"error":"page …)"},
             Case{"POST", closed + "post", "", 410, R"({"error":"page …)"},
             Case{"POST", closed + "close", "", 410, R"({"error":"page …)"},
             Case{"POST", "/page/1/await", kVersionMessage, 404, R"({"error":"there never was a page 1"})"},
             Case{"POST", "/page/999999999999999999/close", "", 404, R"({"error":"there never was …)"},
             Case{"POST", "/page/99999999999999999999/close", "", 404, R"({"error":"there is nothing …)"},
             Case{"POST", "/page/-1/await", kVersionMessage, 404, R"({"error":"there is nothing …)"},
             Case{"POST", page + "dance", "", 404, R"({"error":"there is nothing …)"},
             Case{"POST", page, "", 404, R"({"error":"there is nothing …)"},
             Case{"POST", "/tv", R"({"tv":"poweroff","type":1})", 200, R"({"did":"poweroff","delivered":1,"results":[0]})"},
             Case{"POST", "/tv", R"({"tv":"at","ms":1,"do":{"tv":"poweroff","type":1}})", 200, R"({"did":"at"})"},
             Case{"POST", "/tv", R"({"tv":"advance","ms":1})", 200, R"({"did":"advance","position":…)"},
             Case{"POST", "/tv", R"({"tv":"at","ms":1,"do":{"tv":"open"}})", 400, R"({"error":"verb \"at\": \"do\" can't be \"open\""})"},
             Case{"POST", "/tv", R"({"tv":")" + std::string(900'000, 'x') + "\"}", 400,
                  R"({"error":"there is no verb \")" + std::string(200, 'x') + R"(…\""})"},
             Case{"GET", "/" + std::string(5000, 'x'), "", 404, R"({"error":"there is nothing at /)" + std::string(199, 'x') + "…\"}"},
             Case{"POST", "/tv", R"({"tv":"close"})", 400, R"({"error":"pages come and go …)"},
             Case{"POST", "/tv", R"({"tv":"open"})", 400, R"({"error":"pages come and go …)"},
             Case{"POST", "/tv", R"({"tv":"dance"})", 400, R"({"error":"there is no verb \"dance\""})"},
             Case{"POST", "/tv", R"({"tv":"event"})", 400, R"({"error":"verb \"event\": …)"},
             Case{"POST", "/tv", R"({"tv":"restore","call":"dance"})", 400, R"({"error":"verb \"restore\": …)"},
             Case{"POST", "/tv", R"({"tv":7})", 400, R"({"error":"expected {\"tv\": VERB, …}"})"},
             Case{"POST", "/tv", R"(["tv"])", 400, R"({"error":"expected {\"tv\": VERB, …}"})"},
             Case{"POST", "/tv", "x", 400, R"({"error":"not JSON: …)"},
             Case{"PUT", "/tv", "{}", 405, R"({"error":"only POST"})"},
             Case{"POST", "/tv/state", "", 405, R"({"error":"only GET"})"},
             Case{"GET", "/journal", "", 200, R"({"first":1,"next":…)"},
             Case{"GET", "/journal?since=0x1", "", 400, R"({"error":"since must be the number of a line"})"},
             Case{"GET", page + "runtime", "", 400, R"({"error":"a page's runtime is a WebSocket"})"},
             Case{"GET", "/dance", "", 404, R"({"error":"there is nothing at /dance"})"},
             Case{"POST", "/", "", 405, R"({"error":"only GET, HEAD"})"},
             Case{"DELETE", "/zelumo-embed.js", "", 405, R"({"error":"only GET, HEAD"})"},
             Case{"POST", page + "close", "", 204, ""},
             Case{"POST", page + "await", kVersionMessage, 410, R"({"error":"page …)"},
             // clang-format on
         }) {
        const WebReply reply = client_.Send(c.method, c.path, c.body);
        const std::string shown = std::string(c.method) + ' ' + c.path + ' ' + c.body.substr(0, 60);
        EXPECT_EQ(reply.status, c.status) << shown << ": " << reply.body;
        const std::size_t whole = c.answer.find("…");
        if (whole == std::string::npos || c.answer.substr(whole) != "…") {
            EXPECT_EQ(reply.body, c.answer) << shown;
        } else {
            EXPECT_EQ(reply.body.substr(0, whole), c.answer.substr(0, whole)) << shown;
        }
        EXPECT_TRUE(reply.keeps_alive) << shown;
        if (reply.status == 405) {
            EXPECT_NE(reply.body.find("only " + reply.Header("allow")), std::string::npos) << shown;
        }
    }
}

TEST_F(WebServer, ABodyOverTheLimitIsReadToItsEndAndRefused)
{
    const std::string too_large = R"({"error":"the body is larger than 1048576 bytes"})";
    const auto text_of = [](std::size_t bytes) { return '"' + std::string(bytes - 2, 'x') + '"'; };
    EXPECT_EQ(client_.Post(page_ + "await", text_of(kMebibyte)).status, 200);
    for (const std::size_t bytes : {kMebibyte + 1, 20 * kMebibyte}) {
        const WebReply reply = client_.Post(page_ + "await", text_of(bytes));
        EXPECT_EQ(reply.status, 413) << bytes;
        EXPECT_EQ(reply.body, too_large);
        EXPECT_TRUE(reply.keeps_alive);
    }
    const test::Headers chunked{{"Transfer-Encoding", "chunked"}};
    EXPECT_EQ(client_.Send("POST", page_ + "await", kVersionMessage, chunked).body, kVersionReply);
    EXPECT_EQ(client_.Send("POST", page_ + "await", text_of(3 * kMebibyte), chunked).status, 413);
    EXPECT_EQ(client_.Post(page_ + "await", kVersionMessage).body, kVersionReply) << "it goes on";

    // Who asks whether to send the body is told no before it is sent.
    const std::string head = "POST " + page_ +
                             "await HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(web_.port()) +
                             "\r\nExpect: 100-continue\r\nContent-Length: ";
    EXPECT_EQ(WebClient(web_.port()).SendBytes(head + "5000000\r\n\r\n").status, 413);
    EXPECT_EQ(WebClient(web_.port()).SendBytes(head + "2\r\n\r\n").status, 100);
}

TEST_F(WebServer, WhatIsNotHttpIsRefused)
{
    const std::string host = "Host: 127.0.0.1:" + std::to_string(web_.port()) + "\r\n";
    for (const auto& [bytes, status] : std::map<std::string, int>{
             {"nonsense\r\n\r\n", 400},
             {"GET / HTTP/1.1\r\n" + host + "No colon\r\n\r\n", 400},
             {"POST /tv HTTP/1.1\r\n" + host + "Content-Length: x\r\n\r\n", 400},
             {"GET / HTTP/1.1\r\n" + host + "Long: " + std::string(20000, 'x') + "\r\n\r\n", 431},
             {"GET http://127.0.0.1/ HTTP/1.1\r\n" + host + "\r\n", 404},
         }) {
        const WebReply reply = WebClient(web_.port()).SendBytes(bytes);
        EXPECT_EQ(reply.status, status) << bytes.substr(0, 80);
        EXPECT_TRUE(J(reply.body)["error"].isString()) << reply.body;
    }
}

TEST_F(WebServer, WhatComesFromElsewhereIsRefused)
{
    const std::string port = std::to_string(web_.port());
    for (const auto& [headers, is_own] : std::vector<std::pair<test::Headers, bool>>{
             {{}, true},
             {{{"Host", "localhost:" + port}}, true},
             {{{"Host", "LocalHost:" + port}, {"Origin", "http://localhost:" + port}}, true},
             {{{"Origin", "http://127.0.0.1:" + port}}, true},
             {{{"Host", "127.0.0.1"}}, false},
             {{{"Host", "127.0.0.1:1"}}, false},
             {{{"Host", "127.0.0.2:" + port}}, false},
             {{{"Host", "elsewhere.example:" + port}}, false},
             {{{"Host", ""}}, false},
             {{{"Origin", "null"}}, false},
             {{{"Origin", ""}}, false},
             {{{"Origin", "http://127.0.0.1"}}, false},
             {{{"Origin", "http://127.0.0.1:1"}}, false},
             {{{"Origin", "https://127.0.0.1:" + port}}, false},
             {{{"Origin", "http://elsewhere.example"}}, false},
             {{{"Origin", "http://127.0.0.1:" + port + ".elsewhere.example"}}, false},
         }) {
        std::string shown;
        for (const auto& [name, value] : headers)
            shown += name + ": " + value + ' ';
        EXPECT_EQ(client_.Send("GET", "/", "", headers).status, is_own ? 200 : 403) << shown;
        EXPECT_EQ(client_.Send("POST", page_ + "await", kVersionMessage, headers).status, is_own ? 200 : 403)
            << shown;
        for (const std::string& path : {std::string("/journal"), page_ + "messages"})
            EXPECT_EQ(WebListener(web_.port(), path, headers).status(), is_own ? 101 : 403) << shown;
    }
    // Nor may such a page read what it asks for without saying where it comes from.
    EXPECT_EQ(client_.Get("/tv/state").Header("access-control-allow-origin"), "");
    const std::string own = "Host: 127.0.0.1:" + port + "\r\n";
    EXPECT_EQ(WebClient(web_.port()).SendBytes("GET / HTTP/1.1\r\n" + own + own + "\r\n").status, 403);
    EXPECT_EQ(WebClient(web_.port()).SendBytes("GET / HTTP/1.1\r\n\r\n").status, 403);
    EXPECT_EQ(WebClient(web_.port()).SendBytes("GET / HTTP/1.0\r\n\r\n").status, 403);
}

TEST_F(WebServer, MessagesArriveInOrderAndWaitForTheirListeners)
{
    const auto post = [&](int from, int to) {
        for (int i = from; i < to; ++i)
            ASSERT_EQ(client_.Post(page_ + "post", R"({"command":"m)" + std::to_string(i) + "\"}").status,
                      202);
    };
    const auto expect = [](WebListener& listener, int from, int to) {
        for (int i = from; i < to; ++i)
            ASSERT_EQ(listener.Read(), RefusedMessage("m" + std::to_string(i)));
    };
    post(0, 300);
    EXPECT_EQ(client_.Post(page_ + "await", kVersionMessage).body, kVersionReply);
    {
        std::vector<WebListener> listeners;
        for (int i = 0; i < 200; ++i)
            listeners.emplace_back(web_.port(), page_ + "messages");
        expect(listeners[0], 0, 300);
        listeners[0].Send("nobody cares");
        post(300, 340);
        for (WebListener& listener : listeners)
            expect(listener, 300, 340);
    }
    post(340, 380);
    WebListener again(web_.port(), page_ + "messages");
    // What was under way to listeners that had gone can be lost; what came after is there.
    post(380, 400);
    while (again.Read() != RefusedMessage("m399")) {
    }
    client_.Post(page_ + "close");
    EXPECT_EQ(again.ReadToEnd(), "the page was closed");
}

TEST_F(WebServer, ATvBelongsToThePageThatCameLast)
{
    const auto events = [&] { return Text(State()["subscriptions"]["events"]); };
    const std::string first = page_;
    EXPECT_EQ("/page/" + State()["page"].asString() + '/', first);
    WebListener listener(web_.port(), first + "messages");
    client_.Post(first + "await", R"({"command":"RegisterEvent","event":90019})");
    EXPECT_EQ(events(), "[90019]");
    client_.Post(first + "post", R"({"command":"last"})");

    const std::string second = web_.OpenPage();
    EXPECT_NE(first, second);
    EXPECT_EQ(events(), "[]") << "the earlier page's instance is gone";
    EXPECT_EQ(listener.Read(), RefusedMessage("last"));
    EXPECT_EQ(listener.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(WebListener(web_.port(), first + "messages").status(), 410);
    EXPECT_EQ(WebListener(web_.port(), "/page/1/messages").status(), 404);
    EXPECT_EQ(WebListener(web_.port(), "/page//messages").status(), 404);
    EXPECT_EQ(WebListener(web_.port(), "/messages").status(), 404);

    WebListener other(web_.port(), second + "messages");
    EXPECT_EQ(client_.Send("POST", first + "close", "", {{"Content-Type", "text/plain"}}).status, 410);
    EXPECT_EQ(client_.Post(second + "await", kVersionMessage).body, kVersionReply)
        << "a late close leaves the new page alone";
    EXPECT_EQ(client_.Send("POST", second + "close", "", {{"Content-Type", "text/plain"}}).status, 204);
    EXPECT_EQ(other.ReadToEnd(), "the page was closed");
    EXPECT_TRUE(State()["page"].isNull());
}

TEST_F(WebServer, TheJournalShowsLinesAsTheyHappen)
{
    {
        WebListener journal(web_.port(), "/journal");
        client_.Post(page_ + "await", R"({ "command": "AddVconfCallbackWithKey", "key": "k" })");
        client_.Post("/tv", R"({"tv":"setting","key":"k","value":1})");
        client_.Post("/tv", R"({"tv":"setting"})");
        client_.Post(page_ + "post", kVersionMessage);
        client_.Post(page_ + "close");
        Lines lines;
        for (std::string line; line != R"({"did":"close"})";) {
            line = journal.Read();
            const Json::Value json = J(line);
            if (!json.isMember("log"))
                lines.push_back(json.isMember("call") ? json["call"].asString() : line);
        }
        lines.resize(12);  // more follows of what the instance does at its end
        EXPECT_EQ(
            lines,
            (Lines{R"({"await":{ "command": "AddVconfCallbackWithKey", "key": "k" }})",
                   "vconf_notify_key_changed", R"({"reply":{"code":0,"data":null}})",
                   R"({"tv":"setting","key":"k","value":1})",
                   R"({"message":{"code":0,"command":"k","data":"k","errorMessage":"","errorName":""}})",
                   R"({"did":"setting","delivered":1})", R"({"tv":"setting"})",
                   R"({"error":"verb \"setting\": \"key\" is missing"})",
                   R"({"post":{"command":"GetVersion"}})",
                   R"({"message":)" + RefusedMessage("GetVersion") + "}", R"({"tv":"close"})",
                   "FIIPCConnection::GetInstance"}));
    }
}

TEST(WebHost, ASlowListenerIsDroppedAndHoldsUpNobody)
{
    host::ServeOptions options;
    options.limits.queue_bytes = 4 * kMebibyte;
    options.limits.close_grace = std::chrono::minutes(2);
    const Web web(options);
    const std::string page = web.OpenPage();
    WebClient client(web.port());
    WebListener slow(web.port(), "/journal");
    WebListener quick(web.port(), "/journal");
    const std::string large = R"({"command":"GetVersion","x":")" + std::string(kMebibyte / 2, 'x') + "\"}";
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(client.Post(page + "await", large).body, kVersionReply);
        while (quick.Read() != R"({"reply":)" + std::string(kVersionReply) + '}') {
        }
    }
    EXPECT_EQ(slow.ReadToEnd(), "too slow: what was to be sent has piled up");
}

TEST(WebHost, RestoringOrStoppingCutsADelayedCallShort)
{
    const std::string delay = R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})";
    // Restored by one verb or the other, or stopped.
    for (const char* restore : {R"({"tv":"restore"})", R"({"tv":"restore","call":"vconf_get_int"})", ""}) {
        std::thread waiting;
        {
            const Web web;
            const std::string page = web.OpenPage();
            WebClient client(web.port());
            client.Post("/tv", delay);
            WebListener journal(web.port(), "/journal");
            waiting = std::thread([port = web.port(), page] {
                const WebReply reply = WebClient(port).Post(
                    page + "await", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})");
                EXPECT_EQ(J(reply.body)["code"], 9999) << "the call was answered, only sooner";
            });
            while (journal.Read().find("\"await\"") == std::string::npos) {
            }
            if (*restore != '\0') {
                // Answered although the plug-in is busy.
                EXPECT_TRUE(J(client.Get("/tv/state").body)["answers"].isArray());
                EXPECT_EQ(client.Post(page + "post", kVersionMessage).status, 202);
                // One that is to be refused cuts nothing short, and waits for its turn.
                WebClient refused(web.port());
                refused.Begin("POST", "/tv", R"({"tv":"restore","cal":"vconf_get_int"})");
                for (int i = 0; i < 50; ++i)
                    client.Get("/tv/state");
                EXPECT_TRUE(refused.IsQuiet());
                EXPECT_EQ(client.Post("/tv", restore).body, R"({"did":"restore"})");
                EXPECT_EQ(refused.Finish().status, 400);
                waiting.join();
            }
        }
        if (waiting.joinable())
            waiting.join();
    }
}

TEST_F(WebServer, ARequestThatComesBeforeTheAnswerToTheLastIsTakenUpBehindIt)
{
    client_.Post("/tv", R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
    WebListener journal(web_.port(), "/journal");
    const std::string host = " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(web_.port()) + "\r\n";
    const std::string get = R"({"command":"GetIntegerFromVconfWithKey","key":"k"})";
    WebClient both(web_.port());
    both.SendOnly("POST " + page_ + "await" + host + "Content-Length: " + std::to_string(get.size()) +
                  "\r\n\r\n" + get + "GET /nowhere" + host + "\r\n");
    while (journal.Read().find("\"await\"") == std::string::npos) {
    }
    EXPECT_EQ(client_.Post("/tv", R"({"tv":"restore"})").body, R"({"did":"restore"})");
    EXPECT_EQ(both.Finish().status, 200);
    EXPECT_EQ(both.Finish().status, 404);
}

TEST_F(WebServer, APostThatItsPageDoesNotLiveToSeeIsAnsweredOnce)
{
    client_.Post("/tv", R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
    WebListener journal(web_.port(), "/journal");
    WebClient waiting(web_.port());
    waiting.Begin("POST", page_ + "await", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})");
    while (journal.Read().find("\"await\"") == std::string::npos) {
    }
    // The close takes its place in the line, and some of the posts behind it.
    WebClient closer(web_.port());
    closer.Begin("POST", page_ + "close");
    WebClient poster(web_.port());
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(poster.Post(page_ + "post", kVersionMessage).status, 202);
    client_.Post("/tv", R"({"tv":"restore"})");
    EXPECT_EQ(waiting.Finish().status, 200);
    EXPECT_EQ(closer.Finish().status, 204);
    const std::string next = web_.OpenPage();
    EXPECT_TRUE(poster.IsQuiet());
    EXPECT_EQ(poster.Post(next + "await", kVersionMessage).body, kVersionReply);
}

TEST_F(WebServer, APageThatIsReplacedNeverFindsTheTvFree)
{
    WebListener replaced(web_.port(), page_ + "messages");
    const Json::Int64 number = State()["page"].asInt64();
    client_.Post("/tv", R"({"tv":"answer","call":"device_power_subscribe_poweroff","delay":600000})");
    WebClient opening(web_.port());
    opening.Begin("POST", "/page/open");
    EXPECT_EQ(replaced.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(State()["page"], number + 1);
    client_.Post("/tv", R"({"tv":"restore"})");
    EXPECT_EQ(J(opening.Finish().body)["page"], number + 1);
}

TEST_F(WebServer, AConnectionMayEndBeforeTheTurnThatAnsweredIt)
{
    client_.Post(page_ + "await", R"({"command":"RegisterEvent","event":90019})");
    const auto count_descriptors = [] {
        const std::filesystem::directory_iterator open("/proc/self/fd");
        return std::distance(begin(open), end(open));
    };
    const auto before = count_descriptors();
    // The channel's event comes after the reply, in the same turn, and holds it up.
    client_.Post(
        "/tv", R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","result":0,"delay":600000})");
    const WebReply reply =
        WebClient(web_.port())
            .Post(page_ + "await", R"({"command":"SetServiceByServiceid","Serviceid":"1002"})");
    EXPECT_EQ(J(reply.body)["code"], 0);
    WaitFor([&] { return count_descriptors() <= before; });
    EXPECT_EQ(client_.Post("/tv", R"({"tv":"restore"})").body, R"({"did":"restore"})");
}

TEST_F(WebServer, AFailureInATurnIsAnsweredAndTheHostGoesOn)
{
    const std::string get = R"({"command":"GetIntegerFromVconfWithKey","key":"k"})";
    // Where it comes up, and what is thrown there: on the plug-in's thread, and on its worker thread.
    for (const char* call : {"TVServiceAPI::CreateSignalSubscriber", "vconf_get_int"}) {
        for (const bool is_standard : {true, false}) {
            const Json::Int64 number = J(client_.Post("/page/open").body)["page"].asInt64();
            const auto path = [](Json::Int64 page) { return "/page/" + std::to_string(page) + '/'; };
            const bool opens = call != std::string("vconf_get_int");
            if (opens)
                client_.Post(path(number) + "close");
            {
                const auto failing = tv::TheJournal().ListenToCalls([=](const tv::SharedCall& made) {
                    if (made->name != std::string(call))
                        return;
                    if (is_standard)
                        throw std::runtime_error("the listener failed");
                    throw 7;
                });
                const WebReply reply =
                    opens ? client_.Post("/page/open") : client_.Post(path(number) + "await", get);
                EXPECT_EQ(reply.status, 500) << call << is_standard << reply.body;
                if (is_standard) {
                    EXPECT_EQ(reply.body, R"({"error":"the listener failed"})");
                }
                EXPECT_TRUE(reply.keeps_alive);
                if (opens) {
                    EXPECT_TRUE(State()["page"].isNull());
                } else {
                    // A post has had its answer.
                    EXPECT_EQ(client_.Post(path(number) + "post", get).status, 202);
                }
            }
            const Json::Int64 page = opens ? number + 1 : number;
            if (opens) {
                EXPECT_EQ(J(client_.Post("/page/open").body)["page"], page);
            }
            EXPECT_EQ(client_.Post(path(page) + "await", kVersionMessage).body, kVersionReply);
        }
    }
}

TEST(WebHost, AnswersWhatWaitsWhenItEnds)
{
    struct Waiting {
        std::unique_ptr<WebClient> client;
        std::string path;
    };
    std::vector<Waiting> all;
    {
        const Web web;
        const std::string page = web.OpenPage();
        WebClient client(web.port());
        client.Post("/tv", R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
        for (const auto& [path, body] : std::vector<std::pair<std::string, std::string>>{
                 {page + "await", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})"},
                 {page + "await", kVersionMessage},
                 {page + "close", ""},
                 {"/page/open", ""},
                 {"/tv", R"({"tv":"poweroff","type":1})"},
             }) {
            auto& waiting = all.emplace_back(Waiting{std::make_unique<WebClient>(web.port()), path});
            // Known to the server, it is read before what comes later.
            waiting.client->Get("/tv/state");
            waiting.client->Begin("POST", path, body);
        }
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(client.Get("/tv/state").status, 200);
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        const WebReply reply = all[i].client->Finish();
        EXPECT_EQ(reply.status, i == 0 ? 200 : 503) << all[i].path << reply.body;
        EXPECT_FALSE(i == 0 && J(reply.body)["code"] != 9999) << reply.body;
    }
}

TEST(WebAnswer, IsAnErrorWhenItIsDropped)
{
    host::WebServer server("127.0.0.1", 0, {});
    std::thread later;
    server.Start({[&later](const host::WebRequest& request, host::WebServer::Answer answer) {
                      if (request.path == "/later")
                          later = std::thread([dropped = std::move(answer)] {});
                      else if (request.path == "/given")
                          answer(host::ErrorResponse(418, "given"));
                  },
                  [](const host::WebRequest&) { return host::ErrorResponse(404, "nothing"); }});
    WebClient client(server.port());
    for (const auto& [path, status] :
         std::map<std::string, int>{{"/at-once", 500}, {"/given", 418}, {"/later", 500}}) {
        const WebReply reply = client.Get(path);
        EXPECT_EQ(reply.status, status) << path;
        EXPECT_TRUE(J(reply.body)["error"].isString() && reply.keeps_alive) << path;
    }
    EXPECT_TRUE(client.IsQuiet());
    server.Stop();  // before, the server's thread may be assigning what is joined
    later.join();
}

TEST(WebFiles, NothingOutsideOfTheFoldersIsFound)
{
    const test::TemporaryFolder outside;
    const std::string secret = outside.Write("secret.txt", "secret");
    const test::TemporaryFolder folder;
    namespace fs = std::filesystem;
    const fs::path app = folder / "app";
    for (const char* name : {"app/sub folder", "app/empty", "app/demo", "app-beside"})
        fs::create_directories(folder / name);
    for (const auto& [name, text] :
         std::map<std::string, std::string>{{"app/index.html", "own page"},
                                            {"app/zelumo-embed.js", "not this one"},
                                            {"app/demo/index.html", "not this one"},
                                            {"app/demo/own.txt", "own"},
                                            {"app/noextension", "?"},
                                            {"app/sub folder/index.html", "sub"},
                                            {"app/sub folder/ü+%.css", "style"},
                                            {"app/.env", "secret"},
                                            {"app/video.MP4", "video"},
                                            {"app-beside/x.txt", "secret"},
                                            {"beside.txt", "secret"}})
        folder.Write(name, text);
    fs::create_symlink(secret, app / "escape.txt");
    fs::create_directory_symlink(outside / "", app / "escape");
    fs::create_symlink("sub folder/index.html", app / "inside.html");
    fs::create_symlink("../app-beside/x.txt", app / "beside.txt");
    ASSERT_EQ(mkfifo((app / "pipe").c_str(), 0600), 0);

    host::ServeOptions options;
    options.app = app;
    const Web web(options);
    WebClient client(web.port());
    struct Case {
        const char* path;
        int status;
        const char* type;
        const char* body;  // its beginning
    };
    for (const Case& c : {
             Case{"/", 200, "text/html; charset=utf-8", "own page"},
             Case{"/?x=/../", 200, "text/html; charset=utf-8", "own page"},
             Case{"/demo/", 200, "text/html; charset=utf-8", "<!doctype html>"},
             Case{"/demo/main.js", 200, "text/javascript; charset=utf-8", "import"},
             Case{"/demo/icon.svg", 200, "image/svg+xml", "<svg"},
             Case{"/demo/own.txt", 200, "text/plain; charset=utf-8", "own"},
             Case{"/zelumo-embed.js", 200, "text/javascript; charset=utf-8", "// Stands in"},
             Case{"/zelumo.d.ts", 200, "text/plain; charset=utf-8", "//"},
             Case{"/page-api.json", 200, "application/json", "{"},
             Case{"/sub%20folder/", 200, "text/html; charset=utf-8", "sub"},
             Case{"/sub%20folder/%c3%BC+%25.css", 200, "text/css; charset=utf-8", "style"},
             Case{"/inside.html", 200, "text/html; charset=utf-8", "sub"},
             Case{"/video.MP4", 200, "video/mp4", "video"},
             Case{"/noextension", 200, "application/octet-stream", "?"},
             Case{"/demo", 301, "/demo/", ""},
             Case{"/sub%20folder", 301, "/sub%20folder/", ""},
         }) {
        const WebReply reply = client.Get(c.path);
        ASSERT_EQ(reply.status, c.status) << c.path << ": " << reply.body;
        const std::string begins = c.body;
        EXPECT_EQ(reply.body.substr(0, begins.size()), begins) << c.path;
        EXPECT_EQ(reply.Header(c.status == 301 ? "location" : "content-type"), c.type) << c.path;
        EXPECT_EQ(reply.Header("cache-control"), "no-cache") << c.path;
        const WebReply head = client.Send("HEAD", c.path);
        EXPECT_EQ(head.status, c.status) << c.path;
        EXPECT_EQ(head.Header("content-length"), reply.Header("content-length")) << c.path;
    }
    for (const char* path :
         {"/empty/", "/index.html/", "/escape.txt", "/escape/secret.txt", "/beside.txt", "/pipe", "/.env",
          "/%2eenv", "/../beside.txt", "/%2e%2e/beside.txt", "/..%2fbeside.txt",
          "/demo/%2e%2E%2f%2e%2e%2fbeside.txt", "/%252e%252e/beside.txt", "//etc/passwd", "/%2fetc/passwd",
          "/index.html%00.css", "/index%2", "/sub%2zfolder/"}) {
        const WebReply reply = client.Get(path);
        EXPECT_EQ(reply.status, 404) << path;
        EXPECT_TRUE(J(reply.body)["error"].isString()) << path << ": " << reply.body;
    }
}

}  // namespace
