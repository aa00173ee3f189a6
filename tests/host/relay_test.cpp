// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"
#include "tvhost/recording_marks.h"
#include "tvhost/web/relay_address.h"

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMany = 10'000;

std::vector<std::string> With(std::vector<std::string> arguments)
{
    arguments.insert(arguments.end(), {"--relay", "127.0.0.1"});
    return arguments;
}

/// A host that lets a real TV in.
struct Desk {
    explicit Desk(const std::vector<std::string>& more = {}) : server(With(more)), client(server.port())
    {
        const std::string line = server.NextLine();
        const std::string url = line.substr(line.find("http://127.0.0.1:") + 17);
        port = static_cast<std::uint16_t>(std::stoi(url));
        path = url.substr(url.find('/'));
    }
    std::string State() { return J(client.Get("/tv/state").body)["relay"].asString(); }
    ServeProcess server;
    WebClient client;
    std::uint16_t port = 0;  ///< the relay's
    std::string path;        ///< "/SECRET/"
};

/// A real TV, as far as the relay can tell.
struct Tv {
    explicit Tv(Desk& desk, const std::string& plugin = "ready") : socket(desk.port, desk.path + "tv")
    {
        socket.Send(R"({"plugin":")" + plugin + "\"}");
        EXPECT_TRUE(ComesTrue([&] { return desk.State() == plugin; })) << desk.State();
    }
    /// Answers what is asked next; what was asked.
    std::string Answer(const std::string& reply)
    {
        const Json::Value asked = J(socket.Read());
        socket.Send(R"({"id":)" + asked["id"].asString() + R"(,"reply":)" + reply + '}');
        return Text(asked["await"]);
    }
    WebListener socket;
};

/// A page that has a real TV, by way of a desk that records.
class Relayed : public testing::Test {
  protected:
    Relayed() { EXPECT_EQ(tv.socket.Read(), R"({"page":"open"})"); }
    /// Has the page ask, and the TV answer; what the page gets.
    std::string Ask(const std::string& message, const std::string& reply)
    {
        page.client.Begin("POST", page.path + "await", message);
        EXPECT_EQ(tv.Answer(reply), message);
        return page.client.Finish().body;
    }

    const TemporaryFolder folder;
    const std::string recording = (folder / "tv.jsonl").string();
    Desk desk{{"--record", recording}};
    Tv tv{desk};
    WebPage page{desk.server.port()};
};

TEST(Relay, ReadsAddresses)
{
    for (const auto& [text, address, port] : std::vector<std::tuple<const char*, std::string, int>>{
             {"192.168.1.5", "192.168.1.5", 0},
             {"192.168.1.5:8048", "192.168.1.5", 8048},
             {"localhost:1", "127.0.0.1", 1},
             {"fd00::5", "fd00::5", 0},
             {"[fd00::5]", "fd00::5", 0},
             {"[fd00::5]:65535", "fd00::5", 65535},
         }) {
        host::RelayAddress read;
        EXPECT_EQ(host::ReadRelayAddress(text, read), "") << text;
        EXPECT_EQ(read.address, address);
        EXPECT_EQ(read.port, port) << text;
    }
    for (const char* text : {"0.0.0.0:80", "[::]:80", "192.168.1.5:", "192.168.1.5:65536", "192.168.1.5:80x",
                             "[fd00::5", "tv.example:80", ":80", ""}) {
        host::RelayAddress read;
        EXPECT_NE(host::ReadRelayAddress(text, read), "") << text;
    }
    // What only a stand-in or the plug-in has a use for.
    for (const char* option : {"--tv x", "--plugin x", "--settings x", "--trace x", "--speed 1",
                               "--date file", "--scenario x", "--media browser"}) {
        EXPECT_EQ(RefusalFault(std::string("serve --relay 127.0.0.1 ") + option, "excludes"), "") << option;
    }
}

TEST(Relay, WithoutTheSecretThereIsNothing)
{
    Desk desk;
    ASSERT_EQ(desk.path.size(), 34U) << desk.path;
    std::string wrong = desk.path;
    wrong[32] = wrong[32] == '0' ? '1' : '0';
    const auto expect_nothing = [&desk](const std::string& method, const std::string& path,
                                        const Headers& headers = {}) {
        const WebReply reply = WebClient(desk.port).Send(method, path, "", headers);
        EXPECT_EQ(reply.status, 404) << method << ' ' << path;
        EXPECT_EQ(reply.body, method == "HEAD" ? "" : R"({"error":"there is nothing"})")
            << method << ' ' << path;
    };
    for (const char* method : {"GET", "HEAD", "POST", "PUT", "OPTIONS", "DELETE"}) {
        for (const std::string& path :
             {std::string("/"), wrong, wrong + "relay.js", wrong + "tv", std::string("/relay/relay.html"),
              std::string("//"), std::string("/tv/state"), desk.path.substr(0, 33),
              desk.path.substr(0, 32) + '/', desk.path + "relay.html", desk.path + "../relay.js",
              '/' + desk.path, desk.path + "tv"})
            expect_nothing(method, path);
    }
    for (const char* method : {"POST", "PUT", "DELETE"})
        expect_nothing(method, desk.path);
    // Nor for who comes by another name, or from elsewhere, secret or not.
    const Headers elsewhere{{"Host", "127.0.0.1:" + std::to_string(desk.port)},
                            {"Origin", "http://elsewhere.example"}};
    for (const Headers& headers : {Headers{{"Host", "elsewhere.example"}}, elsewhere}) {
        expect_nothing("GET", desk.path, headers);
        expect_nothing("POST", wrong, headers);
    }
    // Nor for what no server would take.
    expect_nothing("GET", wrong, {{"X", std::string(20'000, 'x')}});
    expect_nothing("POST", wrong, {{"Transfer-Encoding", "gzip"}});
    expect_nothing("POST", wrong, {{"Content-Length", "3000000"}});
    expect_nothing("POST", wrong, {{"Expect", "100-continue"}});
    for (const std::string& path : {wrong + "tv", desk.path, desk.path + "relay.js", std::string("/journal")})
        EXPECT_EQ(WebListener(desk.port, path).status(), 404) << path;
    EXPECT_EQ(WebListener(desk.port, desk.path + "tv", elsewhere).status(), 404);
    EXPECT_EQ(desk.State(), "waiting");
    EXPECT_EQ(desk.client.Get("/relay/relay.html").status, 404) << "the desk is no relay";

    for (const auto& [name, type] : {std::pair("", "text/html; charset=utf-8"),
                                     std::pair("relay.js", "text/javascript; charset=utf-8")}) {
        const WebReply reply = WebClient(desk.port).Get(desk.path + name);
        EXPECT_EQ(reply.status, 200) << name;
        EXPECT_EQ(reply.Header("content-type"), type);
    }
}

TEST(Relay, TheDesksOwnPagesAloneLearnTheSecret)
{
    Desk desk({"--allow-origin", "http://localhost:5173"});
    const auto ask = [&](const std::string& path, const Headers& headers) {
        return desk.client.Send("GET", path, "", headers);
    };
    const std::string address = "http://127.0.0.1:" + std::to_string(desk.port) + desk.path;
    EXPECT_EQ(J(ask("/tv/relay", {}).body)["address"], address);
    const Headers guest{{"Origin", "http://localhost:5173"}};
    EXPECT_EQ(ask("/tv/relay", guest).status, 403);
    for (const std::string& path :
         {std::string("/tv/relay"), std::string("/tv/state"), std::string("/journal")})
        EXPECT_EQ(ask(path, guest).body.find(desk.path), std::string::npos) << path;
    EXPECT_EQ(WebClient(ServeProcess({}).port()).Get("/tv/relay").status, 404);
}

TEST_F(Relayed, WhatOnlyAStandInCanDoIsRefused)
{
    for (const char* verb :
         {R"({"tv":"event","event":1})", R"({"tv":"advance","ms":1})",
          R"({"tv":"setting","key":"k","value":1})", R"({"tv":"answer","call":"BmsPlay","result":-1})",
          kRestore, R"({"tv":"speed","factor":2})", R"({"tv":"at","ms":1,"do":{"tv":"key","key":"Enter"}})",
          R"({"tv":"nothing"})"}) {
        const WebReply reply = page.Do(verb);
        EXPECT_EQ(reply.status, 400) << verb;
        EXPECT_NE(reply.body.find("a real TV is behind the desk"), std::string::npos) << reply.body;
    }
    EXPECT_EQ(page.Do(R"({"tv":"key","key":"Enter"})").body, R"({"did":"key"})");
    EXPECT_EQ(page.Do(R"({"tv":"key","key":"Entre"})").status, 400);
    const Json::Value state = page.State();
    EXPECT_EQ(state.getMemberNames(), (std::vector<std::string>{"page", "relay"}));
    EXPECT_TRUE(state["page"].isInt64());
}

TEST_F(Relayed, ManyMessagesGoBothWaysInOrder)
{
    std::thread far([this] {
        for (int i = 0; i < kMany; ++i) {
            if (i % 10 == 9)
                EXPECT_EQ(tv.Answer(R"({"z":1,"a":[)" + std::to_string(i) + "]}"), std::to_string(i));
            else
                EXPECT_EQ(tv.socket.Read(), R"({"post":)" + std::to_string(i) + '}');
            tv.socket.Send(R"({"message":)" + std::to_string(i) + R"(,"of":1})");
        }
    });
    WebListener messages(desk.server.port(), page.path + "messages");
    for (int i = 0; i < kMany; ++i) {
        const WebReply reply = i % 10 == 9 ? page.Await(std::to_string(i)) : page.Post(std::to_string(i));
        // As it is written of a plug-in's own reply.
        EXPECT_EQ(reply.body, i % 10 == 9 ? R"({"a":[)" + std::to_string(i) + R"(],"z":1})" : "");
    }
    for (int i = 0; i < kMany; ++i)
        EXPECT_EQ(messages.Read(), std::to_string(i));
    far.join();
    // Large ones, too.
    const std::string large = '"' + std::string(1'000'000, 'x') + '"';
    EXPECT_EQ(Ask(large, large), large);
}

/// How a TV goes.
enum class Going { Closes, IsCutOff, FallsSilent };

TEST(Relay, ATvThatGoesFailsWhatItWasAskedAndMayComeBack)
{
    Desk desk;
    const auto open = [&desk] { return desk.client.Post("/page/open"); };
    EXPECT_EQ(open().status, 503);
    {
        const Tv missing(desk, "missing");
        EXPECT_NE(open().body.find("no plug-in"), std::string::npos);
    }
    EXPECT_TRUE(ComesTrue([&] { return desk.State() == "gone"; }));
    for (const Going going : {Going::Closes, Going::IsCutOff, Going::FallsSilent}) {
        SCOPED_TRACE(static_cast<int>(going));
        std::optional<Tv> tv(std::in_place, desk);
        WebPage page(desk.server.port());
        EXPECT_EQ(tv->socket.Read(), R"({"page":"open"})");
        WebListener messages(desk.server.port(), page.path + "messages");
        page.client.Begin("POST", page.path + "await", kVersionMessage);
        EXPECT_NE(tv->socket.Read().find("await"), std::string::npos);
        // This one waits for its turn.
        WebClient second(desk.server.port());
        second.Begin("POST", page.path + "await", kVersionMessage);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(desk.State(), "ready") << "what was sent before this has arrived";
        const Clock::time_point begin = Clock::now();
        if (going == Going::Closes)
            tv->socket.Send("not a frame of the relay's");
        else if (going == Going::IsCutOff)
            tv.reset();
        for (WebClient* const client : {&page.client, &second}) {
            const WebReply reply = client->Finish();
            EXPECT_EQ(reply.status, 502) << reply.body;
            EXPECT_NE(reply.body.find("the TV"), std::string::npos) << reply.body;
        }
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
        EXPECT_EQ(messages.ReadToEnd(), "the TV has gone");
        // No page has the TV any more.
        EXPECT_TRUE(ComesTrue([&] { return J(desk.client.Get("/tv/state").body)["page"].isNull(); }));
        EXPECT_EQ(desk.State(), "gone");
        EXPECT_EQ(open().status, 503);
        EXPECT_EQ(page.Await(kVersionMessage).status, 410);
    }
    Tv back(desk);
    WebPage page(desk.server.port());
    EXPECT_EQ(back.socket.Read(), R"({"page":"open"})");
    // Its plug-in can't be asked: that is told, and the TV stays.
    page.client.Begin("POST", page.path + "await", kVersionMessage);
    back.socket.Send(R"({"id":)" + J(back.socket.Read())["id"].asString() +
                     R"(,"error":"no such function"})");
    const WebReply reply = page.client.Finish();
    EXPECT_EQ(reply.status, 502);
    EXPECT_NE(reply.body.find("no such function"), std::string::npos) << reply.body;
    page.client.Begin("POST", page.path + "await", kVersionMessage);
    EXPECT_EQ(back.Answer("1"), kVersionMessage);
    EXPECT_EQ(page.client.Finish().body, "1");
}

TEST_F(Relayed, ThereIsRoomForOneTv)
{
    WebListener second(desk.port, desk.path + "tv");
    EXPECT_EQ(second.ReadToEnd(), "another TV is behind this desk already");
    EXPECT_EQ(Ask(kVersionMessage, "2"), "2");
    // Who doesn't say that it is one keeps no place.
    Desk other;
    WebListener silent(other.port, other.path + "tv");
    Tv last(other);
    other.client.Post("/page/open", "");
    EXPECT_EQ(last.socket.Read(), R"({"page":"open"})");
    EXPECT_EQ(silent.ReadToEnd(), "another TV has come, and this one has said nothing");
}

TEST_F(Relayed, WhatAnElementSaidThatWasReplacedIsNotForTheNextPage)
{
    const std::string second = desk.client.OpenPage();
    for (const char* frame : {R"({"page":"close"})", R"({"page":"open"})"})
        EXPECT_EQ(tv.socket.Read(), frame);
    WebListener messages(desk.server.port(), second + "messages");
    for (const char* frame : {R"({"message":1,"of":1})", R"({"id":7,"reply":1})", R"({"alive":true})",
                              R"({"message":2,"of":2})", R"({"message":3})"})
        tv.socket.Send(frame);
    EXPECT_EQ(messages.Read(), "2");
    EXPECT_EQ(messages.Read(), "3");
}

TEST_F(Relayed, TheHostEndsWhateverTheTvDoes)
{
    page.client.Begin("POST", page.path + "await", kVersionMessage);
    EXPECT_NE(tv.socket.Read().find("await"), std::string::npos);
    std::string reason;
    std::thread far([&] { reason = tv.socket.ReadToEnd(); });
    EXPECT_EQ(desk.server.End(SIGINT), 0);
    EXPECT_EQ(page.client.Finish().status, 503);
    far.join();
    EXPECT_EQ(reason, "the TV host ends");
}

TEST_F(Relayed, ARecordingSaysThatATvAnsweredAndHoldsAllThatItSaid)
{
    WebListener messages(desk.server.port(), page.path + "messages");
    WebListener runtime(desk.server.port(), page.path + "runtime");
    Ask(kVersionMessage, R"({"code":0})");
    tv.socket.Send(R"({"message":"by itself"})");
    EXPECT_EQ(messages.Read(), R"("by itself")");
    tv.socket.Send(R"({"key":"ChannelUp"})");
    EXPECT_EQ(J(runtime.Read())["keyCode"], 427);
    page.Post("[1]");
    EXPECT_EQ(tv.socket.Read(), R"({"post":[1]})");
    EXPECT_EQ(desk.server.End(SIGINT), 0);
    EXPECT_EQ(ReadFile(recording).find(desk.path), std::string::npos);

    std::vector<std::string> lines;
    bool is_relayed = false;
    for (const std::string& line : LinesOf(ReadFile(recording))) {
        is_relayed |= line == std::string("# ") + host::kRecordingRelayed;
        // How much time passed is the machine's business, and so is when it was.
        const bool is_time =
            line.find(R"("clock")") != std::string::npos || line.find(R"("advance")") != std::string::npos;
        if (line.front() != '#' && !is_time)
            lines.push_back(line);
    }
    EXPECT_TRUE(is_relayed);
    EXPECT_EQ(lines, (std::vector<std::string>{
                         R"({"tv":"close"})", R"({"did":"close"})", R"({"tv":"open"})", R"({"did":"open"})",
                         std::string(R"({"await":)") + kVersionMessage + '}', R"({"reply":{"code":0}})",
                         R"({"message":"by itself"})", R"({"tv":"key","key":"ChannelUp"})",
                         R"({"did":"key"})", R"({"post":[1]})", R"({"tv":"close"})", R"({"did":"close"})"}));
}

}  // namespace
}  // namespace test
