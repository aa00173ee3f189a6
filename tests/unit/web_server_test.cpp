#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Text;
using test::Web;
using test::WebClient;
using test::WebListener;
using test::WebReply;
using Lines = std::vector<std::string>;

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

TEST(WebServer, RequestsAreAnsweredAsAgreed)
{
    const Web web;
    const std::string closed = web.OpenPage();
    const std::string page = web.OpenPage();
    struct Case {
        const char* method;
        std::string path;
        std::string body;
        int status;
        std::string answer;  // whole, or its beginning where it ends in "…"
    };
    WebClient client(web.port());
    for (const Case& c : {
             Case{"POST", page + "await", kVersionMessage, 200, kVersionReply},
             Case{"POST", page + "await", " {\n\"command\" :\t\"GetVersion\"} ", 200, kVersionReply},
             Case{"POST", page + "await", "7", 200, R"({"code":26,…)"},
             Case{"POST", page + "await?x=1", kVersionMessage, 200, kVersionReply},
             Case{"POST", page + "post", kVersionMessage, 202, ""},
             Case{"POST", page + "await", "", 400, R"({"error":"not JSON: …)"},
             Case{"POST", page + "await", "{\"command\":", 400, R"({"error":"not JSON: …)"},
             Case{"POST", page + "post", "'x'", 400, R"({"error":"not JSON: …)"},
             Case{"POST", page + "await", "\"\xff\"", 400, R"({"error":"not UTF-8"})"},
             Case{"POST", page + "await", Nested(64), 200, R"({"code":26,…)"},
             Case{"POST", page + "await", Nested(65), 400, R"({"error":"nested too deeply"})"},
             Case{"POST", page + "post", Nested(50000), 400, R"({"error":"nested too deeply"})"},
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
             Case{"POST", "/page/", "", 404, R"({"error":"there is nothing …)"},
             Case{"POST", "/tv", R"({"tv":"poweroff","type":1})", 200,
                  R"({"did":"poweroff","delivered":1,"results":[0]})"},
             Case{"POST", "/tv", R"({"tv":"advance","ms":1})", 400,
                  R"({"error":"time passes by itself here"})"},
             Case{"POST", "/tv", R"({"tv":"close"})", 400, R"({"error":"pages come and go …)"},
             Case{"POST", "/tv", R"({"tv":"open"})", 400, R"({"error":"pages come and go …)"},
             Case{"POST", "/tv", R"({"tv":"dance"})", 400, R"({"error":"there is no verb \"dance\""})"},
             Case{"POST", "/tv", R"({"tv":"event"})", 400, R"({"error":"verb \"event\": …)"},
             Case{"POST", "/tv", R"({"tv":"restore","call":"dance"})", 400,
                  R"({"error":"verb \"restore\": …)"},
             Case{"POST", "/tv", R"({"tv":7})", 400, R"({"error":"expected {\"tv\": VERB, …}"})"},
             Case{"POST", "/tv", R"(["tv"])", 400, R"({"error":"expected {\"tv\": VERB, …}"})"},
             Case{"POST", "/tv", kVersionMessage, 400, R"({"error":"expected {\"tv\": VERB, …}"})"},
             Case{"POST", "/tv", "x", 400, R"({"error":"not JSON: …)"},
             Case{"PUT", "/tv", "{}", 405, R"({"error":"only POST"})"},
             Case{"POST", "/tv/state", "", 405, R"({"error":"only GET"})"},
             Case{"GET", "/journal", "", 400, R"({"error":"the journal is a WebSocket"})"},
             Case{"GET", "/dance", "", 404, R"({"error":"there is nothing at /dance"})"},
             Case{"POST", "/dance", "", 404, R"({"error":"there is nothing at /dance"})"},
             Case{"POST", "/", "", 405, R"({"error":"only GET, HEAD"})"},
             Case{"DELETE", "/zelumo-embed.js", "", 405, R"({"error":"only GET, HEAD"})"},
             Case{"POST", page + "close", "", 204, ""},
             Case{"POST", page + "await", kVersionMessage, 410, R"({"error":"page …)"},
         }) {
        const WebReply reply = client.Send(c.method, c.path, c.body);
        const std::string shown = std::string(c.method) + ' ' + c.path + ' ' + c.body.substr(0, 60);
        EXPECT_EQ(reply.status, c.status) << shown << ": " << reply.body;
        const std::string ellipsis = "…";
        const std::size_t whole = c.answer.size() - std::min(c.answer.size(), ellipsis.size());
        const bool is_beginning = c.answer.compare(whole, std::string::npos, ellipsis) == 0;
        EXPECT_EQ(is_beginning ? reply.body.substr(0, whole) : reply.body,
                  is_beginning ? c.answer.substr(0, whole) : c.answer)
            << shown;
        EXPECT_TRUE(reply.keeps_alive) << shown;
        if (reply.status == 405) {
            EXPECT_NE(reply.body.find("only " + reply.Header("allow")), std::string::npos) << shown;
        }
    }
}

TEST(WebServer, ABodyOverTheLimitIsReadToItsEndAndRefused)
{
    const Web web;
    const std::string page = web.OpenPage();
    const std::string too_large = R"({"error":"the body is larger than 1048576 bytes"})";
    WebClient client(web.port());
    const auto text_of = [](std::size_t bytes) { return '"' + std::string(bytes - 2, 'x') + '"'; };
    EXPECT_EQ(client.Post(page + "await", text_of(kMebibyte)).status, 200);
    for (const std::size_t bytes : {kMebibyte + 1, 20 * kMebibyte}) {
        const WebReply reply = client.Post(page + "await", text_of(bytes));
        EXPECT_EQ(reply.status, 413) << bytes;
        EXPECT_EQ(reply.body, too_large);
        EXPECT_TRUE(reply.keeps_alive);
    }
    const test::Headers chunked{{"Transfer-Encoding", "chunked"}};
    EXPECT_EQ(client.Send("POST", page + "await", kVersionMessage, chunked).body, kVersionReply);
    EXPECT_EQ(client.Send("POST", page + "await", text_of(3 * kMebibyte), chunked).status, 413);
    EXPECT_EQ(client.Post(page + "await", kVersionMessage).body, kVersionReply) << "it goes on";

    // Who asks whether to send the body is told no before it is sent.
    const std::string head = "POST " + page +
                             "await HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(web.port()) +
                             "\r\nExpect: 100-continue\r\nContent-Length: ";
    EXPECT_EQ(WebClient(web.port()).SendBytes(head + "5000000\r\n\r\n").status, 413);
    EXPECT_EQ(WebClient(web.port()).SendBytes(head + "2\r\n\r\n").status, 100);
}

TEST(WebServer, WhatIsNotHttpIsRefused)
{
    const Web web;
    const std::string host = "Host: 127.0.0.1:" + std::to_string(web.port()) + "\r\n";
    struct Case {
        std::string bytes;
        int status;
    };
    for (const Case& c : {
             Case{"nonsense\r\n\r\n", 400},
             Case{"GET / HTTP/1.1\r\n" + host + "No colon\r\n\r\n", 400},
             Case{"POST /tv HTTP/1.1\r\n" + host + "Content-Length: x\r\n\r\n", 400},
             Case{"GET / HTTP/1.1\r\n" + host + "Long: " + std::string(20000, 'x') + "\r\n\r\n", 431},
             Case{"GET http://127.0.0.1/ HTTP/1.1\r\n" + host + "\r\n", 404},
         }) {
        const WebReply reply = WebClient(web.port()).SendBytes(c.bytes);
        EXPECT_EQ(reply.status, c.status) << c.bytes.substr(0, 80);
        EXPECT_TRUE(J(reply.body)["error"].isString()) << reply.body;
    }
}

TEST(WebServer, WhatComesFromElsewhereIsRefused)
{
    const Web web;
    const std::string port = std::to_string(web.port());
    const std::string page = web.OpenPage();
    struct Case {
        test::Headers headers;
        bool is_own;
    };
    for (const Case& c : {
             Case{{}, true},
             Case{{{"Host", "localhost:" + port}}, true},
             Case{{{"Host", "LocalHost:" + port}, {"Origin", "http://localhost:" + port}}, true},
             Case{{{"Origin", "http://127.0.0.1:" + port}}, true},
             Case{{{"Host", "127.0.0.1"}}, false},
             Case{{{"Host", "127.0.0.1:1"}}, false},
             Case{{{"Host", "127.0.0.2:" + port}}, false},
             Case{{{"Host", "elsewhere.example:" + port}}, false},
             Case{{{"Host", ""}}, false},
             Case{{{"Origin", "null"}}, false},
             Case{{{"Origin", ""}}, false},
             Case{{{"Origin", "http://127.0.0.1"}}, false},
             Case{{{"Origin", "http://127.0.0.1:1"}}, false},
             Case{{{"Origin", "https://127.0.0.1:" + port}}, false},
             Case{{{"Origin", "http://elsewhere.example"}}, false},
             Case{{{"Origin", "http://127.0.0.1:" + port + ".elsewhere.example"}}, false},
         }) {
        std::string shown;
        for (const auto& [name, value] : c.headers)
            shown += name + ": " + value + ' ';
        WebClient client(web.port());
        EXPECT_EQ(client.Send("GET", "/", "", c.headers).status, c.is_own ? 200 : 403) << shown;
        EXPECT_EQ(client.Send("POST", page + "await", kVersionMessage, c.headers).status,
                  c.is_own ? 200 : 403)
            << shown;
        for (const std::string& path : {std::string("/journal"), page + "messages"})
            EXPECT_EQ(WebListener(web.port(), path, c.headers).status(), c.is_own ? 101 : 403) << shown;
    }
    const std::string own = "Host: 127.0.0.1:" + port + "\r\n";
    EXPECT_EQ(WebClient(web.port()).SendBytes("GET / HTTP/1.1\r\n" + own + own + "\r\n").status, 403);
    EXPECT_EQ(WebClient(web.port()).SendBytes("GET / HTTP/1.1\r\n\r\n").status, 403);
    EXPECT_EQ(WebClient(web.port()).SendBytes("GET / HTTP/1.0\r\n\r\n").status, 403);
}

TEST(WebServer, MessagesArriveInOrderAndWaitForTheirListener)
{
    const Web web;
    const std::string page = web.OpenPage();
    WebClient client(web.port());
    constexpr int kCount = 300;
    const auto post = [&](int from) {
        for (int i = from; i < from + kCount; ++i)
            ASSERT_EQ(client.Post(page + "post", R"({"command":"m)" + std::to_string(i) + "\"}").status, 202);
    };
    const auto expect = [](WebListener& listener, int from) {
        for (int i = from; i < from + kCount; ++i)
            ASSERT_EQ(listener.Read(), RefusedMessage("m" + std::to_string(i)));
    };
    post(0);
    EXPECT_EQ(client.Post(page + "await", kVersionMessage).body, kVersionReply);
    {
        WebListener listener(web.port(), page + "messages");
        expect(listener, 0);
        WebListener second(web.port(), page + "messages");
        listener.Send("nobody cares");
        post(kCount);
        expect(listener, kCount);
        expect(second, kCount);
    }
    post(2 * kCount);
    WebListener again(web.port(), page + "messages");
    // What was under way to listeners that had gone can be lost; what came after is there.
    post(3 * kCount);
    std::string text;
    for (text = again.Read(); text != RefusedMessage("m" + std::to_string(4 * kCount - 1));)
        text = again.Read();
}

TEST(WebServer, ATvBelongsToThePageThatCameLast)
{
    const Web web;
    WebClient client(web.port());
    const auto events = [&] { return Text(J(client.Get("/tv/state").body)["subscriptions"]["events"]); };
    EXPECT_TRUE(J(client.Get("/tv/state").body)["page"].isNull());
    const std::string first = web.OpenPage();
    EXPECT_EQ("/page/" + J(client.Get("/tv/state").body)["page"].asString() + '/', first);
    WebListener listener(web.port(), first + "messages");
    client.Post(first + "await", R"({"command":"RegisterEvent","event":90019})");
    EXPECT_EQ(events(), "[90019]");
    client.Post(first + "post", R"({"command":"last"})");

    const std::string second = web.OpenPage();
    // cppcheck-suppress knownConditionTrueFalse ; opening a page changes what it gives next
    EXPECT_NE(first, second);
    EXPECT_EQ(events(), "[]") << "the earlier page's instance is gone";
    EXPECT_EQ(listener.Read(), RefusedMessage("last"));
    EXPECT_EQ(listener.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(WebListener(web.port(), first + "messages").status(), 410);
    EXPECT_EQ(WebListener(web.port(), "/page/1/messages").status(), 404);
    EXPECT_EQ(WebListener(web.port(), "/page//messages").status(), 404);
    EXPECT_EQ(WebListener(web.port(), "/messages").status(), 404);

    WebListener other(web.port(), second + "messages");
    EXPECT_EQ(client.Send("POST", first + "close", "", {{"Content-Type", "text/plain"}}).status, 410);
    EXPECT_EQ(client.Post(second + "await", kVersionMessage).body, kVersionReply)
        << "a late close leaves the new page alone";
    EXPECT_EQ(client.Send("POST", second + "close", "", {{"Content-Type", "text/plain"}}).status, 204);
    EXPECT_EQ(other.ReadToEnd(), "the page was closed");
    EXPECT_TRUE(J(client.Get("/tv/state").body)["page"].isNull());
}

TEST(WebServer, TheJournalShowsLinesAsTheyHappen)
{
    const Web web;
    const std::string page = web.OpenPage();
    WebClient client(web.port());
    tv::Journal& core = tv::Tv::Get().journal();
    EXPECT_FALSE(core.calls_heard() || core.log_heard()) << "nobody listens, so nothing is collected";
    {
        WebListener journal(web.port(), "/journal");
        client.Post(page + "await", R"({ "command": "AddVconfCallbackWithKey", "key": "k" })");
        client.Post("/tv", R"({"tv":"setting","key":"k","value":1})");
        client.Post("/tv", R"({"tv":"setting"})");
        client.Post(page + "post", kVersionMessage);
        client.Post(page + "close");
        Lines lines;
        for (std::string line; line != R"({"did":"close"})";) {
            line = journal.Read();
            const Json::Value json = J(line);
            if (json.isMember("log"))
                line = "log";
            else if (json.isMember("call"))
                line = "call " + json["call"].asString();
            lines.push_back(line);
        }
        const bool has_log = std::find(lines.begin(), lines.end(), "log") != lines.end();
        lines.erase(std::remove(lines.begin(), lines.end(), "log"), lines.end());
        const Lines expected{
            R"({"await":{ "command": "AddVconfCallbackWithKey", "key": "k" }})",
            "call vconf_notify_key_changed",
            R"({"reply":{"code":0,"data":null}})",
            R"({"tv":"setting","key":"k","value":1})",
            R"({"message":{"code":0,"command":"k","data":"k","errorMessage":"","errorName":""}})",
            R"({"did":"setting","delivered":1})",
            R"({"tv":"setting"})",
            R"({"error":"verb \"setting\": \"key\" is missing"})",
            R"({"post":{"command":"GetVersion"}})",
            R"({"message":)" + RefusedMessage("GetVersion") + "}",
            R"({"tv":"close"})",
        };
        EXPECT_TRUE(has_log);
        ASSERT_GT(lines.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(lines[i], expected[i]);
        EXPECT_EQ(lines[expected.size()].substr(0, 5), "call ") << "what the instance does at its end";
    }
    WaitFor([&] { return !core.calls_heard() && !core.log_heard(); });
}

TEST(WebServer, ASlowListenerIsDroppedAndHoldsUpNobody)
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

TEST(WebServer, TwoHundredListenersHearTheSame)
{
    const Web web;
    const std::string page = web.OpenPage();
    std::vector<WebListener> listeners;
    for (int i = 0; i < 200; ++i)
        listeners.emplace_back(web.port(), page + "messages");
    WebClient client(web.port());
    for (int i = 0; i < 20; ++i)
        client.Post(page + "post", R"({"command":"m)" + std::to_string(i) + "\"}");
    client.Post(page + "close");
    for (WebListener& listener : listeners) {
        for (int i = 0; i < 20; ++i)
            ASSERT_EQ(listener.Read(), RefusedMessage("m" + std::to_string(i)));
        EXPECT_EQ(listener.ReadToEnd(), "the page was closed");
    }
}

TEST(WebServer, RestoreCutsADelayedCallShort)
{
    for (const char* restore : {R"({"tv":"restore"})", R"({"tv":"restore","call":"vconf_get_int"})"}) {
        const Web web;
        const std::string page = web.OpenPage();
        WebClient client(web.port());
        client.Post("/tv", R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
        const std::string message = R"({"command":"GetIntegerFromVconfWithKey","key":"k"})";
        WebListener journal(web.port(), "/journal");
        std::thread waiting([&] {
            const WebReply reply = WebClient(web.port()).Post(page + "await", message);
            EXPECT_EQ(J(reply.body)["code"], 9999) << "the call was answered, only sooner";
        });
        while (journal.Read().find("\"await\"") == std::string::npos) {
        }
        // Answered although the plug-in is busy.
        EXPECT_EQ(J(client.Get("/tv/state").body)["answers"].size(), 1U);
        EXPECT_EQ(client.Post(page + "post", kVersionMessage).status, 202);
        EXPECT_EQ(client.Post("/tv", restore).body, R"({"did":"restore"})");
        EXPECT_EQ(J(client.Get("/tv/state").body)["answers"].size(), 0U);
        waiting.join();
    }
}

TEST(WebServer, StoppingCutsADelayedCallShort)
{
    std::thread waiting;
    {
        const Web web;
        const std::string page = web.OpenPage();
        WebClient client(web.port());
        client.Post("/tv", R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
        WebListener journal(web.port(), "/journal");
        const std::uint16_t port = web.port();
        waiting = std::thread([port, page] {
            const WebReply reply =
                WebClient(port).Post(page + "await", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})");
            EXPECT_EQ(J(reply.body)["code"], 9999);
        });
        while (journal.Read().find("\"await\"") == std::string::npos) {
        }
    }
    waiting.join();
}

TEST(WebFiles, NothingOutsideOfTheFoldersIsFound)
{
    const test::TemporaryFolder outside;
    const std::string secret = outside.Write("secret.txt", "secret");
    const test::TemporaryFolder folder;
    namespace fs = std::filesystem;
    const fs::path app = folder / "app";
    fs::create_directories(app / "sub folder");
    fs::create_directories(app / "empty");
    fs::create_directories(app / "demo");
    fs::create_directories(folder / "app-beside");
    folder.Write("beside.txt", "secret");
    folder.Write("app-beside/x.txt", "secret");
    for (const auto& [name, text] : std::vector<std::pair<std::string, std::string>>{
             {"app/index.html", "own page"},
             {"app/zelumo-embed.js", "not this one"},
             {"app/demo/index.html", "not this one"},
             {"app/demo/own.txt", "own"},
             {"app/sub folder/index.html", "sub"},
             {"app/sub folder/ü+%.css", "style"},
             {"app/.env", "secret"},
             {"app/video.MP4", "video"},
             {"app/noextension", "?"},
         })
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
             Case{"/index.html", 200, "text/html; charset=utf-8", "own page"},
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
             Case{"/empty/", 404, nullptr, nullptr},
             Case{"/index.html/", 404, nullptr, nullptr},
             Case{"/escape.txt", 404, nullptr, nullptr},
             Case{"/escape/secret.txt", 404, nullptr, nullptr},
             Case{"/beside.txt", 404, nullptr, nullptr},
             Case{"/pipe", 404, nullptr, nullptr},
             Case{"/.env", 404, nullptr, nullptr},
             Case{"/%2eenv", 404, nullptr, nullptr},
             Case{"/../beside.txt", 404, nullptr, nullptr},
             Case{"/demo/../../beside.txt", 404, nullptr, nullptr},
             Case{"/%2e%2e/beside.txt", 404, nullptr, nullptr},
             Case{"/..%2fbeside.txt", 404, nullptr, nullptr},
             Case{"/demo/%2e%2E%2f%2e%2e%2fbeside.txt", 404, nullptr, nullptr},
             Case{"/%252e%252e/beside.txt", 404, nullptr, nullptr},
             Case{"//etc/passwd", 404, nullptr, nullptr},
             Case{"/%2fetc/passwd", 404, nullptr, nullptr},
             Case{"/index.html%00.css", 404, nullptr, nullptr},
             Case{"/index%2", 404, nullptr, nullptr},
             Case{"/index%zz.html", 404, nullptr, nullptr},
         }) {
        const WebReply reply = client.Get(c.path);
        ASSERT_EQ(reply.status, c.status) << c.path << ": " << reply.body;
        if (c.status == 404) {
            EXPECT_TRUE(J(reply.body)["error"].isString()) << c.path;
            continue;
        }
        const std::string begins = c.body;
        EXPECT_EQ(reply.body.substr(0, begins.size()), begins) << c.path;
        EXPECT_EQ(reply.Header(c.status == 301 ? "location" : "content-type"), c.type) << c.path;
        EXPECT_EQ(reply.Header("cache-control"), "no-cache") << c.path;
        const WebReply head = client.Send("HEAD", c.path);
        EXPECT_EQ(head.status, c.status) << c.path;
        EXPECT_EQ(head.Header("content-length"), reply.Header("content-length")) << c.path;
    }
}

}  // namespace
