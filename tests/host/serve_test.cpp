#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <random>
#include <stdexcept>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace {

using test::J;
using test::ServeProcess;
using test::Text;
using test::WebClient;
using test::WebListener;

/// Somebody who clicks about: a page with all of its commands, and the person at the TV. The same clicks
/// every time, if not at the same playing time.
class Clicker {
  public:
    explicit Clicker(std::uint16_t port) : client_(port)
    {
        const Json::Value api = J(test::ReadFile(std::filesystem::path(ZELUMO_WEB) / "page-api.json"));
        for (const Json::Value& command : api["commands"])
            messages_.push_back(Text(command["example"]));
        for (const Json::Value& event : api["events"])
            verbs_.push_back(R"({"tv":"event","event":)" + event["event"].asString() + "}");
        for (const char* verb : {
                 R"({"tv":"signal","signal":177})",
                 R"({"tv":"poweroff","type":1073741824})",
                 R"({"tv":"setting","key":"db/menu/volume","value":7})",
                 R"({"tv":"setting","key":"db/menu/language","value":"é 日本"})",
                 R"({"tv":"answer","call":"vconf_get_int","result":-1,"times":2})",
                 R"({"tv":"answer","call":"BmsPlay","result":-1,"delay":1})",
                 R"({"tv":"restore"})",
                 R"({"tv":"restore","call":"BmsPlay"})",
                 R"({"tv":"report","player":1,"type":97})",
             })
            verbs_.emplace_back(verb);
        Open();
    }

    void Click()
    {
        const auto choice = random_() % 100;
        if (choice < 70)
            Require(client_.Post(page_ + "await", messages_[random_() % messages_.size()]).status == 200);
        else if (choice < 80)
            Require(client_.Post(page_ + "post", messages_[random_() % messages_.size()]).status == 202);
        else if (choice < 99)
            Require(client_.Post("/tv", verbs_[random_() % verbs_.size()]).status == 200);
        else
            Open();
    }
    std::int64_t PlayingTime() { return J(client_.Get("/tv/state").body)["playingTime"].asInt64(); }

  private:
    void Open() { page_ = "/page/" + J(client_.Post("/page/open").body)["page"].asString() + '/'; }
    static void Require(bool done)
    {
        if (!done)
            throw std::runtime_error("a click was refused");
    }

    WebClient client_;
    std::minstd_rand random_{7};
    std::vector<std::string> messages_;
    std::vector<std::string> verbs_;
    std::string page_;
};

void ExpectReplays(const std::string& recording)
{
    const test::HostResult replayed = test::RunHost("script --check " + recording);
    EXPECT_EQ(replayed.status, 0);
    EXPECT_EQ(replayed.out.substr(0, 2000), "");
    EXPECT_EQ(replayed.err, "");
}

TEST(Serve, ARecordedHalfHourReplaysToTheSameText)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "half-hour.jsonl").string();
    ServeProcess server({"--record", recording, "--speed", "600"});
    Clicker clicker(server.port());
    constexpr std::int64_t kHalfHour = std::int64_t{30} * 60 * 1000;
    int clicks = 0;
    for (; clicks % 20 != 0 || clicker.PlayingTime() < kHalfHour; ++clicks)
        clicker.Click();
    EXPECT_EQ(server.End(SIGINT), 0);

    const std::vector<std::string> lines = test::LinesOf(test::ReadFile(recording));
    EXPECT_GT(lines.size(), static_cast<std::size_t>(clicks));
    std::int64_t advanced = 0;
    for (const std::string& line : lines) {
        EXPECT_NE(line.substr(0, 7), "{\"call\"");
        EXPECT_NE(line.substr(0, 6), "{\"log\"");
        if (line.substr(0, 15) == R"({"tv":"advance")")
            advanced += J(line)["ms"].asInt64();
    }
    EXPECT_GE(advanced, kHalfHour);
    ExpectReplays(recording);
}

/// Somebody who uses the web mode of `server`, with a page open.
struct Visitor {
    explicit Visitor(const ServeProcess& server) : client(server.port())
    {
        page = "/page/" + J(client.Post("/page/open").body)["page"].asString() + '/';
    }
    std::string Await(const std::string& message) { return client.Post(page + "await", message).body; }
    std::string Do(const std::string& verb) { return client.Post("/tv", verb).body; }
    Json::Value State() { return J(client.Get("/tv/state").body); }

    WebClient client;
    std::string page;
};

TEST(Serve, TimeInTheDevelopersHandReplays)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "time.jsonl").string();
    ServeProcess server({"--record", recording, "--date", "2026-01-01T20:00:00Z", "--speed", "0"});
    Visitor visitor(server);
    WebListener journal(server.port(), "/journal");
    EXPECT_EQ(visitor.State()["time"], 1767297600000);
    visitor.Await(R"({"command":"AddVconfCallbackWithKey","key":"k"})");
    visitor.Await(R"({"command":"Init","url":"http://sample.tv/film.mpd","timeOffset":0})");
    visitor.Await(R"({"command":"Play"})");
    visitor.Do(R"({"tv":"answer","call":"vconf_get_int","args":["n"],"result":0,"out":[7]})");
    // While it stands still: the line's own answer comes after those of the verbs that were due.
    visitor.Do(R"({"tv":"at","ms":2500,"do":{"tv":"setting","key":"k","value":5}})");
    visitor.Do(R"({"tv":"at","ms":2500,"do":{"tv":"setting","key":"k","value":true}})");
    visitor.Do(R"({"tv":"at","ms":0,"do":{"tv":"poweroff","type":1}})");
    EXPECT_EQ(visitor.Do(R"({"tv":"advance","ms":2500})"), R"({"did":"advance","position":2500})");
    EXPECT_EQ(visitor.State()["time"], 1767297602500);
    // A speed that ends by itself: the clock stands still at that very moment.
    visitor.Do(R"({"tv":"at","ms":60000,"do":{"tv":"speed","factor":0}})");
    visitor.Do(R"({"tv":"at","ms":30000,"do":{"tv":"setting","key":"k","value":6}})");
    EXPECT_EQ(visitor.State()["scheduled"][0]["ms"], 30000);
    EXPECT_EQ(visitor.Do(R"({"tv":"speed","factor":1000.5})"), R"({"did":"speed"})");
    EXPECT_EQ(visitor.State()["speed"], 1000.5);
    // On top of what passes by itself.
    visitor.Do(R"({"tv":"advance","ms":20000})");
    while (visitor.State()["speed"] != 0)
        visitor.Await(R"({"command":"GetIntegerFromVconfWithKey","key":"n"})");
    EXPECT_EQ(visitor.State()["playingTime"], 62500);
    EXPECT_EQ(visitor.State()["scheduled"], J("[]"));
    EXPECT_EQ(server.End(SIGINT), 0);

    // The journal shows the verbs that were due, and of the clock's own moves nothing.
    std::vector<std::string> shown;
    for (std::optional<std::string> line = journal.Next(); line; line = journal.Next()) {
        if (line->find(R"("did":"at")") == std::string::npos &&
            (line->find(R"({"did")") == 0 || line->find(R"({"error")") == 0))
            shown.push_back(*line);
    }
    ASSERT_GE(shown.size(), 9U);
    EXPECT_EQ(shown[1], R"({"did":"poweroff","delivered":1,"results":[0]})");
    EXPECT_EQ(shown[2], R"({"did":"setting","delivered":1})");
    EXPECT_EQ(shown[3].find(R"({"error":"at playing time 2500: verb \"setting\": \"value\" must be )"), 0U)
        << shown[3];
    EXPECT_EQ(shown[4], R"({"did":"advance","position":2500})");
    EXPECT_EQ(std::count_if(shown.begin(), shown.end(),
                            [](const auto& line) { return line.find("advance") != std::string::npos; }),
              2);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), R"({"did":"speed"})"), 2);
    EXPECT_NE(test::ReadFile(recording).find(R"({"tv":"clock","date":1767297600000})"), std::string::npos);
    ExpectReplays(recording);
}

TEST(Serve, TheDateCanBeTheFiles)
{
    const test::TemporaryFolder folder;
    ServeProcess server(
        {"--tv", folder.Write("tv.json", R"({"date":86400000})"), "--date", "file", "--speed", "0"});
    EXPECT_EQ(Visitor(server).State()["time"], 86400000);
}

TEST(Serve, MessagesAreAnsweredAtAnySpeed)
{
    const test::TemporaryFolder folder;
    const std::string tv =
        folder.Write("tv.json", R"({"streams":[{"pattern":"*","live":true,"duration":1000}]})");
    const std::string recording = (folder / "fast.jsonl").string();
    ServeProcess server({"--tv", tv, "--record", recording, "--speed", "0"});
    Visitor visitor(server);
    visitor.Await(R"({"command":"AddVconfCallbackWithKey","key":"k"})");
    visitor.Await(R"({"command":"Init","url":"live","timeOffset":0})");
    visitor.Await(R"({"command":"Play"})");
    for (int i = 0; i < 300; ++i)
        visitor.Do(R"({"tv":"at","ms":)" + std::to_string(200000 * i) +
                   R"(,"do":{"tv":"setting","key":"k","value":1}})");
    visitor.Do(R"({"tv":"speed","factor":100000})");
    // For a second and a half: a clock that kept the turn would be waited for nearly all of that time.
    using Milliseconds = std::chrono::duration<double, std::milli>;
    constexpr Milliseconds kWatched(1500);
    std::vector<Milliseconds> taken;
    Milliseconds late{0};
    for (const auto begin = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - begin < kWatched;) {
        const auto sent = std::chrono::steady_clock::now();
        EXPECT_EQ(visitor.Await(R"({"command":"GetVersion"})"), R"({"code":0,"data":"1.00"})");
        taken.emplace_back(std::chrono::steady_clock::now() - sent);
        if (taken.back() > Milliseconds(50))
            late += taken.back();
        visitor.State();
    }
    std::sort(taken.begin(), taken.end());
    EXPECT_LT(taken[taken.size() * 9 / 10].count(), 50);
    EXPECT_LT(late.count(), kWatched.count() / 3)
        << "of " << taken.size() << " messages the longest took " << taken.back().count() << " ms";
    const std::int64_t passed = visitor.State()["playingTime"].asInt64();
    // Stopped, it stands still at once, however far it was behind.
    visitor.Do(R"({"tv":"speed","factor":0})");
    const Json::Value stopped = visitor.State()["playingTime"];
    visitor.Await(R"({"command":"GetVersion"})");
    EXPECT_EQ(visitor.State()["playingTime"], stopped);
    EXPECT_GT(passed, 100'000);
    EXPECT_EQ(server.End(SIGINT), 0);
    const test::HostResult replayed = test::RunHost("--tv " + tv + " script --check " + recording);
    EXPECT_EQ(replayed.status, 0);
    EXPECT_EQ(replayed.out.substr(0, 2000), "");
}

TEST(Serve, ARecordingThatWasCutOffReplaysAsFarAsItGoes)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "cut.jsonl").string();
    {
        ServeProcess server({"--record", recording, "--speed", "100"});
        Clicker clicker(server.port());
        for (int i = 0; i < 200; ++i)
            clicker.Click();
        EXPECT_EQ(server.End(SIGKILL), 128 + SIGKILL);
    }
    ExpectReplays(recording);
    const std::string whole = test::ReadFile(recording);
    ASSERT_GT(test::LinesOf(whole).size(), 400U);
    // In the middle of a line, and at the ends of lines that follow one another, those inside blocks among
    // them.
    std::size_t length = whole.size() / 2;
    for (int i = 0; i < 8; ++i) {
        length = whole.find('\n', length) + 1;
        for (const std::size_t more : {0U, 5U})
            ExpectReplays(folder.Write("shorter.jsonl", whole.substr(0, length + more)));
    }
    // One that has its end is compared to the end.
    const std::string all = whole.substr(0, whole.find("\n{\"await\"") + 1);
    const std::string cut = all + "{\"await\":{\"command\":\"GetVersion\"}}\n";
    ExpectReplays(folder.Write("cut.jsonl", cut));
    EXPECT_EQ(
        test::RunHost("script --check " + folder.Write("lost.jsonl", cut + "# The recording ends here\n"))
            .status,
        1);
}

TEST(Serve, ARecordingBeginsWithTheSettingsThatWereKept)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "settings.jsonl").string();
    const std::string settings = (folder / "settings.db").string();
    const std::string set = R"({"command":"SetStringToVconfWithKey","key":"k","input":"kept"})";
    const std::string get = R"({"command":"GetStringFromVconfWithKey","key":"k"})";
    for (const std::string& message : {set, get}) {
        ServeProcess server({"--record", recording, "--overwrite", "--settings", settings});
        WebClient client(server.port());
        const std::string page = J(client.Post("/page/open").body)["page"].asString();
        EXPECT_EQ(J(client.Post("/page/" + page + "/await", message).body)["code"], 0);
        EXPECT_EQ(server.End(SIGTERM), 0);
    }
    ExpectReplays(recording);
}

TEST(Serve, ARecordingHoldsMessagesAsTheyWereWritten)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "written.jsonl").string();
    ServeProcess server({"--record", recording, "--speed", "0"});
    WebClient client(server.port());
    const std::string page = "/page/" + J(client.Post("/page/open").body)["page"].asString() + "/await";
    // As large as a message may be, and larger when it is written as another program would.
    std::string numbers = "[\n1e5";
    while (numbers.size() < std::size_t{1024} * 1024 - 4)
        numbers += ",1e5";
    const std::string sizes = std::string(std::size_t{1024} * 1024 - numbers.size() - 1, '\t') + ']';
    for (const std::string& message : {numbers + sizes, std::string("{\r\n\t\"command\" :\n\"GetVersion\"}"),
                                       std::string(R"({"command":"\ud800\u0000\n","command":1e-400})")})
        EXPECT_EQ(client.Post(page, message).status, 200) << message.substr(0, 40);
    for (const char* message : {"01", "[1.]", "\"\t\"", "\xEF\xBB\xBF{}", "{} //"})
        EXPECT_EQ(client.Post(page, message).status, 400) << message;
    EXPECT_EQ(server.End(SIGINT), 0);
    ExpectReplays(recording);
}

TEST(Serve, TheClockRunsByItself)
{
    ServeProcess server({"--speed", "1000"});
    WebClient client(server.port());
    const auto state = [&] { return J(client.Get("/tv/state").body); };
    const Json::Value first = state();
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    EXPECT_NEAR(static_cast<double>(first["time"].asInt64() - first["playingTime"].asInt64()),
                static_cast<double>(now.count()), 60000);
    Json::Value later = first;
    while (later["playingTime"].asInt64() < first["playingTime"].asInt64() + 1000)
        later = state();
    EXPECT_EQ(later["time"].asInt64() - later["playingTime"].asInt64(),
              first["time"].asInt64() - first["playingTime"].asInt64());
}

TEST(Serve, APortIsFreeAgainAtOnce)
{
    ServeProcess first({});
    const std::string port = std::to_string(first.port());
    EXPECT_EQ(first.line(), "zelumo-tv: http://127.0.0.1:" + port + '/');
    const test::HostResult second = test::RunHost("serve --port " + port);
    EXPECT_EQ(second.status, 2);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err,
              "zelumo-tv: 127.0.0.1:" + port + ": the port is in use; --port 0 takes a free one\n");

    WebClient client(first.port());
    EXPECT_EQ(client.Get("/").status, 200);
    EXPECT_EQ(first.End(SIGKILL), 128 + SIGKILL);
    ServeProcess third({"--port", port});
    EXPECT_EQ(third.port(), std::stoi(port));
    EXPECT_EQ(third.End(SIGINT), 0);
}

}  // namespace
