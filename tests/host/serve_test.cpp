#include <gtest/gtest.h>

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
    for (std::size_t length = whole.size() / 2; length < whole.size() / 2 + 2000; length += 300)
        ExpectReplays(folder.Write("shorter.jsonl", whole.substr(0, whole.find('\n', length) + 6)));
}

TEST(Serve, ARecordingBeginsWithTheSettingsThatWereKept)
{
    const test::TemporaryFolder folder;
    const std::string recording = (folder / "settings.jsonl").string();
    const std::string settings = (folder / "settings.db").string();
    const std::string set = R"({"command":"SetStringToVconfWithKey","key":"k","input":"kept"})";
    const std::string get = R"({"command":"GetStringFromVconfWithKey","key":"k"})";
    for (const std::string& message : {set, get}) {
        ServeProcess server({"--record", recording, "--settings", settings});
        WebClient client(server.port());
        const std::string page = J(client.Post("/page/open").body)["page"].asString();
        EXPECT_EQ(J(client.Post("/page/" + page + "/await", message).body)["code"], 0);
        EXPECT_EQ(server.End(SIGTERM), 0);
    }
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
