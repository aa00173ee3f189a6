// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "tests/plugins/faulty.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> Scripts()
{
    std::vector<fs::path> scripts;
    for (const fs::directory_entry& entry : fs::directory_iterator(ZELUMO_SCRIPTS))
        scripts.push_back(entry.path());
    return scripts;
}

/// What a row of the table says, by the script's name: "18 passed".
std::map<std::string, std::string> Rows(const std::string& out)
{
    std::map<std::string, std::string> rows;
    for (const std::string& line : LinesOf(out)) {
        if (line.empty())
            break;
        std::istringstream words(line);
        std::string name;
        std::string lines;
        std::string result;
        words >> name >> lines >> result;
        rows[name] = lines + ' ' + result;
    }
    rows.erase("script");
    return rows;
}

TEST(Conformance, TheBuiltPluginPassesEveryScript)
{
    const HostResult all = RunHost("conformance");
    EXPECT_EQ(all.status, 0) << all.out << all.err;
    const auto rows = Rows(all.out);
    EXPECT_EQ(rows.size(), Scripts().size()) << all.out;
    for (const auto& [name, row] : rows)
        EXPECT_NE(row.find(" passed"), std::string::npos) << name << ": " << row;
    EXPECT_EQ(rows.at("first-words"), "8 passed");
    const HostResult listed = RunHost("conformance --list time first-words");
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(Rows(listed.out).size(), 2U) << listed.out;
}

/// What a message asks for, whatever it is made of.
std::string Asked(const Json::Value& message)
{
    const bool is_named = message.isObject() && message["command"].isString();
    return "await " + Text(is_named ? message["command"] : Json::Value());
}

/// What an answer to that is known by when it is an error.
std::string Error(const std::string& asked, const Json::Value& answer)
{
    return asked + ' ' + Text(answer["code"]) + Text(answer["errorMessage"]);
}

/// What the scripts have the page hear, as texts that can be looked for.
std::set<std::string> Heard()
{
    std::set<std::string> heard;
    const auto add = [&heard](const std::string& asked, const Json::Value& answer) {
        heard.insert(Error(asked, answer));
        heard.insert(asked + ' ' + Text(answer["command"]));
        heard.insert("report " + Text(answer["type"]));
        if (answer["code"] == 0)
            heard.insert(asked + " succeeds");
    };
    for (const fs::path& path : Scripts()) {
        std::string asked;
        for (const std::string& line : LinesOf(ReadFile(path))) {
            const Json::Value json = line.front() == '#' ? Json::Value() : J(line);
            if (json.isMember("await"))
                asked = Asked(json["await"]);
            if (json.isMember("reply"))
                add(asked, json["reply"]);
            if (json.isMember("message"))
                add("message", json["message"]);
        }
    }
    return heard;
}

TEST(Conformance, TheScriptsTouchAllThatThePageCanHear)
{
    const std::set<std::string> heard = Heard();
    const auto expect = [&heard](const std::string& what) { EXPECT_EQ(heard.count(what), 1U) << what; };
    const Json::Value api = J(ReadFile(ZELUMO_PAGE_API));
    EXPECT_EQ(api["commands"].size(), 49U);
    for (const Json::Value& command : api["commands"]) {
        expect(Asked(command["example"]) + " succeeds");
        expect("message " + Text(command["name"]));  // posted, it is refused
        for (const Json::Value& error : command["errors"]) {
            // Of what no call to the TV decides, nothing can be made to fail.
            if (error["when"] != "operation" || !command["decidedBy"].empty())
                expect(Error(Asked(command["example"]), error));
        }
    }
    for (const Json::Value& error : api["requestErrors"])
        expect(Error(Asked(error["example"]), error));
    for (const Json::Value& answer : api["postedAnswers"])
        expect(Error("message", answer));
    for (const char* kind : {"events", "signals"}) {
        for (const Json::Value& event : api[kind])
            expect("message " + Text(event["command"]));
    }
    for (const Json::Value& type : api["playerEvents"]["types"])
        expect("report " + Text(type["type"]));
    expect("message \"db/menu/subtitles\"");
}

/// Scripts of one's own: one of a single command, and one that the plug-in gets nothing of.
class OwnScripts {
  public:
    OwnScripts()
    {
        fs::create_directory(folder_ / "own");
        folder_.Write("own/asks.jsonl",
                      "# Asks.\n{\"await\":{\"command\":\"GetVersion\"}}\n"
                      "{\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n");
        folder_.Write("own/clock.jsonl", "{\"tv\":\"clock\",\"date\":0}\n{\"did\":\"clock\"}\n");
    }
    std::string options() const { return "--time-limit 2 --scripts " + (folder_ / "own").string(); }

  private:
    const TemporaryFolder folder_;
};

TEST(Conformance, APluginThatIsWrongFailsItsRowAndTheTableGoesOn)
{
    struct Case {
        const char* fault;
        std::string said;
        int failed;
    };
    const Case cases[] = {
        {"none", "2 scripts passed", 0},
        {"message crashes", "asks: crashed with SIGABRT (Aborted)", 1},
        {"message hangs", "asks: no end within 2 s", 1},
        {"message exits", "asks: ended with status 3", 1},
        {"wrong answer",
         "asks: other lines came out than it expects\n"
         "  line 3: expected {\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n"
         "  line 3: got {\"reply\":{\"code\":9,\"data\":\"1.00\"}}\n",
         1},
        {"constructor crashes", "clock: crashed with SIGABRT (Aborted)", 2},
    };
    const OwnScripts scripts;
    const std::string options = "conformance --plugin " + PluginPath("good") + ' ' + scripts.options();
    for (const auto& [fault, said, failed] : cases) {
        SCOPED_TRACE(fault);
        const Faulty faulty(fault);
        const HostResult result = RunHost(options);
        EXPECT_EQ(result.status, failed == 0 ? 0 : 1);
        EXPECT_NE(result.out.find(said), std::string::npos) << result.out;
        const auto rows = Rows(result.out);
        EXPECT_EQ(rows.size(), 2U) << result.out;
        EXPECT_EQ(
            std::count_if(rows.begin(), rows.end(), [](const auto& row) { return row.second == "1 failed"; }),
            failed)
            << result.out;
    }
}

TEST(Conformance, WhatCantBePlayedIsRefusedInOneLine)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "empty");
    const std::pair<std::string, std::string> cases[] = {
        {"playr", "there is no script \"playr\" in"},
        {"playr", "did you mean \"player\"?"},
        {"--scripts /nowhere", "is no folder"},
        {"--scripts " + (folder / "empty").string(), "there are no scripts in"},
        {"--plugin /nowhere.so", "plug-in /nowhere.so: no such file"},
        {"--time-limit 0", "--time-limit"},
    };
    for (const auto& [arguments, said] : cases)
        EXPECT_EQ(RefusalFault("conformance " + arguments, said), "") << arguments;
    const HostResult none = RunHost("conformance --plugin " + folder.Write("plugin.so", "no library"));
    EXPECT_EQ(none.status, 2) << none.out;
    EXPECT_NE(none.err.find(": can't be loaded: "), std::string::npos) << none.err;
    EXPECT_NE(none.err.find("; zelumo-tv doctor says more\n"), std::string::npos) << none.err;
    EXPECT_EQ(LinesOf(none.err).size(), 1U) << none.err;
}

}  // namespace
}  // namespace test
