#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"
#include "tv/tv_file.h"
#include "tvhost/web/journal.h"

namespace {

using test::J;
using test::Lines;
using test::Text;
using test::Web;
using test::WebClient;
using test::WebListener;

constexpr char kVersion[] = R"({"command":"GetVersion"})";

/// Web mode with one page open, and what its journal holds.
class KeptJournal : public testing::Test {
  protected:
    Json::Value Since(unsigned long long since)
    {
        return J(client_.Get("/journal?since=" + std::to_string(since)).body);
    }

    const Web web_;
    const std::string page_ = web_.OpenPage();
    WebClient client_{web_.port()};
};

TEST_F(KeptJournal, HoldsWhatHappenedBeforeAnybodyLooked)
{
    const unsigned long long before = Since(1)["next"].asUInt64();
    client_.Post(page_ + "await", kVersion);
    client_.Post("/tv", R"({"tv":"poweroff","type":1})");
    client_.Post("/tv", R"({"tv":"poweroff"})");
    Json::Value kept = Since(before);
    EXPECT_EQ(kept["first"].asUInt64(), before);
    EXPECT_EQ(kept["next"].asUInt64(), before + kept["lines"].size());
    Lines lines;
    for (const Json::Value& line : kept["lines"]) {
        if (!line.isMember("log"))
            lines.push_back(Text(line));
    }
    EXPECT_EQ(lines,
              (Lines{R"({"await":{"command":"GetVersion"}})", R"({"reply":{"code":0,"data":"1.00"}})",
                     R"({"tv":"poweroff","type":1})", R"({"delivered":1,"did":"poweroff","results":[0]})",
                     R"({"tv":"poweroff"})", R"({"error":"verb \"poweroff\": \"type\" is missing"})"}));
    EXPECT_EQ(kept["lines"].size(), 6U + 4U + 2U) << "with the log lines";

    const Json::Value beyond = Since(1'000'000);
    EXPECT_EQ(beyond["first"], kept["next"]);
    EXPECT_EQ(beyond["next"], kept["next"]);
    EXPECT_TRUE(beyond["lines"].empty());
    EXPECT_EQ(J(client_.Get("/journal").body), Since(0)) << "all that is kept";

    // Calls come as they are, however many parts they have.
    client_.Post(page_ + "await", R"({"command":"GetZELumoServices"})");
    kept = Since(kept["next"].asUInt64());
    Json::Value services;
    for (const Json::Value& line : kept["lines"]) {
        if (line["call"] == "IServiceNavigation::GetServiceList")
            services = line["out"][0];
    }
    EXPECT_EQ(services.size(), 31U);
}

TEST_F(KeptJournal, ForgetsTheOldestLinesAlone)
{
    constexpr unsigned long long kPromised = 2000;
    for (int i = 0; i < 1200; ++i)
        client_.Post(page_ + "await", kVersion);
    const Json::Value kept = Since(1);
    const unsigned long long count = kept["lines"].size();
    EXPECT_GE(count, kPromised);
    EXPECT_LE(count, 2 * kPromised);
    EXPECT_EQ(kept["next"].asUInt64() - kept["first"].asUInt64(), count);
    EXPECT_TRUE(kept["lines"][0].isObject());

    // Much that is long is kept as far as it doesn't take too much, and the newest line in any case.
    const std::string big = R"({"command":"GetVersion","x":")" + std::string(1'000'000, 'x') + "\"}";
    for (int i = 0; i < 70; ++i)
        ASSERT_EQ(client_.Post(page_ + "await", big).status, 200);
    const std::string all = client_.Get("/journal").body;
    EXPECT_LE(all.size(), host::KeptLines::kBytes);
    EXPECT_GE(all.size(), host::KeptLines::kBytes / 2);
    EXPECT_NE(all.find(R"({"reply":{"code":0,"data":"1.00"}}]})"), std::string::npos);
}

TEST_F(KeptJournal, IsListenedToWithoutGapsOrDoubles)
{
    constexpr int kMessages = 200;
    for (int round = 0; round < 10; ++round) {
        const unsigned long long since = Since(1)["next"].asUInt64();
        std::thread busy([&] {
            WebClient page(web_.port());
            for (int i = 0; i < kMessages; ++i)
                page.Post(page_ + "await", R"({"command":"N)" + std::to_string(i) + "\"}");
        });
        // What is kept by then stands before what comes.
        WebListener late(web_.port(), "/journal?since=" + std::to_string(since));
        Lines heard;
        for (int replies = 0; replies < kMessages;
             replies += heard.back().rfind(R"({"reply")", 0) == 0 ? 1 : 0)
            heard.push_back(late.Read());
        busy.join();
        const Json::Value kept = Since(since);
        ASSERT_EQ(kept["first"].asUInt64(), since);
        ASSERT_EQ(kept["lines"].size(), heard.size());
        for (Json::ArrayIndex i = 0; i < heard.size(); ++i)
            ASSERT_EQ(J(heard[i]), kept["lines"][i]) << "round " << round << ", line " << i;
    }
    EXPECT_EQ(WebListener(web_.port(), "/journal?since=x").status(), 400);
}

TEST_F(KeptJournal, GoesToAListenerWholeHoweverLongItIs)
{
    const std::string big = R"({"command":"GetVersion","x":")" + std::string(1'000'000, 'x') + "\"}";
    for (int i = 0; i < 30; ++i)
        client_.Post(page_ + "await", big);
    WebListener late(web_.port(), "/journal?since=1");
    Json::ArrayIndex replies = 0;
    while (replies < 30)
        replies += late.Read().rfind(R"({"reply")", 0) == 0 ? 1U : 0U;
}

TEST_F(KeptJournal, PageHearsItsRuntime)
{
    WebListener runtime(web_.port(), page_ + "runtime");
    ASSERT_EQ(runtime.status(), 101);
    EXPECT_EQ(client_.Post("/tv", R"({"tv":"key","key":"ChannelUp"})").body, R"({"did":"key"})");
    EXPECT_EQ(runtime.Read(), R"({"key":"ChannelUp","keyCode":427,"code":""})");
    client_.Post("/tv", R"({"tv":"key","key":"7"})");
    EXPECT_EQ(runtime.Read(), R"({"key":"7","keyCode":55,"code":"Digit7"})");
    EXPECT_EQ(client_.Post("/tv", R"({"tv":"key","key":"channelup"})").status, 400);

    // What it says must be a line of its kind.
    runtime.Send("nonsense");
    EXPECT_NE(runtime.Read().find("not JSON"), std::string::npos);
    runtime.Send(R"({"tv":"poweroff","type":1})");
    EXPECT_EQ(runtime.Read(), R"({"error":"expected {\"tv\": \"media\", …}"})");

    // Keys wait for a page that is about to listen, and go with it.
    const std::string page = web_.OpenPage();
    EXPECT_EQ(runtime.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(WebListener(web_.port(), page_ + "runtime").status(), 410);
    client_.Post("/tv", R"({"tv":"key","key":"Enter"})");
    EXPECT_EQ(WebListener(web_.port(), page + "runtime").Read(),
              R"({"key":"Enter","keyCode":13,"code":"Enter"})");
    client_.Post(page + "close");
    EXPECT_EQ(client_.Post("/tv", R"({"tv":"key","key":"Enter"})").status, 200);
}

TEST(RemoteControl, KeyCodesAreTheTvFiles)
{
    const Web web;
    const std::string page = web.OpenPage();
    WebListener runtime(web.port(), page + "runtime");
    WebClient client(web.port());
    for (const auto& [file, code] : {std::pair{R"({"keys":{"ColorF0Red":108,"Info":7}})", "108"},
                                     std::pair{R"({"keys":{"Info":7}})", "403"}, std::pair{"{}", "403"}}) {
        tv::LoadTv(tv::ParseTv(file, tv::SampleTv()));
        client.Post("/tv", R"({"tv":"key","key":"ColorF0Red"})");
        EXPECT_EQ(runtime.Read(), R"({"key":"ColorF0Red","keyCode":)" + std::string(code) + R"(,"code":""})")
            << file;
    }
    for (const auto& [file, why] :
         {std::pair{R"({"keys":{"Red":1}})", "keys.Red: is not known"},
          std::pair{R"({"keys":{"Info":65536}})", "keys.Info: must be a whole number from 0 to 65535"},
          std::pair{R"({"keys":[]})", "keys: must be an object"}}) {
        try {
            tv::ParseTv(file, tv::SampleTv());
            ADD_FAILURE() << file;
        } catch (const tv::TvFileError& mistake) {
            EXPECT_STREQ(mistake.what(), why);
        }
    }
}

}  // namespace
