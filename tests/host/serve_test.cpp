// SPDX-License-Identifier: Apache-2.0
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

namespace test {
namespace {

/// Somebody who clicks about: a page with all of its commands, and the person at the TV. The same clicks
/// every time, if not at the same playing time.
class Clicker {
  public:
    explicit Clicker(std::uint16_t port) : page_(port)
    {
        const Json::Value api = J(ReadFile(std::filesystem::path(ZELUMO_WEB) / "page-api.json"));
        for (const Json::Value& command : api["commands"])
            messages_.push_back(Text(command["example"]));
        for (const Json::Value& event : api["events"])
            verbs_.push_back(R"({"tv":"event","event":)" + event["event"].asString() + "}");
    }

    void Click()
    {
        const auto pick = [this](const std::vector<std::string>& texts) {
            return texts[random_() % texts.size()];
        };
        const auto choice = random_() % 100;
        bool done = true;
        if (choice < 70)
            done = page_.Await(pick(messages_)).status == 200;
        else if (choice < 80)
            done = page_.Post(pick(messages_)).status == 202;
        else if (choice < 99)
            done = page_.Do(pick(verbs_)).status == 200;
        else
            page_.path = page_.client.OpenPage();
        if (!done)
            throw std::runtime_error("a click was refused");
    }
    std::int64_t PlayingTime() { return page_.State()["playingTime"].asInt64(); }

  private:
    WebPage page_;
    std::minstd_rand random_{7};
    std::vector<std::string> messages_;
    std::vector<std::string> verbs_{
        R"({"tv":"signal","signal":177})",
        R"({"tv":"poweroff","type":1073741824})",
        R"({"tv":"setting","key":"db/menu/volume","value":7})",
        R"({"tv":"setting","key":"db/menu/language","value":"é 日本"})",
        R"({"tv":"answer","call":"vconf_get_int","result":-1,"times":2})",
        R"({"tv":"answer","call":"BmsPlay","result":-1,"delay":1})",
        kRestore,
        R"({"tv":"restore","call":"BmsPlay"})",
        R"({"tv":"report","player":1,"type":97})",
    };
};

TEST(Serve, AHalfHourThatWasCutOffReplaysAsFarAsItGoes)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "half-hour.jsonl").string();
    ServeProcess server({"--record", recording, "--speed", "600"});
    Clicker clicker(server.port());
    constexpr std::int64_t kHalfHour = std::int64_t{30} * 60 * 1000;
    int clicks = 0;
    for (; clicks % 20 != 0 || clicker.PlayingTime() < kHalfHour; ++clicks)
        clicker.Click();
    // The time that passed until then is written with what comes next.
    for (int i = 0; i < 2; ++i)
        clicker.Click();
    EXPECT_EQ(server.End(SIGKILL), 128 + SIGKILL);

    const std::string whole = ReadFile(recording);
    const std::vector<std::string> lines = LinesOf(whole);
    EXPECT_GT(lines.size(), static_cast<std::size_t>(clicks));
    std::int64_t advanced = 0;
    for (const std::string& line : lines) {
        EXPECT_NE(line.substr(0, 7), "{\"call\"");
        EXPECT_NE(line.substr(0, 6), "{\"log\"");
        if (line.substr(0, 15) == R"({"tv":"advance")")
            advanced += J(line)["ms"].asInt64();
    }
    EXPECT_GE(advanced, kHalfHour);
    EXPECT_EQ(ReplayFault(recording), "");
    // In the middle of a line, and at the ends of lines that follow one another, those inside blocks among
    // them.
    const auto fault_of = [&](const std::string& text) {
        return ReplayFault(folder.Write("cut.jsonl", text));
    };
    std::size_t length = whole.size() / 20;
    for (int i = 0; i < 8; ++i) {
        length = whole.find('\n', length) + 1;
        for (const std::size_t more : {0U, 5U})
            EXPECT_EQ(fault_of(whole.substr(0, length + more)), "") << length + more;
    }
    // One that has its end is compared to the end.
    const std::string cut =
        whole.substr(0, whole.find("\n{\"await\"") + 1) + "{\"await\":{\"command\":\"GetVersion\"}}\n";
    EXPECT_EQ(fault_of(cut), "");
    EXPECT_NE(fault_of(cut + "# The recording ends here\n"), "");
}

TEST(Serve, TimeInTheDevelopersHandReplays)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "time.jsonl").string();
    ServeProcess server({"--record", recording, "--date", "2026-01-01T20:00:00Z", "--speed", "0"});
    WebPage page(server.port());
    WebListener journal(server.port(), "/journal");
    EXPECT_EQ(page.State()["time"], 1767297600000);
    page.Await(R"({"command":"AddVconfCallbackWithKey","key":"k"})");
    page.Await(R"({"command":"Init","url":"http://sample.tv/film.mpd","timeOffset":0})");
    page.Await(R"({"command":"Play"})");
    page.Do(R"({"tv":"answer","call":"vconf_get_int","args":["n"],"result":0,"out":[7]})");
    // While it stands still: the line's own answer comes after those of the verbs that were due.
    page.Do(R"({"tv":"at","ms":2500,"do":{"tv":"setting","key":"k","value":5}})");
    page.Do(R"({"tv":"at","ms":2500,"do":{"tv":"setting","key":"k","value":true}})");
    page.Do(R"({"tv":"at","ms":0,"do":{"tv":"poweroff","type":1}})");
    EXPECT_EQ(page.Do(R"({"tv":"advance","ms":2500})").body, R"({"did":"advance","position":2500})");
    EXPECT_EQ(page.State()["time"], 1767297602500);
    // A speed that ends by itself: the clock stands still at that very moment.
    page.Do(R"({"tv":"at","ms":60000,"do":{"tv":"speed","factor":0}})");
    page.Do(R"({"tv":"at","ms":30000,"do":{"tv":"setting","key":"k","value":6}})");
    EXPECT_EQ(page.State()["scheduled"][0]["ms"], 30000);
    EXPECT_EQ(page.Do(R"({"tv":"speed","factor":1000.5})").body, R"({"did":"speed"})");
    EXPECT_EQ(page.State()["speed"], 1000.5);
    // On top of what passes by itself.
    page.Do(R"({"tv":"advance","ms":20000})");
    while (page.State()["speed"] != 0)
        page.Await(R"({"command":"GetIntegerFromVconfWithKey","key":"n"})");
    EXPECT_EQ(page.State()["playingTime"], 62500);
    EXPECT_EQ(page.State()["scheduled"], J("[]"));
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
    EXPECT_NE(ReadFile(recording).find(R"({"tv":"clock","date":1767297600000})"), std::string::npos);
    EXPECT_EQ(ReplayFault(recording), "");
}

TEST(Serve, TheDateIsTheFilesOrTheRealOne)
{
    const TemporaryFolder folder;
    const std::string tv = folder.Write("tv.json", R"({"date":86400000})");
    ServeProcess dated({"--tv", tv, "--date", "file", "--speed", "0"});
    EXPECT_EQ(WebPage(dated.port()).State()["time"], 86400000);

    ServeProcess server({"--speed", "1000"});
    WebPage page(server.port());
    const auto passed_before = [](const Json::Value& state) {
        return state["time"].asInt64() - state["playingTime"].asInt64();
    };
    const Json::Value first = page.State();
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    EXPECT_NEAR(static_cast<double>(passed_before(first)), static_cast<double>(now.count()), 60000);
    Json::Value later = first;
    while (later["playingTime"].asInt64() < first["playingTime"].asInt64() + 1000)
        later = page.State();
    EXPECT_EQ(passed_before(later), passed_before(first));
}

TEST(Serve, MessagesAreAnsweredAtAnySpeed)
{
    const TemporaryFolder folder;
    const std::string tv =
        folder.Write("tv.json", R"({"streams":[{"pattern":"*","live":true,"duration":1000}]})");
    const std::string recording = (folder / "fast.jsonl").string();
    ServeProcess server({"--tv", tv, "--record", recording, "--speed", "0"});
    WebPage page(server.port());
    page.Await(R"({"command":"AddVconfCallbackWithKey","key":"k"})");
    page.Await(R"({"command":"Init","url":"live","timeOffset":0})");
    page.Await(R"({"command":"Play"})");
    for (int i = 0; i < 300; ++i)
        page.Do(R"({"tv":"at","ms":)" + std::to_string(200000 * i) +
                R"(,"do":{"tv":"setting","key":"k","value":1}})");
    page.Do(R"({"tv":"speed","factor":100000})");
    // For a second and a half: a clock that kept the turn would be waited for nearly all of that time.
    using Milliseconds = std::chrono::duration<double, std::milli>;
    constexpr Milliseconds kWatched(1500);
    std::vector<Milliseconds> taken;
    Milliseconds late{0};
    for (const auto begin = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - begin < kWatched;) {
        const auto sent = std::chrono::steady_clock::now();
        EXPECT_EQ(page.Await(kVersionMessage).body, kVersionReply);
        taken.emplace_back(std::chrono::steady_clock::now() - sent);
        if (taken.back() > Milliseconds(50))
            late += taken.back();
        page.State();
    }
    std::sort(taken.begin(), taken.end());
    EXPECT_LT(taken[taken.size() * 9 / 10].count(), 50);
    EXPECT_LT(late.count(), kWatched.count() / 3)
        << "of " << taken.size() << " messages the longest took " << taken.back().count() << " ms";
    const std::int64_t passed = page.State()["playingTime"].asInt64();
    // Stopped, it stands still at once, however far it was behind.
    page.Do(R"({"tv":"speed","factor":0})");
    const Json::Value stopped = page.State()["playingTime"];
    page.Await(kVersionMessage);
    EXPECT_EQ(page.State()["playingTime"], stopped);
    EXPECT_GT(passed, 100'000);
    EXPECT_EQ(server.End(SIGINT), 0);
    EXPECT_EQ(ReplayFault(recording, "--tv " + tv), "");
}

TEST(Serve, SettingsLastAndARecordingBeginsWithThem)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "settings.jsonl").string();
    const std::string settings = (folder / "settings.db").string();
    const auto serve = [&](const std::string& verb, const std::vector<std::string>& messages) {
        ServeProcess server({"--record", recording, "--overwrite", "--settings", settings});
        WebPage page(server.port());
        std::string data;
        for (const std::string& message : messages)
            data += Text(J(page.Await(message).body)["data"]) + ' ';
        EXPECT_EQ(page.Do(verb).status, 200);
        EXPECT_EQ(server.End(SIGTERM), 0);
        return data;
    };
    serve(R"({"tv":"setting","key":"i","value":8})",
          {R"({"command":"SetStringToVconfWithKey","key":"s","input":"é"})",
           R"({"command":"SetIntegerToVconfWithKey","key":"i","input":-7})",
           R"({"command":"SetBooleanToVconfWithKey","key":"b","input":1})"});
    EXPECT_EQ(serve(kRestore, {R"({"command":"GetStringFromVconfWithKey","key":"s"})",
                               R"({"command":"GetIntegerFromVconfWithKey","key":"i"})",
                               R"({"command":"GetBooleanFromVconfWithKey","key":"b"})"}),
              "\"é\" 8 1 ");
    EXPECT_EQ(ReplayFault(recording), "");
}

TEST(Serve, ARecordingHoldsMessagesAsTheyWereWritten)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "written.jsonl").string();
    ServeProcess server({"--record", recording, "--speed", "0"});
    WebPage page(server.port());
    // As large as a message may be, and larger when it is written as another program would.
    std::string numbers = "[\n1e5";
    while (numbers.size() < kMebibyte - 4)
        numbers += ",1e5";
    const std::string sizes = std::string(kMebibyte - numbers.size() - 1, '\t') + ']';
    for (const std::string& message : {numbers + sizes, std::string("{\r\n\t\"command\" :\n\"GetVersion\"}"),
                                       std::string(R"({"command":"\ud800\u0000\n","command":1e-400})")})
        EXPECT_EQ(page.Await(message).status, 200) << message.substr(0, 40);
    for (const char* message : {"01", "[1.]", "\"\t\"", "\xEF\xBB\xBF{}", "{} //"})
        EXPECT_EQ(page.Await(message).status, 400) << message;
    EXPECT_EQ(server.End(SIGINT), 0);
    EXPECT_EQ(ReplayFault(recording), "");
}

TEST(Serve, APortIsFreeAgainAtOnce)
{
    ServeProcess first({});
    const std::string port = std::to_string(first.port());
    EXPECT_EQ(first.line(), "zelumo-tv: http://127.0.0.1:" + port + '/');
    EXPECT_EQ(RefusalFault("serve --port " + port, "zelumo-tv: 127.0.0.1:" + port +
                                                       ": the port is in use; --port 0 takes a free one\n"),
              "");

    WebClient client(first.port());
    EXPECT_EQ(client.Get("/").status, 200);
    EXPECT_EQ(first.End(SIGKILL), 128 + SIGKILL);
    ServeProcess third({"--port", port});
    EXPECT_EQ(third.port(), std::stoi(port));
    EXPECT_EQ(third.End(SIGINT), 0);
}

}  // namespace
}  // namespace test
