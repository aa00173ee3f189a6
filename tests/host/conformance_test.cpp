// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "core/json_text.h"
#include "tests/plugins/faulty.h"
#include "tests/support/host_process.h"

namespace {

namespace fs = std::filesystem;
using test::Faulty;
using test::PluginPath;

Json::Value Parse(const std::string& text)
{
    return tv::ParseJson(text, 100);
}

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
    for (const std::string& line : test::LinesOf(out)) {
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
    const test::HostResult all = test::RunHost("conformance");
    EXPECT_EQ(all.status, 0) << all.out << all.err;
    const auto rows = Rows(all.out);
    EXPECT_EQ(rows.size(), Scripts().size()) << all.out;
    for (const auto& [name, row] : rows)
        EXPECT_NE(row.find(" passed"), std::string::npos) << name << ": " << row;
    EXPECT_EQ(rows.at("first-words"), "8 passed");
    const test::HostResult listed = test::RunHost("conformance --list time first-words");
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(Rows(listed.out).size(), 2U) << listed.out;
}

/// What the scripts have the page hear, as texts that can be looked for.
class Heard {
  public:
    Heard()
    {
        for (const fs::path& path : Scripts()) {
            std::string asked;
            for (const std::string& line : test::LinesOf(test::ReadFile(path))) {
                if (line.front() == '#')
                    continue;
                const Json::Value json = Parse(line);
                for (const char* kind : {"await", "post"}) {
                    if (json.isMember(kind))
                        asked = kind + (' ' + tv::WriteJson(CommandOf(json[kind])));
                }
                if (json.isMember("reply"))
                    Add(asked, json["reply"]);
                if (json.isMember("message"))
                    Add("message", json["message"]);
            }
        }
    }
    bool Has(const std::string& what) const { return heard_.count(what) != 0; }
    static std::string Error(const std::string& asked, const Json::Value& error)
    {
        return asked + ' ' + tv::WriteJson(error["code"]) + tv::WriteJson(error["errorMessage"]);
    }

  private:
    static Json::Value CommandOf(const Json::Value& message)
    {
        return message.isObject() && message["command"].isString() ? message["command"] : Json::Value();
    }
    void Add(const std::string& asked, const Json::Value& answer)
    {
        heard_.insert(Error(asked, answer));
        heard_.insert(asked + ' ' + tv::WriteJson(answer["command"]));
        heard_.insert("report " + tv::WriteJson(answer["type"]));
        if (answer["code"] == 0)
            heard_.insert(asked + " succeeds");
    }
    std::set<std::string> heard_;
};

TEST(Conformance, TheScriptsTouchAllThatThePageCanHear)
{
    const Heard heard;
    const Json::Value api = Parse(test::ReadFile(ZELUMO_PAGE_API));
    EXPECT_EQ(api["commands"].size(), 49U);
    for (const Json::Value& command : api["commands"]) {
        const std::string name = tv::WriteJson(command["name"]);
        EXPECT_TRUE(heard.Has("await " + name + " succeeds")) << name;
        EXPECT_TRUE(heard.Has("message " + name)) << name << " is not posted and refused";
        for (const Json::Value& error : command["errors"]) {
            // Of what no call to the TV decides, nothing can be made to fail.
            EXPECT_TRUE((error["when"] == "operation" && command["decidedBy"].empty()) ||
                        heard.Has(Heard::Error("await " + name, error)))
                << name << tv::WriteJson(error);
        }
    }
    for (const Json::Value& error : api["requestErrors"]) {
        const Json::Value asked = error["example"].isObject() ? error["example"]["command"] : Json::Value();
        const Json::Value named = asked.isString() ? asked : Json::Value();
        EXPECT_TRUE(heard.Has(Heard::Error("await " + tv::WriteJson(named), error))) << tv::WriteJson(error);
    }
    for (const Json::Value& answer : api["postedAnswers"])
        EXPECT_TRUE(heard.Has(Heard::Error("message", answer))) << tv::WriteJson(answer);
    for (const char* kind : {"events", "signals"}) {
        for (const Json::Value& event : api[kind])
            EXPECT_TRUE(heard.Has("message " + tv::WriteJson(event["command"]))) << tv::WriteJson(event);
    }
    for (const Json::Value& type : api["playerEvents"]["types"])
        EXPECT_TRUE(heard.Has("report " + tv::WriteJson(type["type"]))) << tv::WriteJson(type);
    EXPECT_TRUE(heard.Has("message \"db/menu/subtitles\""));
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
    const test::TemporaryFolder folder_;
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
        const test::HostResult result = test::RunHost(options);
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
    const test::TemporaryFolder folder;
    const std::string text = folder.Write("plugin.so", "no library");
    fs::create_directory(folder / "empty");
    const std::pair<std::string, std::string> cases[] = {
        {"playr", "there is no script \"playr\" in"},
        {"playr", "did you mean \"player\"?"},
        {"--scripts /nowhere", "is no folder"},
        {"--scripts " + (folder / "empty").string(), "there are no scripts in"},
        {"--plugin /nowhere.so", "plug-in /nowhere.so: no such file"},
        {"--plugin " + text, "can't be loaded"},
        {"--plugin " + text, "zelumo-tv doctor says more"},
        {"--time-limit 0", "--time-limit"},
    };
    for (const auto& [arguments, said] : cases) {
        const test::HostResult result = test::RunHost("conformance " + arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_NE(result.err.find(said), std::string::npos) << arguments << ": " << result.err;
        EXPECT_EQ(test::LinesOf(result.err).size(), 1U) << result.err;
    }
}

}  // namespace
