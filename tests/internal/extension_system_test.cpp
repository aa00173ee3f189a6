// SPDX-License-Identifier: Apache-2.0
#include "services/web-runtime/extension_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "extension_system_halvorn_wrt.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/var_objects.h"
#include "tests/fresh_process.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

constexpr char kTable[] = "PPB_ExtensionSystem_Halvorn::";
const pp::InstanceHandle kInstance(PP_Instance{7});

class RuntimeModule : public pp::Module {
  public:
    pp::Instance* CreateInstance(PP_Instance) override { return nullptr; }
};

tv::ExtensionSystem& Runtime()
{
    return tv::ExtensionSystem::Get();
}

/// A process whose web runtime has loaded a module and offers the interface.
class ExtensionSystem : public testing::Test {
  protected:
    ExtensionSystem()
    {
        tv::SetModule(&module_);
        Runtime().Load({});
    }
    ~ExtensionSystem() override
    {
        Runtime().Observe(nullptr);
        tv::TheCalls().RestoreAll();
        tv::SetModule(nullptr);
    }

    /// `answer` is the rest of an answer verb: `"result":0`.
    static void Answer(const std::string& call, const std::string& answer)
    {
        tv::CarryOut(J(R"({"tv":"answer","call":")" + (kTable + call) + "\"," + answer + "}"));
    }

    RuntimeModule module_;
};

TEST_F(ExtensionSystem, TakesResultsOfTheExpectedTypeAlone)
{
    struct Case {
        const char* answer;
        bool is_true;
        int window_id;
        const char* generic;
    };
    // clang-format off
    for (const Case& c : {
            Case{R"("result":0,"out":[true])",          true,  -1,          "true"},
            Case{R"("result":0,"out":[false])",         false, -1,          "false"},
            Case{R"("result":0,"out":[12])",            false, 12,          "12"},
            Case{R"("result":0,"out":[7.5])",           false, 7,           "7.5"},
            Case{R"("result":0,"out":[3000000000])",    false, 2147483647,  "3000000000.0"},
            Case{R"("result":0,"out":["12"])",          false, -1,          R"("12")"},
            Case{R"("result":0,"out":[null])",          false, -1,          "null"},
            Case{R"("result":0)",                       false, -1,          "null"},
            Case{R"("result":1,"out":[true])",          false, -1,          "null"},
        }) {
        // clang-format on
        Answer("GenericSyncCall", c.answer);
        pp::ExtensionSystemHalvornOrvex extension(kInstance);
        EXPECT_EQ(extension.CheckPrivilege("network"), c.is_true) << c.answer;
        EXPECT_EQ(extension.SetIMERecommendedWords("word"), c.is_true) << c.answer;
        EXPECT_EQ(extension.SetIMERecommendedWordsType(true), c.is_true) << c.answer;
        EXPECT_EQ(extension.GetWindowId(), c.window_id) << c.answer;
        EXPECT_EQ(Text(tv::ToJson(extension.GenericSyncCall("any", 1))), c.generic) << c.answer;
    }
    // A value that isn't there is undefined, not null.
    pp::ExtensionSystemHalvorn extension(kInstance);
    Answer("GenericSyncCall", R"("result":-2,"out":[null])");
    EXPECT_TRUE(extension.GenericSyncCall("any", 1).is_undefined());
}

TEST_F(ExtensionSystem, CallsTheRuntimeByName)
{
    Runtime().Load({true, "OrvexWRT", J(R"({"id":"com.example"})"), {{"network", true}}, 42});
    test::Calls calls;
    pp::ExtensionSystemHalvornOrvex extension(kInstance);
    EXPECT_TRUE(extension.CheckPrivilege("network"));
    EXPECT_FALSE(extension.CheckPrivilege("filesystem"));
    EXPECT_TRUE(extension.SetIMERecommendedWords(tv::ToVar(J(R"([{"word":"news"},"sport"])"))));
    EXPECT_TRUE(extension.SetIMERecommendedWordsType(false));
    EXPECT_EQ(extension.GetWindowId(), 42);
    extension.GenericSyncCall("no_such_operation", pp::Var());
    extension.GenericSyncCall(5, 1.5);
    extension.GetEmbedderName();
    extension.GetCurrentExtensionInfo();
    const std::string call = std::string(kTable) + "GenericSyncCall ";
    EXPECT_EQ(
        calls.Take(),
        (Lines{call + R"(["check_ace_privilege","network"] -> 0 out [true])",
               call + R"(["check_ace_privilege","filesystem"] -> 0 out [false])",
               call + R"(["set_ime_recommended_words",[{"word":"news"},"sport"]] -> 0 out [true])",
               call + R"(["set_ime_recommended_words_type",false] -> 0 out [true])",
               call + R"(["get_window_id",null] -> 0 out [42])",
               call + R"(["no_such_operation",null] -> -2 out [null])", call + "[5,1.5] -> -2 out [null]",
               std::string(kTable) + R"(GetEmbedderName [] -> "OrvexWRT")",
               std::string(kTable) + R"(GetCurrentExtensionInfo [] -> {"id":"com.example"})"}));
    EXPECT_EQ(
        Text(Runtime().StateJson()),
        R"({"available":true,"embedderName":"OrvexWRT","extensionInfo":{"id":"com.example"},"privileges":{"network":true},"recommendedWords":[{"word":"news"},"sport"],"recommendedWordsType":false,"windowId":42})");
}

TEST_F(ExtensionSystem, AsksForAPrivilegeOnceAnObject)
{
    const std::string ask = std::string(kTable) + "GenericSyncCall [\"check_ace_privilege\",";
    test::Calls calls;
    pp::ExtensionSystemHalvornOrvex first(kInstance);
    Runtime().Load({true, "OrvexWRT", {}, {{"granted", true}}, 1});
    const std::vector<pp::Var> privileges{"granted", "denied", "Granted", std::string("granted\0", 8), ""};
    const auto granted = [&](pp::ExtensionSystemHalvornOrvex& extension) {
        std::string answers;
        for (const pp::Var& privilege : privileges)
            answers += extension.CheckPrivilege(privilege) ? 'y' : 'n';
        return answers;
    };
    EXPECT_EQ(granted(first), "ynnnn");
    // Asked once each, byte by byte.
    EXPECT_EQ(calls.Take(),
              (Lines{ask + R"("granted"] -> 0 out [true])", ask + R"("denied"] -> 0 out [false])",
                     ask + R"("Granted"] -> 0 out [false])", ask + R"("granted\u0000"] -> 0 out [false])",
                     ask + R"(""] -> 0 out [false])"}));
    // The runtime changes its mind; the object doesn't, another one asks. What failed is kept as well.
    Runtime().Load({true, "OrvexWRT", {}, {{"denied", true}, {"7", true}}, 1});
    EXPECT_EQ(granted(first), "ynnnn");
    EXPECT_EQ(calls.Take(), Lines{});
    pp::ExtensionSystemHalvornOrvex second(kInstance);
    Answer("GenericSyncCall", R"("result":-2,"times":1)");
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(granted(second), "nynnn");
    EXPECT_EQ(calls.Take().size(), 5U);
    // What is no string is neither asked nor kept.
    for (const pp::Var& privilege : {pp::Var(7), pp::Var(), pp::Var(true), tv::ToVar(J("[]"))})
        EXPECT_FALSE(second.CheckPrivilege(privilege)) << privilege.DebugString();
    EXPECT_EQ(calls.Take(), Lines{});
    EXPECT_TRUE(second.CheckPrivilege("7"));
}

TEST_F(ExtensionSystem, ReleasesEachReferenceOnce)
{
    // Held twice, a var that was released too often can be told from one that was kept.
    std::vector<PP_Var> crossed;
    Runtime().Observe([&](const PP_Var& var) {
        tv::AddReference(var);
        tv::AddReference(var);
        crossed.push_back(var);
    });
    for (const std::string result : {R"("text")", "[1]", "{}", "true", "null"}) {
        for (const std::string status : {"0", "-2"}) {
            SCOPED_TRACE(result + ' ' + status);
            Answer("GetEmbedderName", R"("result":)" + result);
            Answer("GetCurrentExtensionInfo", R"("result":)" + result);
            Answer("GenericSyncCall", R"("result":)" + status + R"(,"out":[)" + result + "]");
            {
                const pp::Var data("data");
                pp::ExtensionSystemHalvornOrvex extension(kInstance);
                EXPECT_EQ(extension.GetEmbedderName(), J(result).isString() ? "text" : "");
                EXPECT_EQ(tv::ToJson(extension.GetCurrentExtensionInfo()), J(result));
                EXPECT_EQ(tv::ToJson(extension.GenericSyncCall("operation", data)),
                          status == "0" ? J(result) : Json::Value());
                extension.CheckPrivilege(data);
                extension.SetIMERecommendedWords(data);
                extension.SetIMERecommendedWordsType(true);
                extension.GetWindowId();
            }
            for (const PP_Var& var : crossed) {
                const auto is_same = [&](const PP_Var& other) {
                    return other.type == var.type && other.value.as_id == var.value.as_id;
                };
                if (const int count = tv::CountReferences(var); count != 0) {
                    EXPECT_EQ(count, 2 * std::count_if(crossed.begin(), crossed.end(), is_same));
                }
            }
            EXPECT_GE(crossed.size(), 11U);
            for (const PP_Var& var : std::exchange(crossed, {})) {
                tv::ReleaseReference(var);
                tv::ReleaseReference(var);
            }
        }
    }
}

TEST_F(ExtensionSystem, DoesWithoutAnInterface)
{
    const auto check = [] {
        test::Calls calls;
        pp::ExtensionSystemHalvornWRT extension(kInstance);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(extension.GetEmbedderName(), "");
            EXPECT_TRUE(extension.GetCurrentExtensionInfo().is_undefined());
            EXPECT_TRUE(extension.GenericSyncCall("get_window_id", pp::Var()).is_undefined());
            EXPECT_FALSE(extension.CheckPrivilege("network"));
            EXPECT_FALSE(extension.SetIMERecommendedWords("word"));
            EXPECT_FALSE(extension.SetIMERecommendedWordsType(true));
            EXPECT_EQ(extension.GetWindowId(), -1);
            EXPECT_FALSE(extension.IsValid());
            // It comes too late: the answer is kept.
            Runtime().Load({true, "OrvexWRT", {}, {{"network", true}}, 1});
        }
        EXPECT_EQ(calls.Take(), Lines{});
    };
    test::InFreshProcess("the runtime has none", [&] {
        tv::ExtensionConfig config;
        config.available = false;
        Runtime().Load(config);
        check();
        EXPECT_EQ(Runtime().CountLookUps(), 1);
    });
    test::InFreshProcess("no module is loaded", [&] {
        tv::SetModule(nullptr);
        pp::ExtensionSystemHalvorn(kInstance).GetEmbedderName();
        tv::SetModule(&module_);
        check();
        EXPECT_EQ(Runtime().CountLookUps(), 0);
    });
}

TEST_F(ExtensionSystem, IsValidIsFoundOutOnceAProcess)
{
    for (const auto& [embedder, valid] : std::map<std::string, bool>{{R"("OrvexWRT")", true},
                                                                     {R"("orvexwrt")", false},
                                                                     {R"("OrvexWRT\u0000")", false},
                                                                     {"5", false}}) {
        test::InFreshProcess(embedder, [&, name = embedder, is_valid = valid] {
            test::Calls calls;
            Answer("GetEmbedderName", R"("result":)" + name);
            EXPECT_EQ(pp::ExtensionSystemHalvornWRT(kInstance).IsValid(), is_valid);
            Answer("GetEmbedderName", is_valid ? R"("result":"other")" : R"("result":"OrvexWRT")");
            EXPECT_EQ(pp::ExtensionSystemHalvornWRT(kInstance).IsValid(), is_valid);
            EXPECT_EQ(calls.Take().size(), 1U);
        });
    }
}

}  // namespace
