#include "services/web-runtime/extension_system.h"

#include <gtest/gtest.h>

#include <map>

#include "extension_system_halvorn_wrt.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/var_objects.h"
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
            Case{R"("result":0,"out":[-2147483648])",   false, -2147483647 - 1, "-2147483648"},
            Case{R"("result":0,"out":[7.5])",           false, 7,           "7.5"},
            Case{R"("result":0,"out":[3000000000])",    false, 2147483647,  "3000000000.0"},
            Case{R"("result":0,"out":["12"])",          false, -1,          R"("12")"},
            Case{R"("result":0,"out":[[true]])",        false, -1,          "[true]"},
            Case{R"("result":0,"out":[{"a":[1,null]}])",false, -1,          R"({"a":[1,null]})"},
            Case{R"("result":0,"out":[null])",          false, -1,          "null"},
            Case{R"("result":0)",                       false, -1,          "null"},
            Case{R"("result":-2,"out":[12])",           false, -1,          "null"},
            Case{R"("result":1,"out":[true])",          false, -1,          "null"},
            Case{R"("result":1,"out":[12])",            false, -1,          "null"},
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

TEST_F(ExtensionSystem, GivesTheEmbedderAndTheExtensionInfo)
{
    for (const auto& [value, embedder] : std::vector<std::pair<std::string, const char*>>{
             {R"("\u00c9 ")", "\u00c9 "}, {R"("")", ""}, {"5", ""}, {"null", ""}, {R"(["OrvexWRT"])", ""}}) {
        Answer("GetEmbedderName", R"("result":)" + value);
        Answer("GetCurrentExtensionInfo", R"("result":)" + value);
        pp::ExtensionSystemHalvorn extension(kInstance);
        EXPECT_EQ(extension.GetEmbedderName(), embedder) << value;
        EXPECT_EQ(tv::ToJson(extension.GetCurrentExtensionInfo()), J(value)) << value;
    }
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
    const auto check = [&](pp::ExtensionSystemHalvornOrvex& extension, const std::string& expected) {
        for (const int round : {1, 2}) {
            std::string granted;
            for (const pp::Var& privilege : privileges)
                granted += extension.CheckPrivilege(privilege) ? 'y' : 'n';
            EXPECT_EQ(granted, expected) << round;
        }
    };
    check(first, "ynnnn");
    // Asked once each, byte by byte.
    EXPECT_EQ(calls.Take(),
              (Lines{ask + R"("granted"] -> 0 out [true])", ask + R"("denied"] -> 0 out [false])",
                     ask + R"("Granted"] -> 0 out [false])", ask + R"("granted\u0000"] -> 0 out [false])",
                     ask + R"(""] -> 0 out [false])"}));
    // The runtime changes its mind; the object doesn't, another one asks. What failed is kept as well.
    Runtime().Load({true, "OrvexWRT", {}, {{"denied", true}, {"7", true}}, 1});
    check(first, "ynnnn");
    EXPECT_EQ(calls.Take(), Lines{});
    pp::ExtensionSystemHalvornOrvex second(kInstance);
    Answer("GenericSyncCall", R"("result":-2,"times":1)");
    check(second, "nynnn");
    EXPECT_EQ(calls.Take().size(), 5U);

    // What is no string is neither asked nor kept.
    for (const pp::Var& privilege : {pp::Var(7), pp::Var(), pp::Var(true), tv::ToVar(J("[]"))})
        EXPECT_FALSE(second.CheckPrivilege(privilege)) << privilege.DebugString();
    EXPECT_EQ(calls.Take(), Lines{});
    EXPECT_TRUE(second.CheckPrivilege("7"));
}

/// Holds every var that crosses the runtime's table, twice: then a reference that the plug-in released too
/// often can be told from one that it kept.
class References {
  public:
    References()
    {
        Runtime().Observe([this](const PP_Var& var) {
            tv::AddReference(var);
            tv::AddReference(var);
            vars_.push_back(var);
        });
    }
    ~References()
    {
        Runtime().Observe(nullptr);
        for (const PP_Var& var : vars_) {
            tv::ReleaseReference(var);
            tv::ReleaseReference(var);
        }
    }
    References(const References&) = delete;
    References& operator=(const References&) = delete;

    /// For each counted var that crossed, in order: how many references others hold.
    std::vector<int> Others() const
    {
        std::vector<int> counts;
        for (const PP_Var& var : vars_) {
            if (const int count = tv::CountReferences(var); count != 0)
                counts.push_back(count - 2);
        }
        return counts;
    }

  private:
    std::vector<PP_Var> vars_;
};

TEST_F(ExtensionSystem, ReleasesEachReferenceOnce)
{
    using Extension = pp::ExtensionSystemHalvornOrvex;
    using Counts = std::vector<int>;
    // The operation name and a text or array as data cross first, and then the result. The test itself
    // holds the data, and the result while it has it.
    struct Case {
        std::string name;
        std::function<pp::Var(Extension&, const pp::Var&)> operation;
        Counts arguments;
    };
    const auto done = [](const auto&) { return pp::Var(); };
    using E = Extension;
    using V = const pp::Var;
    const Case operations[] = {
        {"GetEmbedderName", [&](E& e, V&) { return done(e.GetEmbedderName()); }, {}},
        {"GetCurrentExtensionInfo", [](E& e, V&) { return e.GetCurrentExtensionInfo(); }, {}},
        {"GenericSyncCall", [](E& e, V& data) { return e.GenericSyncCall("operation", data); }, {0, 1}},
        {"CheckPrivilege", [&](E& e, V& data) { return done(e.CheckPrivilege(data)); }, {0, 1}},
        {"SetWords", [&](E& e, V& data) { return done(e.SetIMERecommendedWords(data)); }, {0, 1}},
        {"SetWordsType", [&](E& e, V&) { return done(e.SetIMERecommendedWordsType(true)); }, {0}},
        {"GetWindowId", [&](E& e, V&) { return done(e.GetWindowId()); }, {0}},
    };
    const std::pair<const char*, bool> results[] = {
        // and whether they are counted
        {R"("text")", true}, {"[1]", true}, {"{}", true}, {"true", false}, {"5", false}, {"null", false}};
    for (const Case& c : operations) {
        for (const auto& [result, counted] : results) {
            for (const int status : {0, -2}) {
                SCOPED_TRACE(c.name + ' ' + result + ' ' + std::to_string(status));
                Answer("GetEmbedderName", R"("result":)" + std::string(result));
                Answer("GetCurrentExtensionInfo", R"("result":)" + std::string(result));
                Answer("GenericSyncCall",
                       R"("result":)" + std::to_string(status) + R"(,"out":[)" + result + "]");
                const References references;
                Extension extension(kInstance);
                const pp::Var data("data");
                Counts expected = c.arguments;
                const bool hands_on = c.name == "GetCurrentExtensionInfo" || c.name == "GenericSyncCall";
                const bool fails = !c.arguments.empty() && status != 0;
                if (counted && !fails)
                    expected.push_back(hands_on ? 1 : 0);
                {
                    const pp::Var handed_on = c.operation(extension, data);
                    EXPECT_EQ(references.Others(), expected) << "while the result is held";
                }
                if (hands_on && counted && !fails)
                    expected.back() = 0;
                EXPECT_EQ(references.Others(), expected) << "afterwards";
                EXPECT_EQ(tv::CountReferences(data.pp_var()), 1 + (c.arguments.size() == 2 ? 2 : 0));
            }
        }
    }
}

/// Runs `body` in a process in which nobody has used the interface yet.
void InFreshProcess(const std::string& what, const std::function<void()>& body)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            body();
            // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else ends this process
            std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "")
        << what;
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
    InFreshProcess("the runtime has none", [&] {
        tv::ExtensionConfig config;
        config.available = false;
        Runtime().Load(config);
        check();
        EXPECT_EQ(Runtime().CountLookUps(), 1);
    });
    InFreshProcess("no module is loaded", [&] {
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
                                                                     {R"("OrvexWRT ")", false},
                                                                     {R"("OrvexWRT\u0000")", false},
                                                                     {"5", false}}) {
        InFreshProcess(embedder, [&, name = embedder, is_valid = valid] {
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
