// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/host/comparing.h"

namespace test {
namespace {

/// The TV that all others here differ from.
constexpr char kBase[] = R"({
 "channels": [
  {"id": "71", "name": "Alpha", "major": 3, "minor": 1, "type": 1, "provider": "p", "service": "s", "channelType": 2,
   "guide": [{"title": "First", "synopsis": "one", "genre": "N", "minutes": 50, "identifier": "od-1"},
             {"title": "Second", "minutes": 1440}]},
  {"id": "18446744073709551614", "name": "Omega \ud83e\udd8a live", "major": 4, "minor": 0}],
 "programs": [{"title": "P1", "genre": "N"}, {"title": "P2"}, {"title": "P3"}],
 "settings": {"s": "text", "n": 5, "b": false}, "contentService": {"version": "1", "country": "XS"},
 "firstUse": {"firstBoot": false, "firstEntry": true, "instantOn": false, "viewingAgreement": false},
 "application": {"id": "a", "url": "http://a.tv/"}, "date": 1767294300000})";

/// One that differs from it in all that a page can tell; its dates and identifiers do so by nature.
constexpr char kOther[] = R"({
 "channels": [
  {"id": "71", "name": "Alpha", "major": 3, "minor": 2, "type": 1, "provider": "p", "service": "other", "channelType": 7,
   "frequency": 474000, "logo": "http://a.tv/logo.png",
   "guide": [{"title": "Other", "synopsis": "one", "genre": "N", "minutes": 45, "identifier": "another"},
             {"title": "Second", "minutes": 1440}]},
  {"id": "18446744073709551614", "name": "Omega \ud83e\udd8a live", "major": 4, "minor": 0}],
 "programs": [{"title": "P1", "genre": "N"}, {"title": "P2"}, {"title": "P3"}],
 "settings": {"s": "other", "n": 7, "b": true}, "contentService": {"version": "1", "country": "YY"},
 "firstUse": {"firstBoot": true, "firstEntry": false, "instantOn": true, "viewingAgreement": true},
 "application": {"id": "a", "url": "http://b.tv/"}, "date": 1767294300000})";

/// What a page asks of it, and the TV does.
constexpr char kSession[] = R"({"await":{"command":"GetZELumoServices"}}
{"await":{"command":"GetCurrentChannelInfo"}}
{"await":{"command":"GetFeaturedVirtualChannelInfo","input":"{}"}}
{"await":{"command":"ExtractServiceInformationsFromServiceId","serviceId":"71"}}
{"await":{"command":"GetServiceIdFromOnTVProviderAndService","input":"{\"provider\":\"p\",\"service\":\"s\"}"}}
{"await":{"command":"GetChannelLogo","input":"{\"TCServiceId\":\"71\"}"}}
{"await":{"command":"GetPresentProgram","input":"{\"TCServiceId\":\"71\"}"}}
{"await":{"command":"GetProgramList","input":"{\"TCServiceId\":\"71\"}"}}
{"await":{"command":"GetProgramList","input":"{\"TCServiceId\":\"18446744073709551614\"}"}}
{"await":{"command":"GetOnDemandIdentifier","input":"{\"programId\":\"71-1767294000\"}"}}
{"await":{"command":"GetVCConfig","input":"{}"}}
{"await":{"command":"GetStringFromVconfWithKey","key":"s"}}
{"await":{"command":"GetIntegerFromVconfWithKey","key":"n"}}
{"await":{"command":"GetBooleanFromVconfWithKey","key":"b"}}
{"await":{"command":"AddVconfCallbackWithKey","key":"n"}}
{"await":{"command":"SetIntegerToVconfWithKey","key":"n","input":6}}
{"await":{"command":"GetIntegerFromVconfWithKey","key":"n"}}
{"await":{"command":"CheckIsFirstBootingInZELumo"}}
{"await":{"command":"CheckFirstBootInZELumo"}}
{"await":{"command":"LaunchedZELumoWebApp"}}
{"await":{"command":"IsFirstEntryToZelumo"}}
{"await":{"command":"GetViewingAgreement"}}
{"await":{"command":"GetAppIDAndURL"}}
{"await":{"command":"RegisterEvent","event":90019}}
{"await":{"command":"SetNextService"}}
{"await":{"command":"GetCurrentChannelInfo"}}
{"post":{"command":"GetVersion"}}
{"tv":"event","event":90019}
)";

/// kBase, with a member at that path ("channels.0.name") that is `value`.
std::string With(const std::string& path, const std::string& value)
{
    Json::Value file = J(kBase);
    Json::Value* member = &file;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');)
        member = member->isArray() ? &(*member)[std::stoi(name)] : &(*member)[name];
    *member = J(value);
    return Text(file);
}

TEST(Learn, FindsExactlyWhatTheFilesMakeDifferentAndLearnsIt)
{
    const TemporaryFolder folder;
    const std::string base = folder.Write("base.json", kBase);
    const std::string session = folder.Write("session.jsonl", kSession);
    const std::string elsewhere = With("current", R"("18446744073709551614")");
    // The page reads this name up to the fox, unless the TV adds it.
    const std::string extra =
        With("channels.1.extra", R"({"channelName":"Omega \ud83e\udd8a live","hd":[1]})");
    const std::string ch_load = "message ITVS_Signal_ZELumo_Control_State_ChLoad data.ch_info.";
    for (const auto& [tv, differences] : std::vector<std::pair<std::string, Lines>>{
             {kBase, {}},
             {With("channels.0.name", R"("Beta")"),
              {"GetCurrentChannelInfo data.channelName",
               "GetFeaturedVirtualChannelInfo data.channels[0].name", "GetChannelLogo data.url"}},
             {elsewhere,
              {"GetCurrentChannelInfo data.channelName", "GetCurrentChannelInfo data.major",
               "GetCurrentChannelInfo data.minor", "GetCurrentChannelInfo data.serviceId",
               "GetCurrentChannelInfo data.serviceid", "GetCurrentChannelInfo data.type"}},
             {extra,
              {"GetCurrentChannelInfo data.channelName", "GetCurrentChannelInfo data.hd",
               ch_load + "channelName", ch_load + "channelName", ch_load + "hd", ch_load + "hd"}},
             {kOther,
              {"GetZELumoServices data.TCServiceData[0].minor", "GetCurrentChannelInfo data.frequency",
               "GetCurrentChannelInfo data.minor", "GetFeaturedVirtualChannelInfo data.channels[0].minor",
               "ExtractServiceInformationsFromServiceId data.EChannelType",
               "ExtractServiceInformationsFromServiceId data.minor",
               "GetServiceIdFromOnTVProviderAndService code", "GetServiceIdFromOnTVProviderAndService data",
               "GetServiceIdFromOnTVProviderAndService errorMessage",
               "GetServiceIdFromOnTVProviderAndService errorName", "GetChannelLogo data.url",
               "GetPresentProgram data.present.title", "GetProgramList data.programs[0].title",
               "GetVCConfig data.country", "GetStringFromVconfWithKey data",
               // What the page wrote before it asked is no matter.
               "GetIntegerFromVconfWithKey data", "GetBooleanFromVconfWithKey data",
               "CheckIsFirstBootingInZELumo data", "CheckFirstBootInZELumo data.isFirstEntry",
               "CheckFirstBootInZELumo data.isInstantOn", "GetViewingAgreement data",
               "GetAppIDAndURL data.URL"}},
             // Which of several that say yes is which.
             {With("firstUse.firstBoot", "true"), {"CheckIsFirstBootingInZELumo data"}},
             {With("firstUse.instantOn", "true"), {"CheckFirstBootInZELumo data.isInstantOn"}},
         }) {
        const std::string file = folder.Write("other.json", tv);
        const std::string recording =
            folder.Write("recording.jsonl", RunHost("--tv " + file + " script --echo " + session).out);
        const std::string learned = (folder / "learned.json").string();
        const HostResult compared =
            RunHost("--tv " + base + " compare " + recording + " --overwrite --learn " + learned);
        Lines found = Found(compared.out);
        // Where the TV shows another channel, what it shows afterwards is another as well.
        if (tv == elsewhere)
            found.resize(differences.size());
        // The messages of a change of channels come when they like.
        if (tv == extra)
            std::sort(found.begin(), found.end());
        EXPECT_EQ(found, differences) << tv << compared.out << compared.err;
        EXPECT_EQ(compared.status, differences.empty() ? 0 : 1) << tv;

        const HostResult again = RunHost("--tv " + learned + " compare " + recording);
        EXPECT_EQ(again.status, 0) << tv << again.out << again.err;
        EXPECT_EQ(LastLine(again.out).substr(0, 5), "0 of ") << again.out;
    }
}

/// A programme of a TV whose ids are not made as the stand-ins make theirs.
std::string Program(const std::string& id, const std::string& title, int begin, int minutes)
{
    const std::int64_t start = 1767294000000 + std::int64_t{begin} * 60000;
    const std::string times = R"("startTime":)" + std::to_string(start) + R"(,"endTime":)" +
                              std::to_string(start + std::int64_t{minutes} * 60000);
    return R"({"programId":")" + id + R"(","TCServiceId":"55","title":")" + title +
           R"(","synopsis":"","genre":"",)" + times + '}';
}

TEST(Learn, WritesAGuideThatBeginsAnywhere)
{
    const auto ask = [](const std::string& command, const std::string& input, const std::string& reply) {
        return Await(R"({"command":")" + command + R"(","input":)" + Text(input) + '}',
                     R"({"code":0,"data":)" + Text(reply) + '}');
    };
    const std::string now = R"("now":1767294900000,)";  // a quarter past the half hour
    const std::string of = R"({"TCServiceId":"55",)" + now;
    const std::string present = Program("7-1", "Runs already", -20, 60);
    const std::string next = Program("7-2", "Next", 40, 25);
    const std::string late = Program("7-9", "After a gap", 400, 2000);
    const std::string past = Program("7-0", "Long past", -200, 90);
    const std::string recording =
        ask("GetPresentProgram", R"({"TCServiceId":"55"})",
            of + "\"present\":" + present + ",\"following\":" + next + "}") +
        ask("GetProgram", R"({"programId":"7-2"})", "{\"program\":" + next + "}") +
        ask("GetProgramList", R"({"TCServiceId":"55","to":1767296000000})",
            of + "\"programs\":[" + present + "]}") +
        ask("GetProgramList", R"({"TCServiceId":"55","from":1767318060000,"to":1767318120000})",
            of + "\"programs\":[" + late + "]}") +
        ask("GetProgramList", R"({"TCServiceId":"55","from":1767282060000,"to":1767282120000})",
            of + "\"programs\":[" + past + "]}");
    const TemporaryFolder folder;
    const std::string file = folder.Write("recording.jsonl", recording);
    const std::string learned = (folder / "learned.json").string();
    EXPECT_EQ(RunHost("compare " + file + " --learn " + learned).status, 1);
    const HostResult again = RunHost("--tv " + learned + " compare " + file);
    EXPECT_EQ(again.status, 0) << again.out << again.err << ReadFile(learned);
    EXPECT_EQ(LastLine(again.out), "0 of 5 lines differ");
}

TEST(Learn, MakesDoWithWhatWasAsked)
{
    const auto ask = [](const std::string& message) { return "{\"await\":" + message + "}\n"; };
    const std::string next = ask(R"({"command":"SetNextService"})");
    const std::string previous = ask(R"({"command":"SetPreviousService"})");
    const std::string shown = ask(R"({"command":"GetCurrentChannelInfo"})");
    const std::string list = ask(R"({"command":"GetZELumoServices"})");
    const std::string featured = ask(R"({"command":"GetFeaturedVirtualChannelInfo","input":"{}"})");
    const std::string tune = ask(R"({"command":"SetServiceByServiceid","Serviceid":"0x47"})");
    const std::string language = ask(R"({"command":"GetStringFromVconfWithKey","key":"db/menu/language"})");
    const std::string is_first = ask(R"({"command":"CheckIsFirstBootingInZELumo"})");
    const std::string launched = ask(R"({"command":"LaunchedZELumoWebApp"})");
    const std::string restart = ask(R"({"command":"RestartZelumoInfo"})");
    const std::string film = R"({"await":{"command":"RegisterEvent","event":90019}}
{"await":{"command":"Init","url":"http://a.tv/film*.mpd","timeOffset":0}}
{"await":{"command":"Play"}}
{"tv":"advance","ms":1500}
{"await":{"command":"Seek","sec":20}}
{"tv":"advance","ms":2000}
{"await":{"command":"Stop"}}
)";
    const std::string none = R"({"channels":[]})";
    for (const auto& [tv, session] : std::vector<std::pair<std::string, std::string>>{
             {kBase, shown},
             {kBase, list},
             {kBase, featured + list},
             {kBase, shown + next + shown},
             {kBase, list + next + shown + next + shown},
             {kBase, previous + previous + previous + shown + list},
             {kBase, list + tune + shown},
             {kBase, tune + shown},
             {none, list + shown},
             {With("channels.0.extra", R"({"serviceId":"12","major":"three","type":null})"), shown + list},
             {With("channels.0.extra", R"("no JSON")"), list + shown},
             {With("channels.0.name", R"("")"), featured + shown},
             {With("settings", "{}"), language},
             {With("contentService.available", "false"), kSession},
             {With("firstUse.firstBoot", "true"), launched + is_first + restart + is_first},
             {With("firstUse.instantOn", "true"), ask(R"({"command":"IsInstantOn"})")},
             {R"({"streams":[{"pattern":"http://a.tv/*","duration":30000}]})", film},
             {R"({"streams":[{"pattern":"http://a.tv/*","duration":30000,"bufferMs":1500}]})", film + film},
         }) {
        const TemporaryFolder folder;
        const std::string file = folder.Write("tv.json", tv);
        const std::string recording =
            folder.Write("recording.jsonl", RunHost("--tv " + file + " script --echo -", session).out);
        const std::string learned = (folder / "learned.json").string();
        RunHost("compare " + recording + " --learn " + learned);
        const HostResult again = RunHost("--tv " + learned + " compare " + recording);
        EXPECT_EQ(again.status, 0) << tv << session << again.out << again.err << ReadFile(learned);
    }
}

TEST(Learn, WhatIsShownIsRatherToldByAReplyThanByAMessageThatCameLate)
{
    const TemporaryFolder folder;
    const Lines lines = test::LinesOf(RunHost("--tv " + folder.Write("tv.json", kBase) + " script --echo -",
                                              R"({"await":{"command":"GetZELumoServices"}}
{"await":{"command":"RegisterEvent","event":90019}}
{"await":{"command":"SetNextService"}}
{"await":{"command":"SetPreviousService"}}
{"await":{"command":"GetCurrentChannelInfo"}}
)")
                                          .out);
    std::string recording;
    std::string late;
    for (const std::string& line : lines) {
        if (line.find("GetCurrentChannelInfo") != std::string::npos)
            recording += late;
        (line.rfind(R"({"message")", 0) == 0 ? late : recording) += line + '\n';
    }
    const std::string file = folder.Write("recording.jsonl", recording);
    const std::string learned = (folder / "learned.json").string();
    RunHost("compare " + file + " --learn " + learned);
    const HostResult again = RunHost("--tv " + learned + " compare " + file);
    EXPECT_EQ(again.status, 0) << again.out << again.err << recording;
}

TEST(Learn, WhateverATvAnswersMakesATvFile)
{
    std::string recording = "{\"tv\":\"setting\",\"key\":{}}\n{\"tv\":\"clock\",\"date\":-1}\n";
    const Json::Value api = J(ReadFile(ZELUMO_PAGE_API));
    for (
        const char* data :
        {"null", "true", "-7", "1e300", "\"\"", "\"[[]]\"", "[{}]", R"({"TCServiceId":{}})",
         R"({"TCServiceId":"7","url":[],"now":-1,"version":{},"country":3,"appID":1,"URL":null,"isFirstEntry":"x"})",
         R"({"serviceid":"7","channelName":["x"],"major":-5,"minor":70000,"frequency":1e12,"extra":{}})",
         R"({"TCServiceId":"18446744073709551616","programs":7,"program":[],"present":{"TCServiceId":"7"}})",
         R"({"TCServiceId":"7","program":{"TCServiceId":"7","title":"x","startTime":5,"endTime":-5},"now":1e300,
              "present":{"TCServiceId":"7","title":"x","startTime":5,"endTime":9e18},
              "following":{"TCServiceId":"7","title":"\u0000","startTime":10,"endTime":11}})",
         R"({"channels":[{"TCServiceId":"8","name":7},{"TCServiceId":8},3],"EChannelType":{}})",
         R"({"TCServiceData":[{"id":-1},{"id":"7"},{"id":1e30},{"id":7,"major":65536}]})",
         R"({"TCServiceData":{"a":1}})"}) {
        for (const Json::Value& command : api["commands"]) {
            for (const Json::Value& told : {Json::Value(Text(J(data))), J(data)})
                recording += Await(Text(command["example"]), R"({"code":0,"data":)" + Text(told) + '}');
            recording += Told(Text(J(data))) + Told(R"({"data":{"ch_info":{}}})");
        }
        recording += Told(R"({"event":"ZELUMO_EVENT","type":137,"param2":)" + Text(J(data)) + '}');
    }
    const TemporaryFolder folder;
    const std::string learned = (folder / "learned.json").string();
    const HostResult result = RunHost("compare - --learn " + learned, recording);
    EXPECT_EQ(result.status, 1) << result.err;
    const HostResult read = RunHost("--tv " + learned + " script /dev/null");
    EXPECT_EQ(read.status, 0) << read.err << ReadFile(learned);
}

}  // namespace
}  // namespace test
