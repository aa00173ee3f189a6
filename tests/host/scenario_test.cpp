// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/web_client.h"

namespace test {
namespace {

TEST(Scenario, IsCarriedOutInPlayingTimeAndReplays)
{
    const TemporaryFolder folder;
    const std::string scenario = folder.Write("evening.jsonl",
                                              "# An evening\n"
                                              "\n"
                                              R"({"at":"00:02.5","tv":"setting","key":"k","value":2}
{"at":"01:00:00","tv":"setting","key":"k","value":4})"
                                              "\r\n"
                                              R"({"tv":"setting","key":"k","value":1,"at":0}
{"at":90000,"tv":"setting","key":"k","value":3})");
    const std::string recording = (folder / "recording.jsonl").string();
    ServeProcess server({"--scenario", scenario, "--speed", "0", "--record", recording});
    WebPage page(server.port());
    const auto k_after = [&page](int ms) {
        page.Do(R"({"tv":"advance","ms":)" + std::to_string(ms) + '}');
        return page.State()["settings"]["k"];
    };
    EXPECT_EQ(page.State()["scheduled"].size(), 4U);
    EXPECT_EQ(k_after(2499), 1);
    EXPECT_EQ(k_after(1), 2);
    EXPECT_EQ(k_after(87500), 3);
    EXPECT_EQ(k_after(3509999), 3);
    EXPECT_EQ(k_after(1), 4);
    EXPECT_EQ(server.End(SIGINT), 0);
    EXPECT_EQ(ReplayFault(recording), "");
}

TEST(Scenario, MistakesAreToldWithTheirLine)
{
    const TemporaryFolder folder;
    const std::string no_time = "\"at\" must be a playing time";
    std::vector<std::pair<std::string, std::string>> mistakes{
        {R"({"at":1,"tv":"signal","signal":177)", "not JSON"},
        {R"({"at":1,"await":{"command":"GetVersion"}})", "expected {\"at\": …, \"tv\": VERB, …}"},
        {R"({"tv":"signal","signal":177})", no_time},
        {R"({"at":1,"tv":"signall","signal":177})", "there is no verb \"signall\"; did you mean \"signal\"?"},
        {R"({"at":1,"tv":"key","key":"ChannelUpp"})",
         "verb \"key\": \"key\" must be a key of the remote, and there is none called \"ChannelUpp\"; did "
         "you mean \"ChannelUp\"?"},
        {R"({"at":1,"tv":"advance","ms":5})", "verb \"at\": \"do\" can't be \"advance\""},
    };
    for (const std::string at : {"\"1:2\"", "\"01:60\"", "\"01:60:00\"", "-1", "0.5", "\"600:00:00\""})
        mistakes.emplace_back("{\"at\":" + at + R"(,"tv":"signal","signal":177})", no_time);
    for (const auto& [line, mistake] : mistakes) {
        const std::string file = folder.Write("bad.jsonl", "# first\n" + line + "\n");
        EXPECT_EQ(RefusalFault("serve --port 0 --scenario " + file,
                               "zelumo-tv: scenario " + file + ": line 2: " + mistake),
                  "")
            << line;
    }
    for (const std::string& missing : {(folder / "none").string(), std::string("/")})
        EXPECT_EQ(RefusalFault("serve --port 0 --scenario " + missing, missing), "");
}

}  // namespace
}  // namespace test
