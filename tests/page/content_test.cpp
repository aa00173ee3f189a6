// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::J;
using test::Text;

constexpr Json::Int64 kMinute = 60'000;
constexpr Json::Int64 kHour = 60 * kMinute;
constexpr Json::Int64 kDay = 24 * kHour;
constexpr Json::Int64 kStart = 1767294000000;  // 2026-01-01T19:00:00Z

class Content : public testing::Test {
  protected:
    Content() { tv::LoadTv(tv::SampleTv()); }
    ~Content() override { tv::LoadTv(tv::SampleTv()); }

    Json::Value Send(const std::string& command, const std::string& input)
    {
        Json::Value request;
        request["command"] = command;
        request["input"] = input;
        return page_.AwaitValue(request);
    }
    /// The content service's answer; null when it gave none.
    Json::Value Ask(const std::string& command, const std::string& input)
    {
        const Json::Value reply = Send(command, input);
        return reply["code"] == 0 ? J(reply["data"].asString()) : Json::Value();
    }
    Json::Value AskOf(const std::string& command, const std::string& member, const Json::Value& value)
    {
        Json::Value input;
        input[member] = value;
        return Ask(command, Text(input));
    }
    Json::Value Get(const std::string& command)
    {
        return page_.Await(R"({"command":")" + command + "\"}")["data"];
    }
    static std::vector<std::string> Ids()
    {
        std::vector<std::string> ids;
        for (const tv::ChannelConfig& channel : tv::SampleTv().line_up.channels)
            ids.push_back(std::to_string(channel.id));
        return ids;
    }

    /// The programmes follow each other without a gap, from that of the one time to that of the other.
    static void ExpectCover(const Json::Value& programs, Json::Int64 from, Json::Int64 to)
    {
        ASSERT_GE(programs.size(), 1U);
        Json::Int64 end = programs[0]["startTime"].asInt64();
        EXPECT_LE(end, from);
        EXPECT_GT(programs[0]["endTime"].asInt64(), from);
        for (const Json::Value& program : programs) {
            EXPECT_EQ(program["startTime"].asInt64(), end);
            EXPECT_LT(end, std::max(to, from + 1));
            end = program["endTime"].asInt64();
            EXPECT_LT(program["startTime"].asInt64(), end);
        }
        EXPECT_GE(end, to);
    }

    test::Page page_;
};

TEST_F(Content, EveryChannelHasProgramsAndPictures)
{
    for (const std::string& id : Ids()) {
        SCOPED_TRACE(id);
        const Json::Value now = AskOf("GetPresentProgram", "TCServiceId", id);
        const Json::Value& present = now["present"];
        EXPECT_LE(present["startTime"].asInt64(), kStart);
        EXPECT_GT(present["endTime"].asInt64(), kStart);
        EXPECT_EQ(now["following"]["startTime"], present["endTime"]);
        EXPECT_EQ(AskOf("GetProgramList", "TCServiceId", id)["programs"][0], present);
        for (const char* member : {"title", "synopsis", "genre"})
            EXPECT_FALSE(present[member].asString().empty()) << member;
        for (const Json::Value& picture : {AskOf("GetChannelLogo", "TCServiceId", id),
                                           AskOf("GetProgramThumbnail", "programId", present["programId"])}) {
            EXPECT_EQ(picture["url"].asString().find("data:image/svg+xml,%3Csvg"), 0U);
            EXPECT_EQ(picture["url"].asString().find_first_of("\"'<>() #"), std::string::npos);
        }
    }
}

TEST_F(Content, TheGuideHasNoGapsAndNoEnd)
{
    std::mt19937_64 random(20260101);
    std::uniform_int_distribution<Json::Int64> any_time(0, 4102444800000);  // up to 2100
    std::uniform_int_distribution<Json::Int64> any_span(0, 30 * kHour);
    for (int round = 0; round < 60; ++round) {
        const std::string id = Ids()[static_cast<std::size_t>(random() % Ids().size())];
        const Json::Int64 now = any_time(random);
        const Json::Int64 from = any_time(random);
        const Json::Int64 to = from + any_span(random);
        tv::TheClock().SetDate(std::chrono::milliseconds(now));
        Json::Value request = J(R"({"TCServiceId":")" + id + "\"}");
        request["from"] = from;
        request["to"] = to;
        SCOPED_TRACE(Text(request) + " at " + std::to_string(now));
        const Json::Value programs = Ask("GetProgramList", Text(request))["programs"];
        ExpectCover(programs, from, to);
        for (const Json::Value& program : programs) {
            if (id != "1027") {  // which brings its own guide
                EXPECT_EQ(program["startTime"].asInt64() % (30 * kMinute), 0);
            }
            EXPECT_EQ(AskOf("GetProgram", "programId", program["programId"])["program"], program);
        }
    }
    // A list reaches a week at most.
    ExpectCover(Ask("GetProgramList", R"({"TCServiceId":"1002","from":0,"to":4000000000000})")["programs"], 0,
                7 * kDay);
}

TEST_F(Content, AnOwnGuideRunsRoundFromTheHalfHourOfTheDate)
{
    tv::LoadTv(tv::ParseTv(
        R"({"channels":[{"id":"7","provider":"P","guide":[{"title":"Ä","minutes":20},{"title":"B","minutes":25,"identifier":"b"}]},{"id":"8"}]})",
        tv::SampleTv()));
    page_.Do(R"({"tv":"clock","date":1767295799999})");  // one millisecond before the half hour
    const Json::Value list =
        Ask("GetProgramList", R"({"TCServiceId":"7","from":1767293999000,"to":1767297000000})")["programs"];
    EXPECT_EQ(Text(Ask("GetServiceIdFromOnTVProviderAndService",
                       R"({"provider":"P","service":""})")["TCServiceId"]),
              R"("7")");
    EXPECT_TRUE(Ask("GetServiceIdFromOnTVProviderAndService", R"({"provider":"","service":""})").isNull());
    std::string times;
    for (const Json::Value& program : list)
        times += program["title"].asString() + program["startTime"].asString() + ' ';
    EXPECT_EQ(times, "B1767292500000 Ä1767294000000 B1767295200000 Ä1767296700000 ");
    EXPECT_EQ(
        Send("GetProgram", R"({"programId":"7-1767294000"})")["data"],
        R"({"program":{"TCServiceId":"7","endTime":1767295200000,"genre":"","programId":"7-1767294000",)"
        R"("startTime":1767294000000,"synopsis":"","title":"Ä"}})");
    EXPECT_TRUE(Ask("GetProgram", R"({"programId":"7-1767294001"})").isNull()) << "after its start";
    EXPECT_EQ(Ask("GetOnDemandIdentifier", R"({"programId":"7-1767295200"})")["identifier"], "b");
    EXPECT_EQ(Ask("SetOnDemandProgram", R"({"programId":"7-1767294000"})")["identifier"], "od-7-1767294000");
    // A mark outlives the guide that its programme stood in.
    page_.Do(R"({"tv":"clock","date":1767295800000})");
    EXPECT_TRUE(Ask("GetProgram", R"({"programId":"7-1767294000"})").isNull());
    EXPECT_EQ(Ask("UnsetOnDemandProgram", R"({"programId":"7-1767294000"})")["removed"], true);
    EXPECT_TRUE(Ask("UnsetOnDemandProgram", R"({"programId":"7-1767294000"})").isNull());
}

TEST_F(Content, AnotherTvHasAFirstUseOfItsOwnAndNoMarks)
{
    const std::string named = R"({"programId":"1027-1767294000"})";
    Ask("SetOnDemandProgram", named);
    tv::LoadTv(tv::ParseTv(
        R"({"firstUse":{"firstBoot":false,"firstEntry":true,"instantOn":true,"viewingAgreement":false}})",
        tv::SampleTv()));
    EXPECT_EQ(Get("CheckIsFirstBootingInZELumo"), false);
    EXPECT_EQ(Text(Get("CheckFirstBootInZELumo")), R"({"isFirstEntry":true,"isInstantOn":true})");
    EXPECT_EQ(Get("GetViewingAgreement"), false);
    EXPECT_EQ(Ask("UnsetOnDemandProgram", named)["removed"], false);

    tv::LoadTv(tv::ParseTv(R"({"contentService":{"available":false}})", tv::SampleTv()));
    EXPECT_EQ(Send("GetChannelLogo", R"({"TCServiceId":"1001"})")["code"], 9999);
    EXPECT_EQ(Get("IsInstantOn"), false);
    EXPECT_EQ(page_.Await(R"({"command":"RegisterEvent","event":90019})")["code"], 28);
}

}  // namespace
