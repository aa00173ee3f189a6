// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

constexpr const char* kProgramCommands[] = {"GetProgram",           "GetProgramThumbnail",
                                            "GetProgramBackground", "SetOnDemandProgram",
                                            "UnsetOnDemandProgram", "GetOnDemandIdentifier"};
constexpr const char* kChannelCommands[] = {"GetProgramList", "GetPresentProgram", "GetChannelLogo"};
constexpr Json::Int64 kMinute = 60'000;
constexpr Json::Int64 kHour = 60 * kMinute;
constexpr Json::Int64 kDay = 24 * kHour;
constexpr Json::Int64 kStart = 1767294000000;  // 2026-01-01T19:00:00Z

/// The commands that hand a text on to the content service, and its answer back.
Lines TextCommands()
{
    Lines commands{"GetVCConfig", "GetFeaturedVirtualChannelInfo", "GetServiceIdFromOnTVProviderAndService"};
    commands.insert(commands.end(), std::begin(kProgramCommands), std::end(kProgramCommands));
    commands.insert(commands.end(), std::begin(kChannelCommands), std::end(kChannelCommands));
    return commands;
}

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
        if (reply["code"] != 0) {
            EXPECT_EQ(reply["code"], 9999);
            EXPECT_EQ(reply["errorMessage"], "Can't " + command);
            return {};
        }
        return J(reply["data"].asString());
    }
    Json::Value AskOf(const std::string& command, const Json::Value& input)
    {
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

TEST_F(Content, TextsPassUnchangedBothWays)
{
    test::Calls calls;
    const std::string request = "no JSON, \x01\xC3\xA9 \"quotes\" \\ and a\nbreak";
    const std::string response = "{ answer\t\xF0\x9F\xA6\x8A }";
    Json::Value args;
    args.append(request);
    Json::Value out;
    out.append(response);
    for (const std::string& command : TextCommands()) {
        SCOPED_TRACE(command);
        const std::string name = "FIVirtualChannelsAPI::" + command;
        const std::string accessor = "FCAPI::GetVirtualChannelsAPI [] -> true";
        page_.Answer('"' + name + R"(","result":true,"out":)" + Text(out));
        EXPECT_EQ(Send(command, request)["data"], response);
        EXPECT_EQ(calls.Take(), (Lines{accessor, name + ' ' + Text(args) + " -> true out " + Text(out)}));
        // Success without a text is an empty text; a text without success is none.
        page_.Answer('"' + name + '"');
        EXPECT_EQ(Send(command, request)["data"], "");
        page_.Answer('"' + name + R"(","result":false,"out":["text"])");
        EXPECT_EQ(Send(command, request)["code"], 9999);
        page_.Do(R"({"tv":"restore"})");
        calls.Take();
        // What the service can't read, it does not answer.
        EXPECT_EQ(Send(command, request)["code"], 9999);
        EXPECT_EQ(calls.Take(), (Lines{accessor, name + ' ' + Text(args) + " -> false out [null]"}));
    }
}

TEST_F(Content, EveryChannelHasPrograms)
{
    for (const std::string& id : Ids()) {
        SCOPED_TRACE(id);
        const Json::Value channel = J(R"({"TCServiceId":")" + id + "\"}");
        const Json::Value now = AskOf("GetPresentProgram", channel);
        EXPECT_EQ(now["TCServiceId"], id);
        EXPECT_EQ(now["now"], kStart);
        EXPECT_LE(now["present"]["startTime"].asInt64(), kStart);
        EXPECT_GT(now["present"]["endTime"].asInt64(), kStart);
        EXPECT_EQ(now["following"]["startTime"], now["present"]["endTime"]);
        EXPECT_EQ(AskOf("GetProgramList", channel)["programs"][0], now["present"]);
        const Json::Value logo = AskOf("GetChannelLogo", channel);
        EXPECT_EQ(logo["TCServiceId"], id);
        EXPECT_EQ(logo["url"].asString().find("data:image/svg+xml,%3Csvg"), 0U);

        for (const Json::Value& program : {now["present"], now["following"]}) {
            for (const char* member : {"title", "synopsis", "genre"})
                EXPECT_FALSE(program[member].asString().empty()) << member;
            EXPECT_EQ(program["programId"], id + '-' + std::to_string(program["startTime"].asInt64() / 1000));
            Json::Value named;
            named["programId"] = program["programId"];
            for (const char* command : {"GetProgramThumbnail", "GetProgramBackground"}) {
                const Json::Value picture = AskOf(command, named);
                EXPECT_EQ(picture["programId"], program["programId"]);
                EXPECT_EQ(picture["url"].asString().find("data:image/svg+xml,%3Csvg"), 0U);
                EXPECT_EQ(picture["url"].asString().find_first_of("\"'<>() #"), std::string::npos);
            }
            const Json::Value identifier = AskOf("GetOnDemandIdentifier", named);
            EXPECT_EQ(identifier["programId"], program["programId"]);
            EXPECT_EQ(identifier["identifier"].asString().find("od-"), 0U);
        }
    }
}

TEST_F(Content, WhatDoesNotExistIsNotAnswered)
{
    const std::string present =
        Ask("GetPresentProgram", R"({"TCServiceId":"1001"})")["present"]["programId"].asString();
    const Lines not_channels{"[]",
                             R"({"TCServiceId":1001})",
                             R"({"TCServiceId":"77"})",
                             R"({"TCServiceId":"1001x"})",
                             R"({"TCServiceId":"1001"} x)",
                             std::string(5000, '[')};
    for (const char* command : kChannelCommands) {
        for (const std::string& input : not_channels)
            EXPECT_TRUE(Ask(command, input).isNull()) << command << input;
    }
    for (const char* span : {R"("from":-1)", R"("from":"0")", R"("from":1.5)", R"("to":null)",
                             R"("from":1e18)", R"("from":2000,"to":1000)", R"("to":1000)"})
        EXPECT_TRUE(Ask("GetProgramList", std::string(R"({"TCServiceId":"1001",)") + span + "}").isNull())
            << span;
    for (const char* command : kProgramCommands) {
        for (const std::string& id :
             {std::string(), std::string("1001"), std::string("1001-"), present + 'x', '0' + present,
              present + ' ', std::string("77-1767294000"), std::string("1001-1767294001"),
              std::string("1001-99999999999999999999")})
            EXPECT_TRUE(Ask(command, R"({"programId":")" + id + "\"}").isNull()) << command << id;
        EXPECT_TRUE(Ask(command, "{\"programId\":5}").isNull());
    }
    for (const char* input :
         {"{}", R"({"provider":"","service":""})", R"({"provider":"zelumo"})",
          R"({"provider":"zelumo","service":"other"})", R"({"provider":"other","service":"first"})",
          R"({"provider":1,"service":"first"})"})
        EXPECT_TRUE(Ask("GetServiceIdFromOnTVProviderAndService", input).isNull()) << input;
    EXPECT_EQ(
        page_.Await(R"({"command":"ExtractServiceInformationsFromServiceId","serviceId":"77"})")["code"],
        9999);
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
        const Json::Value programs = AskOf("GetProgramList", request)["programs"];
        ExpectCover(programs, from, to);
        for (const Json::Value& program : programs) {
            if (id != "1027") {  // which brings its own guide
                EXPECT_EQ(program["startTime"].asInt64() % (30 * kMinute), 0);
            }
            EXPECT_EQ(AskOf("GetProgram", J("{\"programId\":" + Text(program["programId"]) + "}"))["program"],
                      program);
        }
    }
}

TEST_F(Content, ListsReachSixHoursUnlessAskedOtherwise)
{
    using Range = std::pair<Json::Int64, Json::Int64>;
    for (const auto& [span, range] : std::map<std::string, Range>{
             {"", {kStart, kStart + 6 * kHour}},
             {R"(,"from":1767000000000)", {1767000000000, 1767000000000 + 6 * kHour}},
             {R"(,"from":1767000000000,"to":1767000000000)", {1767000000000, 1767000000000}},
             {R"(,"to":1767294060000)", {kStart, kStart + kMinute}},
             {R"(,"from":0,"to":4000000000000)", {0, 7 * kDay}},  // and no further
         }) {
        const Json::Value list = Ask("GetProgramList", R"({"TCServiceId":"1002")" + span + "}");
        EXPECT_EQ(list["now"], kStart);
        SCOPED_TRACE(span);
        ExpectCover(list["programs"], range.first, range.second);
    }
}

TEST_F(Content, AnOwnGuideRunsRoundFromTheHalfHourOfTheDate)
{
    tv::LoadTv(tv::ParseTv(
        R"({"channels":[{"id":"7","provider":"P","guide":[{"title":"Ä","minutes":20},{"title":"B","minutes":25,"identifier":"b"}]}]})",
        tv::SampleTv()));
    for (const char* verb :
         {R"({"tv":"clock"})", R"({"tv":"clock","date":-1})", R"({"tv":"clock","date":"0"})",
          R"({"tv":"clock","date":253402300800000})", R"({"tv":"clock","date":0,"zone":1})"})
        EXPECT_THROW(page_.Do(verb), tv::VerbError) << verb;
    page_.Do(R"({"tv":"clock","date":1767295799999})");  // one millisecond before the half hour
    const Json::Value list =
        Ask("GetProgramList", R"({"TCServiceId":"7","from":1767293999000,"to":1767297000000})")["programs"];
    EXPECT_EQ(Text(Ask("GetServiceIdFromOnTVProviderAndService",
                       R"({"provider":"P","service":""})")["TCServiceId"]),
              R"("7")");
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

TEST_F(Content, FirstUseEndsWithALaunchAndComesBack)
{
    const auto state = [&] {
        const Json::Value both = Get("CheckFirstBootInZELumo");
        EXPECT_EQ(both["isFirstEntry"], Get("IsFirstEntryToZelumo"));
        EXPECT_EQ(both["isInstantOn"], Get("IsInstantOn"));
        return Text(Get("CheckIsFirstBootingInZELumo")) + Text(both);
    };
    const std::string first = R"(true{"isFirstEntry":true,"isInstantOn":false})";
    EXPECT_EQ(state(), first);
    EXPECT_EQ(Text(page_.Await(R"({"command":"LaunchedZELumoWebApp"})")), R"({"code":0,"data":null})");
    EXPECT_EQ(state(), R"(false{"isFirstEntry":false,"isInstantOn":false})");
    const std::string named = R"({"programId":"1027-1767294000"})";
    Ask("SetOnDemandProgram", named);
    EXPECT_EQ(Text(page_.Await(R"({"command":"RestartZelumoInfo"})")), R"({"code":0,"data":null})");
    EXPECT_EQ(state(), first);
    EXPECT_EQ(Ask("UnsetOnDemandProgram", named)["removed"], false);

    // Another TV has no marks.
    Ask("SetOnDemandProgram", named);
    tv::LoadTv(tv::ParseTv(
        R"({"firstUse":{"firstBoot":false,"firstEntry":true,"instantOn":true,"viewingAgreement":false}})",
        tv::SampleTv()));
    EXPECT_EQ(state(), R"(false{"isFirstEntry":true,"isInstantOn":true})");
    EXPECT_EQ(Get("GetViewingAgreement"), false);
    EXPECT_EQ(Ask("UnsetOnDemandProgram", named)["removed"], false);
}

TEST_F(Content, FlagsAndTextsAreReadBackOnSuccessOnly)
{
    for (const auto& [out, flags] : std::map<std::string, std::string>{
             {"[true]", R"({"isFirstEntry":true,"isInstantOn":false})"},
             {"[null,true]", R"({"isFirstEntry":false,"isInstantOn":true})"}}) {
        page_.Answer(R"("FIZELumoAPI::CheckFirstBootInZELumo","out":)" + out);
        EXPECT_EQ(Text(Get("CheckFirstBootInZELumo")), flags);
    }
    page_.Answer(R"("FIZELumoAPI::GetAppIDAndURL","out":["id"])");
    EXPECT_EQ(Text(Get("GetAppIDAndURL")), R"({"URL":"","appID":"id"})");
    const std::string given = R"({"serviceId":"9","isForDirectTune":true,"channelType":-2,"channelNumber":3,)"
                              R"("serviceProfile":4,"major":5,"minor":6,"programNumber":7})";
    for (const auto& [out, told] : std::map<std::string, std::string>{
             {"null",
              R"({"EChannelType":-1,"IsForDirectTune":false,"TCServiceId":"0","channel number":0,"major":0,)"
              R"("minor":0,"program number":0,"service profile":-1})"},
             {given,
              R"({"EChannelType":-2,"IsForDirectTune":true,"TCServiceId":"9","channel number":3,"major":5,)"
              R"("minor":6,"program number":7,"service profile":4})"}}) {
        const std::string name = "FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId";
        page_.Answer('"' + name + R"(","out":[)" + out + ']');
        test::Calls calls;
        EXPECT_EQ(Text(page_.Await(
                      R"({"command":"ExtractServiceInformationsFromServiceId","serviceId":"1"})")["data"]),
                  told);
        EXPECT_EQ(calls.Take().back(), name + R"( ["1"] -> true out [)" + Text(J(out)) + ']');
    }
}

TEST_F(Content, AnAbsentServiceAnswersNothing)
{
    tv::LoadTv(tv::ParseTv(R"({"contentService":{"available":false}})", tv::SampleTv()));
    test::Calls calls;
    EXPECT_EQ(Send("GetChannelLogo", R"({"TCServiceId":"1001"})")["code"], 9999);
    EXPECT_EQ(calls.Take(), Lines{"FCAPI::GetVirtualChannelsAPI [] -> null"});
    for (const char* command :
         {"IsInstantOn", "IsFirstEntryToZelumo", "CheckIsFirstBootingInZELumo", "GetViewingAgreement"})
        EXPECT_EQ(Text(Get(command)), "false") << command;
    EXPECT_EQ(page_.Await(R"({"command":"RegisterEvent","event":90019})")["code"], 28);
    EXPECT_EQ(page_.Await(R"({"command":"GetCurrentChannelInfo"})")["code"], 0);
}

}  // namespace
