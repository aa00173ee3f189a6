// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "tests/host/comparing.h"
#include "tests/support/web_client.h"
#include "tvhost/recording_marks.h"

namespace test {
namespace {

constexpr char kYes[] = R"({"code":0,"data":true})";

TEST(Compare, TakesWhatServeRecords)
{
    const TemporaryFolder folder;
    const std::string other = folder.Write("other.json", R"({"contentService":{"country":"YY"}})");
    const std::string recording = (folder / "recording.jsonl").string();
    ServeProcess server({"--tv", other, "--record", recording, "--speed", "0"});
    WebPage page(server.port());
    const Json::Value api = J(ReadFile(ZELUMO_PAGE_API));
    for (int pages = 0; pages < 2; ++pages) {
        for (const Json::Value& command : api["commands"])
            ASSERT_EQ(page.Await(Text(command["example"])).status, 200);
        ASSERT_EQ(page.Do(R"({"tv":"advance","ms":5000})").status, 200);
        ASSERT_EQ(page.Do(R"({"tv":"answer","call":"vconf_get_int","result":-1,"times":1})").status, 200);
        ASSERT_EQ(page.Do(R"({"tv":"setting","key":"db/menu/language","value":"de"})").status, 200);
        page.path = page.client.OpenPage();
    }
    ASSERT_EQ(server.End(SIGINT), 0);
    const HostResult same = RunHost("--tv " + other + " compare " + recording);
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    EXPECT_EQ(RunHost("--tv " + other + " compare - <" + recording).out, same.out);
    const HostResult sample = RunHost("compare " + recording);
    const std::string differs = "GetVCConfig data.country";
    EXPECT_EQ(Found(sample.out), (Lines{differs, differs})) << sample.out;
    EXPECT_EQ(sample.status, 1);
}

std::string Watch(const std::string& key)
{
    return Await(R"({"command":"AddVconfCallbackWithKey","key":")" + key + "\"}",
                 R"({"code":0,"data":null})");
}

std::string Set(const std::string& key, int value)
{
    return Await(R"({"command":"SetIntegerToVconfWithKey","key":")" + key + R"(","input":)" +
                     std::to_string(value) + "}",
                 kYes);
}

std::string Changed(const std::string& key)
{
    return Told(R"({"code":0,"command":")" + key + R"(","data":")" + key +
                R"(","errorMessage":"","errorName":""})");
}

TEST(Compare, KnowsWhatATvTellsByItself)
{
    const std::string get = Await(R"({"command":"GetVersion"})", kVersionReply);
    const std::string post = "{\"post\":{\"command\":\"GetVersion\"}}\n";
    const std::string refused = Told(RefusedMessage("GetVersion"));
    const auto invalid = [](const std::string& what) {
        return Told(R"({"code":26,"command":"","data":null,"errorMessage":")" + what +
                    R"( is invalid","errorName":"InvalidValuesError"})");
    };
    const auto verb = [](const std::string& name) {
        return "{\"tv\":\"" + name + "\"}\n{\"did\":\"" + name + "\"}\n";
    };
    const std::string key = "{\"tv\":\"key\",\"key\":\"Exit\"}\n{\"did\":\"key\"}\n";
    const std::string position =
        Told(R"({"event":"ZELUMO_EVENT","param1":"1000","param2":"60000","type":137})");
    const std::string ready =
        Told(R"({"event":"ZELUMO_EVENT","param1":"99<BMS_PLAYER-0.5","param2":"","type":32})");
    const std::string begins = Told(R"({"event":"ZELUMO_EVENT","param1":"","param2":"","type":144})");
    const std::string film =
        Await(R"({"command":"RegisterEvent","event":90028})", R"({"code":0,"data":null})") +
        Await(R"({"command":"Init","url":"http://sample.tv/film.mpd","timeOffset":0})", kYes) + ready +
        Await(R"({"command":"Play"})", kYes);
    const std::string mark = std::string("# ") + host::kRecordingRelayed + '\n';
    const std::string advance = "{\"tv\":\"advance\",\"ms\":1000}\n{\"did\":\"advance\",\"position\":5}\n";
    // The recording, what differs, the last line.
    for (const auto& [recording, found, last] : std::vector<std::tuple<std::string, Lines, std::string>>{
             {mark + advance + get, {}, "0 of 1 line differ"},
             // A player's reports come sooner or later than those of the stand-ins.
             {mark + film + advance + begins + get + advance + advance + get + advance + begins,
              {},
              "0 of 7 lines differ"},
             {mark + film + begins + get, {}, "0 of 6 lines differ"},
             {get + Changed("ITVS_Signal_Instant_Off") + get, {}, "0 of 2 lines differ"},
             {Watch("a") + Set("a", 1) + Changed("a"), {}, "0 of 3 lines differ"},
             // It comes when it likes, as long as that is not before its cause.
             {Watch("a") + Set("a", 1) + get + get + Changed("a"), {}, "0 of 5 lines differ"},
             {Watch("a") + Changed("a") + Set("a", 1), {"message a: additional"}, "1 of 3 lines differs"},
             {Watch("a") + Watch("b") + Set("a", 1) + Set("b", 1) + Changed("b") + Changed("a"),
              {},
              "0 of 6 lines differ"},
             // Of each name the first after a command that causes it, once that is done; the others are the
             // TV's own.
             {Set("a", 1) + Changed("a") + Changed("a"), {"message a: missing"}, "1 of 2 lines differs"},
             {Set("b", 1) + Changed("a"), {}, "0 of 1 line differ"},
             {Set("a", 1) + verb("open") + Changed("a"), {}, "0 of 1 line differ"},
             {Await(R"({"command":"Pause"})", R"({"code":0,"data":false})") +
                  Told(R"({"event":"ZELUMO_EVENT","param1":"","param2":"","type":33})"),
              {},
              "0 of 1 line differ"},
             {post, {"message GetVersion: additional"}, "1 of 1 line differs"},
             {post + post + refused + Changed("GetVersion"),
              {"message GetVersion code", "message GetVersion data", "message GetVersion errorMessage",
               "message GetVersion errorName"},
              "1 of 2 lines differs"},
             // What comes before the next of its kind is compared with that, whatever it is like.
             {post + Changed("GetVersion") + post + refused,
              {"message GetVersion code", "message GetVersion data", "message GetVersion errorMessage",
               "message GetVersion errorName"},
              "1 of 2 lines differs"},
             {post + refused + refused, {"message GetVersion: missing"}, "1 of 2 lines differs"},
             {get + position + position, {}, "0 of 1 line differ"},
             {"{\"post\":7}\n{\"post\":{\"key\":1}}\n" + invalid("Parameter command") +
                  invalid("Incoming message"),
              {"message (no command): in another order"},
              "1 of 2 lines differs"},
             // A key of the remote and pages say nothing of the TV.
             {verb("open") + get + key + verb("close") + verb("open") + get, {}, "0 of 2 lines differ"},
             // A TV that went away gave no answer.
             {get + "{\"await\":{\"command\":\"GetVersion\"}}\n" + get, {}, "0 of 2 lines differ"},
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
    Lines lines = LinesOf(whole.out);
    const auto at = [&lines](const std::string& text) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const std::string& line) { return line.find(text) != std::string::npos; });
    };
    ASSERT_NE(at("\"type\":144"), lines.end()) << whole.out;
    const auto compared = [&lines] {
        std::string text;
        for (const std::string& line : lines)
            text += line + '\n';
        return Found(RunHost("compare -", text).out);
    };
    EXPECT_EQ(RunHost("compare -", whole.out).status, 0);
    std::swap(*at("\"type\":144"), *at("\"did\":\"advance\""));
    EXPECT_EQ(compared(), Lines{"verb advance: in another order"});
    lines.erase(at("\"type\":144"));
    EXPECT_EQ(compared(), Lines{"message ZELUMO_EVENT 144: additional"});
    // A TV's own messages of one command, too.
    lines = LinesOf(RunHost("script --echo -", R"({"await":{"command":"RegisterEvent","event":90019}}
{"await":{"command":"RegisterEvent","event":90020}}
{"await":{"command":"SetNextService"}}
{"await":{"command":"GetVersion"}}
)")
                        .out);
    EXPECT_EQ(compared(), Lines{});
    std::swap(*at("ChLoad"), *at("ChEnter"));
    EXPECT_EQ(compared(), Lines{"message ITVS_Signal_ZELumo_Control_State_ChEnter: in another order"});
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
             {"token", R"("next year")", false},
             {"token", "1", true},
         }) {
        const std::string table =
            folder.Write("table.json",
                         R"({"byForm":[{"of":"Get*ion","member":"dat*","as":")" + as + R"(","about":"x"}]})");
        const HostResult result = RunHost("compare - --by-form " + table, version(data));
        EXPECT_EQ(result.status, differs ? 1 : 0) << as << data << result.out << result.err;
    }
    const std::string any = folder.Write("any.json", R"({"anyNumberOf":["Get*"]})");
    EXPECT_EQ(RunHost("compare - --by-form " + any, "{\"post\":{\"command\":\"GetVersion\"}}\n").status, 0);
    // An id that a page hands back, as a TV makes it and as the stand-ins do.
    const std::string present =
        R"({"await":{"command":"GetPresentProgram","input":"{\"TCServiceId\":\"1001\"}"}})"
        "\n";
    const Json::Value reply = J(LinesOf(RunHost("script", present).out).at(0))["reply"];
    const std::string id = J(reply["data"].asString())["present"]["programId"].asString();
    const std::string program =
        R"({"await":{"command":"GetProgram","input":"{\"programId\":\")" + id + "\\\"}\"}}\n";
    const std::string recording =
        std::regex_replace(RunHost("script --echo -", present + program).out, std::regex(id), "EP-78");
    const std::string token =
        folder.Write("token.json", R"({"byForm":[{"member":"*.programId","as":"token"}]})");
    EXPECT_EQ(RunHost("compare -", recording).status, 1);
    EXPECT_EQ(RunHost("compare - --by-form " + token, recording).status, 0);
}

TEST(Compare, ManyCommandsTakeSeconds)
{
    std::string recording = Watch("k");
    for (int i = 0; i < 10000; ++i)
        recording += Set("k", i) + Changed("k");
    // A scripted delay is not waited out.
    recording += R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})"
                 "\n{\"did\":\"answer\"}\n" +
                 Await(R"({"command":"GetIntegerFromVconfWithKey","key":"k"})",
                       R"({"code":9999,"data":null,"errorMessage":"Can't GetIntegerFromVconfWithKey",)"
                       R"("errorName":"UnknownError "})");
    const auto begin = std::chrono::steady_clock::now();
    const HostResult result = RunHost("compare -", recording);
    EXPECT_EQ(LastLine(result.out), "0 of 20003 lines differ") << result.out.substr(0, 2000);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(Compare, RecordingsThatBreakOffAreComparedAsFarAsTheyGo)
{
    const TemporaryFolder folder;
    const std::string session = "# Recorded by zelumo-tv 0.1.0. To replay:\n" +
                                RunHost("script --echo -", R"({"await":{"command":"GetZELumoServices"}}
{"await":{"command":"AddVconfCallbackWithKey","key":"n"}}
{"await":{"command":"SetIntegerToVconfWithKey","key":"n","input":6}}
{"post":{"command":"GetVersion"}}
{"await":{"command":"GetCurrentChannelInfo"}}
)")
                                    .out;
    const std::string whole = session + "# The recording ends here\n";
    const HostResult all = RunHost("compare -", whole);
    EXPECT_EQ(all.status, 0) << all.out;
    EXPECT_EQ(all.out.find("cut off"), std::string::npos) << all.out;
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
        folder.Write("recording.jsonl", Await(R"({"command":"GetVersion"})", kVersionReply));
    const std::string kept = folder.Write("kept.json", "{}");
    const std::string fresh = (folder / "fresh.json").string();
    const std::string bad_row = folder.Write("row.json", R"({"byForm":[{"member":"a","as":"so"}]})");
    const std::string no_member = folder.Write("member.json", R"({"byForm":[{"of":"a"}]})");
    const std::string no_cause = folder.Write("cause.json", R"({"causes":[{"of":"a"}]})");
    const std::string part = folder.Write("part.json", R"({"causes":[{"of":"a","message":"is {key}"}]})");
    const std::string whole = folder.Write("whole.json", R"({"byForm":[{"member":"*"}]})");
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
             {recording + " --by-form " + no_cause, "", "cause.json: causes[0].message: is missing"},
             {recording + " --by-form " + part, "",
              "part.json: causes[0].message: must be a name, or {PARAMETER} alone"},
             {recording + " --by-form " + whole, "", "whole.json: byForm[0].member: must name a member"},
             {recording + " --tv /no/tv", "", "/no/tv"},
             {recording + " --lern x", "", "did you mean --learn?"},
             {recording + " --settings x", "", "compare excludes --settings"},
             {recording + " --learn " + fresh + " --plugin /no/plugin", "", "/no/plugin"},
         })
        EXPECT_EQ(RefusalFault("compare " + arguments, error, input), "") << arguments;
    EXPECT_EQ(ReadFile(kept), "{}");
    EXPECT_FALSE(std::filesystem::exists(fresh));
}

}  // namespace
}  // namespace test
