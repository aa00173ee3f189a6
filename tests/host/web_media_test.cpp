// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <optional>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace test {
namespace {

/// A browser with the page that has the TV: what it is told to play, and what it tells of that.
class Browser {
  public:
    explicit Browser(std::uint16_t port) : page(port) { Load(); }

    void Reload()
    {
        page.path = page.client.OpenPage();
        Load();
    }
    void Connect()
    {
        messages_.emplace(page.port, page.path + "messages");
        runtime_.emplace(page.port, page.path + "runtime");
    }
    /// The connection is lost: the browser was killed, say.
    void Lose()
    {
        messages_.reset();
        runtime_.reset();
    }
    /// Whether the player took the command.
    bool Await(const std::string& message)
    {
        const Json::Value reply = J(page.Await(message).body);
        return reply["code"] == 0 && reply["data"] != false;
    }
    /// The next command that it is told: "play 1", or "create 1 http://a/film.mpd".
    std::string Command()
    {
        const Json::Value command = J(runtime_->Read())["media"];
        const Json::Value url = command["url"];
        return command["do"].asString() + ' ' + command["player"].asString() +
               (url.isNull() ? "" : ' ' + url.asString());
    }
    /// Tells the host something; `rest` follows the position and the duration of the status.
    void Tell(int player, const std::string& state, int position, const std::string& rest = "")
    {
        runtime_->Send(R"({"tv":"media","player":)" + std::to_string(player) + R"(,"status":{"state":")" +
                       state + R"(","position":)" + std::to_string(position) +
                       R"(,"duration":60000,"live":false,"rate":)" + (state == "playing" ? "1" : "0") + '}' +
                       rest + '}');
    }
    /// The type of the next report that the page gets.
    int Report() { return J(messages_->Read())["type"].asInt(); }
    std::string Refusal() { return J(runtime_->Read())["error"].asString(); }
    std::string State(int player)
    {
        const Json::Value tv = page.State();
        for (const Json::Value& one : tv["players"]) {
            if (one["id"] == player)
                return one["state"].asString() + ' ' + one["position"].asString();
        }
        return "none";
    }

    WebPage page;

  private:
    void Load()
    {
        Connect();
        Await(R"({"command":"RegisterEvent","event":90001})");
    }

    std::optional<WebListener> messages_;
    std::optional<WebListener> runtime_;
};

const char* const kInit = R"({"command":"Init","url":"http://a/film.mpd","timeOffset":0})";
const char* const kPlay = R"({"command":"Play"})";

TEST(WebMedia, ABrowserPlaysAndItsRecordingReplaysWithoutOne)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "session.jsonl").string();
    ServeProcess server({"--media", "browser", "--speed", "0", "--record", recording});
    Browser browser(server.port());
    EXPECT_FALSE(browser.Await(kPlay));
    EXPECT_TRUE(browser.Await(kInit));
    EXPECT_TRUE(browser.Await(kPlay));
    EXPECT_TRUE(browser.Await(R"({"command":"SetDisplayRect","x":0,"y":0,"width":1920,"height":1080})"));
    for (const char* command : {"create 1 http://a/film.mpd", "play 1", "place 1"})
        EXPECT_EQ(browser.Command(), command);
    browser.Tell(1, "created", 0, R"(,"type":32,"seq":0)");
    EXPECT_EQ(browser.Report(), 32);
    EXPECT_EQ(browser.State(1), "buffering 0") << "the word is from before the play";
    browser.Tell(1, "playing", 250, R"(,"type":144,"seq":1)");
    EXPECT_EQ(browser.Report(), 144);
    // The play time is the TV's: a jump goes on from there.
    browser.page.Do(R"({"tv":"advance","ms":1500})");
    EXPECT_EQ(browser.State(1), "playing 1750");
    EXPECT_TRUE(browser.Await(R"({"command":"JumpForward","sec":10})"));
    EXPECT_EQ(browser.Command(), "seek 1");
    EXPECT_EQ(browser.State(1), "buffering 11750");
    browser.Tell(1, "buffering", 11750, R"(,"type":98,"value1":3,"detail":"shaka 1001","seq":2)");
    EXPECT_EQ(browser.Report(), 98);

    // A second player takes the decoder, and the page is told so by the one who plays.
    EXPECT_TRUE(browser.Await(kInit));
    EXPECT_TRUE(browser.Await(kPlay));
    for (const char* command : {"create 2 http://a/film.mpd", "stop 1", "play 2"})
        EXPECT_EQ(browser.Command(), command);
    EXPECT_EQ(browser.State(1), "stopped 0");

    // The page is loaded anew: its players are gone, though their numbers come again.
    browser.Reload();
    EXPECT_EQ(browser.State(1), "none");
    EXPECT_TRUE(browser.Await(kInit));
    EXPECT_EQ(browser.Command(), "create 1 http://a/film.mpd");
    EXPECT_EQ(server.End(SIGINT), 0);

    EXPECT_EQ(ReplayFault(recording, "--media browser"), "");
    // Nobody told anything of a simulated player.
    EXPECT_EQ(RunHost("script --check " + recording).status, 1);
}

TEST(WebMedia, WhatIsOutOfReachFailsAndTimeGoesOn)
{
    ServeProcess server({"--media", "browser"});
    Browser browser(server.port());
    for (int player : {1, 2}) {
        EXPECT_TRUE(browser.Await(kInit));
        EXPECT_TRUE(browser.Await(kPlay));
        browser.Tell(player, "playing", 0, R"(,"type":144)");
        EXPECT_EQ(browser.Report(), 144);
    }
    EXPECT_TRUE(browser.Await(kInit));
    browser.Lose();
    ASSERT_TRUE(ComesTrue([&] { return browser.State(3) == "failed 0"; })) << browser.State(3);
    const auto time = [&browser] { return browser.page.State()["playingTime"].asInt64(); };
    EXPECT_TRUE(ComesTrue([&, lost = time()] { return time() >= lost + 300; })) << "the clock stands still";
    browser.Connect();
    // One of them was playing. The others are out of reach as well, and say nothing.
    EXPECT_EQ(browser.Report(), 98);
    for (int player : {1, 2, 3})
        EXPECT_EQ(browser.State(player), "failed 0");
    EXPECT_FALSE(browser.Await(kPlay));
    EXPECT_TRUE(browser.Await(kInit));
    browser.Tell(4, "created", 0, R"(,"type":32)");
    EXPECT_EQ(browser.Report(), 32);
}

TEST(WebMedia, APageThatIsGoneHasNoMoreToTell)
{
    ServeProcess server({"--media", "browser", "--speed", "0"});
    Browser browser(server.port());
    EXPECT_TRUE(browser.Await(kInit));
    // While a call takes its time, another page comes, and then the first one's word of its player 1.
    // cppcheck-suppress unreadVariable ; while it lives the plug-in is held up
    HeldUp held(browser.page);
    WebClient other(server.port());
    other.Begin("POST", "/page/open");
    browser.State(1);  // a round trip: the server has taken what was sent before it
    browser.Tell(1, "playing", 7000, R"(,"type":144)");
    browser.page.Do(kRestore);
    const std::string page = "/page/" + J(other.Finish().body)["page"].asString() + '/';
    EXPECT_EQ(other.Post(page + "await", kInit).status, 200);
    EXPECT_EQ(browser.State(1), "created 0");
    EXPECT_EQ(WebClient(server.port()).Get("/journal").body.find("7000"), std::string::npos);
}

TEST(WebMedia, WhatABrowserCannotTellIsRefused)
{
    constexpr char kStatus[] =
        R"("status":{"state":"paused","position":1,"duration":2,"live":false,"rate":0})";
    const auto media = [](const std::string& members) { return R"({"tv":"media",)" + members + '}'; };
    const auto with = [&](const std::string& members) { return media(kStatus + (',' + members)); };
    const auto status = [&](const std::string& members) {
        return media(R"("player":1,"status":{)" + members + R"(,"live":false})");
    };
    const std::vector<std::pair<std::string, const char*>> cases{
        {with(R"("player":7)"), "there is no player 7 that a browser plays for"},
        {media(kStatus), R"("player" is missing)"},
        {media(R"("player":1)"), R"("status" is missing)"},
        {media(R"("player":1,"status":5)"), R"("status" must be an object)"},
        {with(R"("player":1,"type":"97")"), R"("type" must be a whole number of 32 bits)"},
        {with(R"("player":1,"seq":-1)"), R"("seq" must be 0 or more)"},
        {with(R"("player":1,"detail":5)"), R"("detail" must be a string)"},
        {with(R"("player":1,"valu1":5)"), R"("valu1" is not known; did you mean "value1"?)"},
        {status(R"("state":"idle")"),
         R"("state" must be created, buffering, playing, paused, stopped, ended or failed)"},
        {status(R"("state":"paused","position":-1)"),
         R"("position" must be a whole number from 0 to 2147483647)"},
        {status(R"("state":"paused","position":1)"), R"("duration" is missing)"},
        {status(R"("state":"paused","position":1,"duration":2,"rate":true)"),
         R"("rate" must be a number from 0 to 100)"},
        {status(R"("state":"paused","position":1,"duration":2,"rate":0,"window":1)"),
         R"("window" is for live streams only)"},
    };
    ServeProcess server({"--media", "browser", "--speed", "0"});
    Browser browser(server.port());
    EXPECT_TRUE(browser.Await(kInit));
    browser.Command();
    for (const auto& [line, why] : cases) {
        const WebReply reply = browser.page.Do(line);
        EXPECT_EQ(reply.status, 400) << line;
        const std::string error = J(reply.body)["error"].asString();
        EXPECT_EQ(error.substr(error.find(": ") + 2), why) << line;
    }
    EXPECT_EQ(browser.State(1), "created 0");
    // By its WebSocket a page can tell of media alone, and is told what is wrong.
    browser.Tell(9, "paused", 0);
    EXPECT_EQ(browser.Refusal(), R"(verb "media": there is no player 9 that a browser plays for)");

    ServeProcess simulated({"--speed", "0"});
    Browser other(simulated.port());
    EXPECT_TRUE(other.Await(kInit));
    EXPECT_EQ(other.page.Do(with(R"("player":1)")).status, 400);
}

}  // namespace
}  // namespace test
