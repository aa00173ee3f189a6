// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"
#include "tv/tv_file.h"
#include "tvhost/web/journal.h"

namespace test {
namespace {

/// Web mode with one page open, and what its journal holds.
class KeptJournal : public testing::Test {
  protected:
    Json::Value Since(unsigned long long since)
    {
        return J(page_.client.Get("/journal?since=" + std::to_string(since)).body);
    }

    const Web web_;
    WebPage page_{web_.port()};
    const std::string big_ = R"({"command":"GetVersion","x":")" + std::string(1'000'000, 'x') + "\"}";
};

TEST_F(KeptJournal, TellsWhatHappensAndWhatHappenedBeforeAnybodyLooked)
{
    const unsigned long long before = Since(1)["next"].asUInt64();
    // What is told as it happens, what is found later, and what it is.
    WebListener journal(web_.port(), "/journal");
    page_.Await(R"({ "command": "AddVconfCallbackWithKey", "key": "k" })");
    page_.Do(R"({"tv":"setting","key":"k","value":1})");
    page_.Do(R"({"tv":"setting"})");
    page_.Post(kVersionMessage);
    page_.Do(R"({"tv":"poweroff","type":1})");
    page_.client.Post(page_.path + "close");
    const Json::Value kept = Since(before);
    EXPECT_EQ(kept["first"].asUInt64(), before);
    EXPECT_EQ(kept["next"].asUInt64(), before + kept["lines"].size());
    Lines lines;
    int logs = 0;
    for (const Json::Value& line : kept["lines"]) {
        const std::string told = journal.Read();
        EXPECT_EQ(J(told), line);
        logs += line.isMember("log") ? 1 : 0;
        if (!line.isMember("log"))
            lines.push_back(line.isMember("call") ? line["call"].asString() : told);
    }
    EXPECT_GT(logs, 0);
    EXPECT_EQ(lines.back(), R"({"did":"close"})");
    lines.resize(14);  // more follows of what the instance does at its end
    EXPECT_EQ(
        lines,
        (Lines{R"({"await":{ "command": "AddVconfCallbackWithKey", "key": "k" }})",
               "vconf_notify_key_changed", R"({"reply":{"code":0,"data":null}})",
               R"({"tv":"setting","key":"k","value":1})",
               R"({"message":{"code":0,"command":"k","data":"k","errorMessage":"","errorName":""}})",
               R"({"did":"setting","delivered":1})", R"({"tv":"setting"})",
               R"({"error":"verb \"setting\": \"key\" is missing"})", R"({"post":{"command":"GetVersion"}})",
               R"({"message":)" + RefusedMessage("GetVersion") + "}", R"({"tv":"poweroff","type":1})",
               R"({"did":"poweroff","delivered":1,"results":[0]})", R"({"tv":"close"})",
               "FIIPCConnection::GetInstance"}));

    const Json::Value beyond = Since(1'000'000);
    EXPECT_EQ(beyond["first"], kept["next"]);
    EXPECT_EQ(beyond["next"], kept["next"]);
    EXPECT_TRUE(beyond["lines"].empty());
    EXPECT_EQ(J(page_.client.Get("/journal").body), Since(0)) << "all that is kept";
}

TEST_F(KeptJournal, HoldsCallsAsTheyAreHoweverManyPartsTheyHave)
{
    page_.Await(R"({"command":"GetZELumoServices"})");
    const Json::Value kept = Since(1);
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
        page_.Await(kVersionMessage);
    const Json::Value kept = Since(1);
    const unsigned long long count = kept["lines"].size();
    EXPECT_GE(count, kPromised);
    EXPECT_LE(count, 2 * kPromised);
    EXPECT_EQ(kept["next"].asUInt64() - kept["first"].asUInt64(), count);
    EXPECT_TRUE(kept["lines"][0].isObject());

    // Much that is long is kept as far as it doesn't take too much, and the newest line in any case.
    for (int i = 0; i < 70; ++i)
        ASSERT_EQ(page_.Await(big_).status, 200);
    const std::string all = page_.client.Get("/journal").body;
    EXPECT_LE(all.size(), host::KeptLines::kBytes);
    EXPECT_GE(all.size(), host::KeptLines::kBytes / 2);
    EXPECT_NE(all.find(R"({"reply":)" + std::string(kVersionReply) + "}]}"), std::string::npos);
    // It goes to a listener whole.
    WebListener late(web_.port(), "/journal?since=1");
    for (std::size_t heard = 0; heard < host::KeptLines::kBytes / 2;)
        heard += late.Read().size();
}

TEST_F(KeptJournal, IsListenedToWithoutGapsOrDoubles)
{
    constexpr int kMessages = 200;
    for (int round = 0; round < 10; ++round) {
        const unsigned long long since = Since(1)["next"].asUInt64();
        std::thread busy([&] {
            for (int i = 0; i < kMessages; ++i)
                page_.Await(R"({"command":"N)" + std::to_string(i) + "\"}");
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

TEST_F(KeptJournal, PageHearsItsRuntime)
{
    WebListener runtime(web_.port(), page_.path + "runtime");
    EXPECT_EQ(page_.Do(R"({"tv":"key","key":"ChannelUp"})").body, R"({"did":"key"})");
    EXPECT_EQ(runtime.Read(), R"({"key":"ChannelUp","keyCode":427,"code":""})");
    page_.Do(R"({"tv":"key","key":"7"})");
    EXPECT_EQ(runtime.Read(), R"({"key":"7","keyCode":55,"code":"Digit7"})");
    EXPECT_EQ(page_.Do(R"({"tv":"key","key":"channelup"})").status, 400);

    // What it says must be a line of its kind.
    runtime.Send("nonsense");
    EXPECT_NE(runtime.Read().find("not JSON"), std::string::npos);
    runtime.Send(R"({"tv":"poweroff","type":1})");
    EXPECT_EQ(runtime.Read(), R"({"error":"expected {\"tv\": \"media\", …}"})");

    // Keys wait for a page that is about to listen, and go with it.
    WebPage next(web_.port());
    const std::string enter = R"({"tv":"key","key":"Enter"})";
    EXPECT_EQ(runtime.ReadToEnd(), "another page has the TV now");
    EXPECT_EQ(WebListener(web_.port(), page_.path + "runtime").status(), 410);
    next.Do(enter);
    EXPECT_EQ(WebListener(web_.port(), next.path + "runtime").Read(),
              R"({"key":"Enter","keyCode":13,"code":"Enter"})");
    next.client.Post(next.path + "close");
    EXPECT_EQ(next.Do(enter).status, 200);
}

TEST(RemoteControl, KeyCodesAreTheTvFiles)
{
    const Web web;
    WebPage page(web.port());
    WebListener runtime(web.port(), page.path + "runtime");
    for (const auto& [file, code] : {std::pair{R"({"keys":{"ColorF0Red":108,"Info":7}})", "108"},
                                     std::pair{R"({"keys":{"Info":7}})", "403"}, std::pair{"{}", "403"}}) {
        tv::LoadTv(tv::ParseTv(file, tv::SampleTv()));
        page.Do(R"({"tv":"key","key":"ColorF0Red"})");
        EXPECT_EQ(runtime.Read(), R"({"key":"ColorF0Red","keyCode":)" + std::string(code) + R"(,"code":""})")
            << file;
    }
    for (const auto& [file, why] :
         {std::pair{R"({"keys":{"Red":1}})", "keys.Red: is not known"},
          std::pair{R"({"keys":{"Info":65536}})", "keys.Info: must be a whole number from 0 to 65535"},
          std::pair{R"({"keys":[]})", "keys: must be an object"}})
        EXPECT_EQ(RefusalFault("--tv /dev/stdin script /dev/null", why, file), "") << file;
}

}  // namespace
}  // namespace test
