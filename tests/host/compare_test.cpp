// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <regex>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace {

using test::HostResult;
using test::J;
using test::Lines;
using test::RunHost;
using test::TemporaryFolder;
using test::Text;

/// What was found to differ: "GetVCConfig data.country", "message X: missing", without line numbers and
/// values.
Lines Found(const std::string& out)
{
    static const std::regex kBlock("line [0-9]+: (.*)");
    static const std::regex kMember("  (\\S.*): recorded .*");
    Lines found;
    std::string what;
    bool has_members = true;
    const auto end_block = [&] {
        if (!has_members)
            found.push_back(what);
    };
    for (const std::string& line : test::LinesOf(out)) {
        std::smatch match;
        if (std::regex_match(line, match, kBlock)) {
            end_block();
            what = match[1];
            has_members = false;
        } else if (std::regex_match(line, match, kMember)) {
            found.push_back(what + ' ' + match[1].str());
            has_members = true;
        }
    }
    end_block();
    return found;
}

std::string LastLine(const std::string& out)
{
    const Lines lines = test::LinesOf(out);
    return lines.empty() ? "" : lines.back();
}

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

/// kBase, with a member at that path ("channels.0.name") that is `value`; "": with nothing else.
std::string With(const std::string& path, const std::string& value)
{
    Json::Value file = J(kBase);
    Json::Value* member = &file;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');)
        member = member->isArray() ? &(*member)[std::stoi(name)] : &(*member)[name];
    if (!path.empty())
        *member = J(value);
    return Text(file);
}

TEST(Compare, FindsExactlyWhatTheFilesMakeDifferentAndLearnsIt)
{
    const TemporaryFolder folder;
    const std::string base = folder.Write("base.json", kBase);
    const std::string ch_load = "message ITVS_Signal_ZELumo_Control_State_ChLoad data.";
    for (const auto& [path, value, differences] : std::vector<std::tuple<std::string, std::string, Lines>>{
             {"", "", {}},
             {"channels.0.name",
              R"("Beta")",
              {"GetCurrentChannelInfo data.channelName",
               "GetFeaturedVirtualChannelInfo data.channels[0].name", "GetChannelLogo data.url"}},
             // The page reads this name up to the fox, unless the TV adds it.
             {"channels.1.extra",
              R"({"channelName":"Omega \ud83e\udd8a live","hd":[1]})",
              {ch_load + "ch_info.channelName", ch_load + "ch_info.hd",
               "GetCurrentChannelInfo data.channelName", "GetCurrentChannelInfo data.hd",
               ch_load + "ch_info.channelName", ch_load + "ch_info.hd"}},
             {"channels.0.minor",
              "2",
              {"GetZELumoServices data.TCServiceData[0].minor", "GetCurrentChannelInfo data.minor",
               "GetFeaturedVirtualChannelInfo data.channels[0].minor",
               "ExtractServiceInformationsFromServiceId data.minor"}},
             {"channels.0.frequency", "474000", {"GetCurrentChannelInfo data.frequency"}},
             {"channels.0.channelType", "7", {"ExtractServiceInformationsFromServiceId data.EChannelType"}},
             {"channels.0.logo", R"("http://a.tv/logo.png")", {"GetChannelLogo data.url"}},
             {"channels.0.service",
              R"("other")",
              {"GetServiceIdFromOnTVProviderAndService code", "GetServiceIdFromOnTVProviderAndService data",
               "GetServiceIdFromOnTVProviderAndService errorMessage",
               "GetServiceIdFromOnTVProviderAndService errorName"}},
             {"channels.0.guide.0.title",
              R"("Other")",
              {"GetPresentProgram data.present.title", "GetProgramList data.programs[0].title"}},
             // Dates and identifiers differ by nature.
             {"channels.0.guide.0.minutes", "45", {}},
             {"channels.0.guide.0.identifier", R"("another")", {}},
             {"current",
              R"("18446744073709551614")",
              {"GetCurrentChannelInfo data.channelName", "GetCurrentChannelInfo data.major",
               "GetCurrentChannelInfo data.minor", "GetCurrentChannelInfo data.serviceId",
               "GetCurrentChannelInfo data.serviceid", "GetCurrentChannelInfo data.type"}},
             {"contentService.country", R"("YY")", {"GetVCConfig data.country"}},
             {"settings.s", R"("other")", {"GetStringFromVconfWithKey data"}},
             {"settings.b", "true", {"GetBooleanFromVconfWithKey data"}},
             // What the page wrote before it asked is no matter.
             {"settings.n", "7", {"GetIntegerFromVconfWithKey data"}},
             {"firstUse.firstBoot", "true", {"CheckIsFirstBootingInZELumo data"}},
             {"firstUse.firstEntry", "false", {"CheckFirstBootInZELumo data.isFirstEntry"}},
             {"firstUse.instantOn", "true", {"CheckFirstBootInZELumo data.isInstantOn"}},
             {"firstUse.viewingAgreement", "true", {"GetViewingAgreement data"}},
             {"application.url", R"("http://b.tv/")", {"GetAppIDAndURL data.URL"}},
         }) {
        const std::string session = folder.Write("session.jsonl", kSession);
        const std::string other = folder.Write("other.json", With(path, value));
        const std::string recording =
            folder.Write("recording.jsonl", RunHost("--tv " + other + " script --echo " + session).out);
        const std::string learned = (folder / "learned.json").string();
        const HostResult compared =
            RunHost("--tv " + base + " compare " + recording + " --overwrite --learn " + learned);
        Lines found = Found(compared.out);
        // Where the TV shows another channel, what it shows afterwards is another as well.
        if (path == "current")
            found.resize(differences.size());
        if (path == "channels.1.extra")
            std::sort(found.begin(), found.end());
        Lines expected = differences;
        if (path == "channels.1.extra")
            std::sort(expected.begin(), expected.end());
        EXPECT_EQ(found, expected) << path << compared.out << compared.err;
        EXPECT_EQ(compared.status, differences.empty() ? 0 : 1) << path;

        const HostResult again = RunHost("--tv " + learned + " compare " + recording);
        EXPECT_EQ(again.status, 0) << path << again.out << again.err;
        EXPECT_EQ(LastLine(again.out).substr(0, 5), "0 of ") << again.out;
    }
}

TEST(Compare, TakesWhatServeRecords)
{
    const TemporaryFolder folder;
    const std::string other = folder.Write("other.json", With("contentService.country", R"("YY")"));
    const std::string recording = (folder / "recording.jsonl").string();
    test::ServeProcess server({"--tv", other, "--record", recording, "--speed", "0"});
    test::WebPage page(server.port());
    const Json::Value api = J(test::ReadFile(ZELUMO_PAGE_API));
    for (int pages = 0; pages < 2; ++pages) {
        for (const Json::Value& command : api["commands"])
            ASSERT_EQ(page.Await(Text(command["example"])).status, 200);
        ASSERT_EQ(page.Do(R"({"tv":"advance","ms":5000})").status, 200);
        ASSERT_EQ(
            page.Do(R"({"tv":"answer","call":"vconf_get_int","result":-1,"times":1,"delay":60000})").status,
            200);
        ASSERT_EQ(page.Do(R"({"tv":"setting","key":"db/menu/language","value":"de"})").status, 200);
        page.path = page.client.OpenPage();
    }
    ASSERT_EQ(server.End(SIGINT), 0);
    // Nobody waits out a minute's delay.
    const auto begin = std::chrono::steady_clock::now();
    const HostResult same = RunHost("--tv " + other + " compare " + recording);
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    EXPECT_EQ(RunHost("--tv " + other + " compare - <" + recording).out, same.out);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    const HostResult sample = RunHost("compare " + recording);
    EXPECT_NE(sample.out.find("GetVCConfig"), std::string::npos);
    EXPECT_EQ(sample.status, 1);
}

std::string Await(const std::string& message, const std::string& reply, const Lines& messages = {})
{
    std::string lines = "{\"await\":" + message + "}\n{\"reply\":" + reply + "}\n";
    for (const std::string& one : messages)
        lines += "{\"message\":" + one + "}\n";
    return lines;
}

std::string Message(const std::string& command, const std::string& data)
{
    return R"({"code":0,"command":")" + command + R"(","data":)" + data +
           R"(,"errorMessage":"","errorName":""})";
}

TEST(Compare, KnowsWhatATvTellsByItself)
{
    const std::string done = R"({"code":0,"data":null})";
    const std::string yes = R"({"code":0,"data":true})";
    const std::string watch_a = Await(R"({"command":"AddVconfCallbackWithKey","key":"a"})", done);
    const std::string watch_b = Await(R"({"command":"AddVconfCallbackWithKey","key":"b"})", done);
    const std::string a = Message("a", R"("a")");
    const std::string b = Message("b", R"("b")");
    const std::string set_a = R"({"command":"SetIntegerToVconfWithKey","key":"a","input":1})";
    const std::string set_b = R"({"command":"SetIntegerToVconfWithKey","key":"b","input":1})";
    const std::string get = Await(R"({"command":"GetVersion"})", R"({"code":0,"data":"1.00"})");
    const std::string power = Message("ITVS_Signal_Instant_Off", R"({"event":90028})");
    const std::string position = R"({"event":"ZELUMO_EVENT","param1":"1000","param2":"60000","type":137})";
    const std::string answer =
        R"({"code":9,"command":"GetVersion","data":null,"errorMessage":"Parameters is invalid","errorName":"NotSupportedError"})";
    const std::string post = R"({"post":{"command":"GetVersion"}})"
                             "\n";
    // The recording, what differs, the last line.
    for (const auto& [recording, found, last] : std::vector<std::tuple<std::string, Lines, std::string>>{
             {"# Of a real TV, relayed\n" + get, {}, "0 of 1 line differ"},
             {get + "{\"message\":" + power + "}\n" + get, {}, "0 of 2 lines differ"},
             {watch_a + Await(set_a, yes, {a}), {}, "0 of 3 lines differ"},
             // It comes when it likes, as long as that is not before its cause.
             {watch_a + Await(set_a, yes) + get + get + "{\"message\":" + a + "}\n",
              {},
              "0 of 5 lines differ"},
             {watch_a + "{\"message\":" + a + "}\n" + Await(set_a, yes),
              {"message a: additional"},
              "1 of 3 lines differs"},
             {watch_a + watch_b + Await(set_a, yes) + Await(set_b, yes, {b, a}), {}, "0 of 6 lines differ"},
             {watch_a + Await(set_a, yes), {"message a: additional"}, "1 of 3 lines differs"},
             {post + "{\"message\":" + answer + "}\n", {}, "0 of 1 line differ"},
             {post, {"message GetVersion: additional"}, "1 of 1 line differs"},
             {post + post + "{\"message\":" + answer + "}\n{\"message\":" + Message("GetVersion", "1") +
                  "}\n",
              {"message GetVersion code", "message GetVersion data", "message GetVersion errorMessage",
               "message GetVersion errorName"},
              "1 of 2 lines differs"},
             {post + std::string("{\"message\":") + answer + "}\n{\"message\":" + answer + "}\n",
              {"message GetVersion: missing"},
              "1 of 2 lines differs"},
             {get + std::string("{\"message\":") + position + "}\n{\"message\":" + position + "}\n",
              {},
              "0 of 1 line differ"},
             // A key of the remote and pages say nothing of the TV.
             {"{\"tv\":\"open\"}\n{\"did\":\"open\"}\n" + get +
                  "{\"tv\":\"key\",\"key\":\"Exit\"}\n{\"did\":\"key\"}\n"
                  "{\"tv\":\"close\"}\n{\"did\":\"close\"}\n{\"tv\":\"open\"}\n{\"did\":\"open\"}\n" +
                  get,
              {},
              "0 of 2 lines differ"},
             // A TV that went away gave no answer.
             {get + "{\"await\":{\"command\":\"GetVersion\"}}\n" + get, {}, "0 of 2 lines differ"},
             {Await(R"({"command":"GetVersion"})", R"({"code":0,"data":"2.00"})"),
              {"GetVersion data"},
              "1 of 1 line differs"},
         }) {
        const HostResult result = RunHost("compare -", recording);
        EXPECT_EQ(Found(result.out), found) << recording << result.out << result.err;
        EXPECT_EQ(LastLine(result.out), last) << recording << result.out;
        EXPECT_EQ(result.status, found.empty() ? 0 : 1) << recording;
    }
}

TEST(Compare, OrderCountsWhereTheCauseIsKnown)
{
    const HostResult whole = RunHost("script --echo -", R"({"await":{"command":"RegisterEvent","event":90019}}
{"await":{"command":"Init","url":"http://sample.tv/film.mpd","timeOffset":0}}
{"await":{"command":"Play"}}
{"tv":"advance","ms":3000}
)");
    Lines lines = test::LinesOf(whole.out);
    const auto at = [&lines](const std::string& text) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const std::string& line) { return line.find(text) != std::string::npos; });
    };
    ASSERT_NE(at("\"type\":144"), lines.end()) << whole.out;
    const auto joined = [&lines] {
        std::string text;
        for (const std::string& line : lines)
            text += line + '\n';
        return text;
    };
    EXPECT_EQ(RunHost("compare -", joined()).status, 0);
    std::swap(*at("\"type\":144"), *at("\"did\":\"advance\""));
    const HostResult swapped = RunHost("compare -", joined());
    EXPECT_EQ(Found(swapped.out), Lines{"verb advance: in another order"}) << swapped.out;
    lines.erase(at("\"type\":144"));
    EXPECT_EQ(Found(RunHost("compare -", joined()).out), Lines{"message ZELUMO_EVENT 144: additional"});
}

/// A programme of a TV whose ids are not made as the stand-ins make theirs.
std::string Program(const std::string& id, const std::string& title, int begin, int minutes)
{
    const std::int64_t start = 1767294000000 + std::int64_t{begin} * 60000;
    Json::Value program;
    program["programId"] = id;
    program["TCServiceId"] = "55";
    program["title"] = title;
    program["synopsis"] = "";
    program["genre"] = "";
    program["startTime"] = static_cast<Json::Int64>(start);
    program["endTime"] = static_cast<Json::Int64>(start + std::int64_t{minutes} * 60000);
    return Text(program);
}

TEST(Compare, LearnsAGuideThatBeginsAnywhere)
{
    const auto ask = [](const char* command, const std::string& input, const std::string& reply) {
        Json::Value message;
        message["command"] = command;
        message["input"] = input;
        Json::Value answer;
        answer["code"] = 0;
        answer["data"] = reply;
        return Await(Text(message), Text(answer));
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
    EXPECT_EQ(again.status, 0) << again.out << again.err << test::ReadFile(learned);
    EXPECT_EQ(LastLine(again.out), "0 of 5 lines differ");
}

TEST(Compare, TablesSayWhatIsComparedByForm)
{
    const TemporaryFolder folder;
    const auto version = [](const std::string& data) {
        return Await(R"({"command":"GetVersion"})", R"({"code":0,"data":)" + data + "}");
    };
    // How "data" is compared, what was recorded where the stand-ins say "1.00", and whether that differs.
    for (const auto& [as, data, differs] : std::vector<std::tuple<std::string, std::string, bool>>{
             {"value", R"("1.00")", false},
             {"value", R"("1.01")", true},
             {"form", R"("23.5")", false},
             {"form", R"("1.0.0")", true},
             {"form", R"("1.x")", true},
             {"form", "1.01", true},
             {"form", "null", true},
             {"carried", R"("8.25")", false},
             {"type", R"("next year")", false},
             {"type", "1", true},
         }) {
        const std::string table =
            folder.Write("table.json",
                         R"({"byForm":[{"of":"Get*ion","member":"dat*","as":")" + as + R"(","about":"x"}]})");
        const HostResult result = RunHost("compare - --by-form " + table, version(data));
        EXPECT_EQ(result.status, differs ? 1 : 0) << as << data << result.out << result.err;
    }
}

TEST(Compare, ManyCommandsTakeSeconds)
{
    std::string recording;
    for (int i = 0; i < 10000; ++i)
        recording +=
            Await(R"({"command":"SetIntegerToVconfWithKey","key":"k","input":)" + std::to_string(i) + "}",
                  R"({"code":0,"data":true})", {Message("k", R"("k")")});
    const auto begin = std::chrono::steady_clock::now();
    const HostResult result = RunHost(
        "compare -",
        Await(R"({"command":"AddVconfCallbackWithKey","key":"k"})", R"({"code":0,"data":null})") + recording);
    EXPECT_EQ(LastLine(result.out), "0 of 20001 lines differ") << result.out.substr(0, 2000);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(Compare, RecordingsThatBreakOffAreComparedAsFarAsTheyGo)
{
    const TemporaryFolder folder;
    const std::string session =
        "# Recorded by zelumo-tv 0.1.0. To replay:\n" + RunHost("script --echo -", kSession).out;
    const std::string whole = session + "# The recording ends here\n";
    EXPECT_EQ(RunHost("compare -", whole).status, 0);
    EXPECT_EQ(RunHost("compare -", whole).out.find("cut off"), std::string::npos);
    // Wherever the last bytes are gone.
    for (const std::size_t left :
         {session.size() / 3, session.size() / 2, session.size() - 30, session.size()}) {
        const HostResult result = RunHost("compare -", session.substr(0, left));
        EXPECT_EQ(result.status, 0) << left << result.out << result.err;
        EXPECT_NE(result.out.find("cut off"), std::string::npos) << left;
    }
}

TEST(Compare, WrongUsageAndUnusableFilesAreOneClearLine)
{
    const TemporaryFolder folder;
    const std::string recording =
        folder.Write("recording.jsonl", Await(R"({"command":"GetVersion"})", R"({"code":0,"data":"1.00"})"));
    const std::string kept = folder.Write("kept.json", "{}");
    const std::string bad_row = folder.Write("row.json", R"({"byForm":[{"member":"a","as":"so"}]})");
    const std::string no_member = folder.Write("member.json", R"({"byForm":[{"of":"a"}]})");
    const std::string empty = folder.Write("empty.jsonl", "# nothing\n");
    for (const auto& [arguments, input, error] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"", "", "RECORDING"},
             {"/no/such/file", "", "zelumo-tv: /no/such/file: No such file or directory"},
             {(folder / "").string(), "", "Is a directory"},
             {empty, "", "empty.jsonl: no line in that could be carried out"},
             {"-", "{\"await\":1}\nnonsense\n{\"await\":1}\n", "standard input: line 2: not JSON"},
             {"-", "[1]\n", "standard input: line 1: no line of a recording"},
             {recording + " --learn " + kept, "", "kept.json"},
             {recording + " --overwrite --learn " + recording, "",
              "would overwrite the file of the recording"},
             {recording + " --tv " + kept + " --overwrite --learn " + kept, "",
              "would overwrite the file of --tv"},
             {recording + " --learn /no/such/file", "", "/no/such/file"},
             {recording + " --learn ''", "", "--learn: must not be empty"},
             {recording + " --by-form /no/table", "", "zelumo-tv: /no/table: No such file"},
             {recording + " --by-form " + bad_row, "", "row.json: byForm[0].as: must be \"form\""},
             {recording + " --by-form " + no_member, "", "member.json: byForm[0].member: is missing"},
             {recording + " --tv /no/tv", "", "/no/tv"},
             {recording + " --lern x", "", "did you mean --learn?"},
         }) {
        const HostResult result = RunHost("compare " + arguments, input);
        EXPECT_EQ(result.status, 2) << arguments << result.out;
        EXPECT_EQ(result.out, "") << arguments;
        EXPECT_NE(result.err.find(error), std::string::npos) << arguments << ": " << result.err;
        EXPECT_LE(test::LinesOf(result.err).size(), 2U) << result.err;
    }
    EXPECT_EQ(test::ReadFile(kept), "{}");
}

}  // namespace
