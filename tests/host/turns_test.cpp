// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <deque>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace test {
namespace {

/// Reads the journal to its end: every line in has its one answer before the next line in.
void ReadJournal(WebListener& journal)
{
    std::string open;  // what the line in is to be answered with, while it is not
    while (const std::optional<std::string> text = journal.Next()) {
        const Json::Value line = J(*text);
        if (line.isMember("await") || line.isMember("post") || line.isMember("tv")) {
            EXPECT_EQ(open, "") << "a turn began before " << *text;
            open = line.isMember("await") ? "reply" : line.isMember("tv") ? "did" : "";
        } else if (line.isMember("reply") || line.isMember("did") || line.isMember("error")) {
            EXPECT_TRUE(line.isMember(open) || (open == "did" && line.isMember("error"))) << *text;
            open = "";
        }
    }
    EXPECT_EQ(open, "");
    EXPECT_EQ(journal.reason(), "the TV host ends");
}

TEST(Turns, EverythingAtOnceIsAnsweredInOneOrder)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "turns.jsonl").string();
    ServeProcess server({"--record", recording, "--speed", "600"});
    const std::uint16_t port = server.port();
    std::thread journal([listener = WebListener(port, "/journal")]() mutable { ReadJournal(listener); });

    std::atomic<Json::Int64> newest{1};  // of the pages, as far as the clients know
    const auto page = [&newest] { return "/page/" + std::to_string(newest) + '/'; };
    constexpr int kRounds = 60;
    std::deque<std::atomic<int>> rounds;
    std::vector<std::thread> clients;
    /// A client that does the same until the host has gone. Each request has an answer of its own.
    const auto repeat = [&](auto act) {
        clients.emplace_back([&, act, count = &rounds.emplace_back(0)] {
            const auto send = [](WebClient& client, const std::string& path, const std::string& body,
                                 const std::set<int>& statuses) {
                WebReply reply = client.Post(path, body);
                EXPECT_TRUE(statuses.count(reply.status) != 0 || reply.status == 503)
                    << path << ' ' << body << ": " << reply.status << ' ' << reply.body;
                EXPECT_TRUE(client.IsQuiet() || !reply.keeps_alive);
                return reply;
            };
            try {
                for (WebClient client(port);; ++*count)
                    act(client, send);
            } catch (const std::runtime_error&) {
                // The host has gone.
            }
        });
    };
    for (int i = 0; i < 2; ++i) {
        repeat([&newest](WebClient& client, auto send) {
            const WebReply opened = send(client, "/page/open", "", {200});
            if (opened.status == 200)
                newest = J(opened.body)["page"].asInt64();
        });
    }
    repeat([&page](WebClient& client, auto send) { send(client, page() + "close", "", {204, 404, 410}); });
    for (const char* message :
         {R"({"command":"GetVersion"})", R"({"command":"SetServiceByServiceid","Serviceid":"1002"})"}) {
        repeat([&page, message](WebClient& client, auto send) {
            for (const char* awaited : {message, R"({"command":"GetIntegerFromVconfWithKey","key":"k"})",
                                        R"({"command":"RegisterEvent","event":90019})"}) {
                const WebReply reply = send(client, page() + "await", awaited, {200, 404, 410});
                EXPECT_TRUE(reply.status != 200 || J(reply.body)["code"].isInt()) << reply.body;
            }
            send(client, page() + "post", message, {202, 404, 410});
        });
    }
    repeat([](WebClient& client, auto send) {
        for (const char* verb : {
                 R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":3})",
                 R"({"tv":"event","event":90019})",
                 R"({"tv":"setting","key":"k","value":1})",
                 R"({"tv":"restore","call":"vconf_get_int"})",
                 R"({"tv":"answer","call":"device_power_subscribe_poweroff","delay":3})",
                 kRestore,
             })
            send(client, "/tv", verb, {200});
        send(client, "/tv", R"({"tv":"dance"})", {400});
    });
    repeat([](WebClient& client, auto) {
        const WebReply state = client.Get("/tv/state");
        EXPECT_TRUE(J(state.body)["answers"].isArray()) << state.body;
    });
    for (const std::atomic<int>& count : rounds) {
        while (count < kRounds)
            std::this_thread::yield();
    }
    EXPECT_EQ(server.End(SIGINT), 0);
    for (std::thread& client : clients)
        client.join();
    journal.join();

    EXPECT_EQ(ReplayFault(recording), "");
}

}  // namespace
}  // namespace test
