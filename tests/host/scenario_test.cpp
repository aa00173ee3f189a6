#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace {

using test::J;

TEST(Scenario, IsCarriedOutInPlayingTimeAndReplays)
{
    const test::TemporaryFolder folder;
    const std::string scenario = folder.Write("evening.jsonl",
                                              "# An evening\n"
                                              "\n"
                                              R"({"at":"00:02.5","tv":"setting","key":"k","value":2})"
                                              "\n"
                                              R"({"at":"01:00:00","tv":"setting","key":"k","value":4})"
                                              "\r\n"
                                              R"({"tv":"setting","key":"k","value":1,"at":0})"
                                              "\n"
                                              R"({"at":90000,"tv":"setting","key":"k","value":3})");
    const std::string recording = (folder / "recording.jsonl").string();
    test::ServeProcess server({"--scenario", scenario, "--speed", "0", "--record", recording});
    test::WebClient client(server.port());
    const auto k_after = [&client](int ms) {
        client.Post("/tv", R"({"tv":"advance","ms":)" + std::to_string(ms) + '}');
        return J(client.Get("/tv/state").body)["settings"]["k"];
    };
    EXPECT_EQ(J(client.Get("/tv/state").body)["scheduled"].size(), 4U);
    EXPECT_EQ(k_after(2499), 1);
    EXPECT_EQ(k_after(1), 2);
    EXPECT_EQ(k_after(87500), 3);
    EXPECT_EQ(k_after(3509999), 3);
    EXPECT_EQ(k_after(1), 4);
    EXPECT_EQ(server.End(SIGINT), 0);
    const test::HostResult replayed = test::RunHost("script --check " + recording);
    EXPECT_EQ(std::make_pair(replayed.status, replayed.out), std::make_pair(0, std::string()));
}

TEST(Scenario, MistakesAreToldWithTheirLine)
{
    const test::TemporaryFolder folder;
    const std::string time = "\"at\" must be a playing time";
    for (const auto& [line, mistake] : std::vector<std::pair<std::string, std::string>>{
             {R"({"at":1,"tv":"signal","signal":177)", "not JSON"},
             {R"({"at":1,"await":{"command":"GetVersion"}})", "expected {\"at\": …, \"tv\": VERB, …}"},
             {R"({"tv":"signal","signal":177})", time},
             {R"({"at":"1:2","tv":"signal","signal":177})", time},
             {R"({"at":"01:60","tv":"signal","signal":177})", time},
             {R"({"at":"01:60:00","tv":"signal","signal":177})", time},
             {R"({"at":-1,"tv":"signal","signal":177})", time},
             {R"({"at":0.5,"tv":"signal","signal":177})", time},
             {R"({"at":"600:00:00","tv":"signal","signal":177})", time},
             {R"({"at":1,"tv":"signall","signal":177})",
              "there is no verb \"signall\"; did you mean \"signal\"?"},
             {R"({"at":1,"tv":"key","key":"ChannelUpp"})", "did you mean \"ChannelUp\"?"},
             {R"({"at":1,"tv":"advance","ms":5})", "\"do\" can't be \"advance\""},
         }) {
        const std::string file = folder.Write("bad.jsonl", "# first\n" + line + "\n");
        const test::HostResult result = test::RunHost("serve --port 0 --scenario " + file);
        EXPECT_EQ(result.status, 2) << line;
        EXPECT_EQ(result.out, "") << line;
        EXPECT_NE(result.err.find("zelumo-tv: scenario " + file + ": line 2: "), std::string::npos)
            << line << '\n'
            << result.err;
        if (mistake != "not JSON") {
            EXPECT_NE(result.err.find(mistake), std::string::npos) << line << '\n' << result.err;
        }
    }
    for (const std::string& missing : {(folder / "none").string(), std::string("/")})
        EXPECT_EQ(test::RunHost("serve --port 0 --scenario " + missing).status, 2) << missing;
}

}  // namespace
