// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "core/mutex.h"
#include "tests/fresh_process.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tvhost/trace_file.h"

namespace {

using test::J;
using test::Lines;

/// "BMSAdaptor::PlayBMS" of a signature.
std::string Operation(const std::string& signature)
{
    const std::string head = signature.substr(0, signature.find('('));
    return head.substr(head.rfind(' ') + 1);
}

/// Tracing is on as long as this object lives; it keeps what was collected.
class Tracing {
  public:
    explicit Tracing(unsigned capture = HT_CAPTURE_IMMEDIATE)
    {
        tv::ScopeTracer::Get().Start(
            [this](const tv::TracedScope& scope) {
                const tv::MutexLock lock(mutex_);
                scopes_.push_back(scope);
            },
            capture);
    }
    ~Tracing() { tv::ScopeTracer::Get().Stop(); }

    std::vector<tv::TracedScope> Take()
    {
        const tv::MutexLock lock(mutex_);
        return std::exchange(scopes_, {});
    }
    Lines TakeLines() { return LinesOf(Take()); }
    /// Each scope as its operation and values, deferred ones marked: `BMSAdaptor::SeekBMS "a" 1 later:true`.
    static Lines LinesOf(const std::vector<tv::TracedScope>& scopes)
    {
        Lines lines;
        for (const tv::TracedScope& scope : scopes) {
            std::string line = Operation(scope.signature);
            for (const tv::TracedScope::Value& value : scope.values) {
                const Json::Value json =
                    std::visit([](const auto& v) { return Json::Value(v); }, value.value);
                line += (value.deferred ? " later:" : " ") + test::Text(json);
            }
            lines.push_back(line);
        }
        return lines;
    }

  private:
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::vector<tv::TracedScope> scopes_ GUARDED_BY(mutex_);
};

TEST(Tracing, RecordsTheScopesOfASession)
{
    const std::string imp = "BMSAdaptor::HandleBlockingMessageImp ";
    const auto report = [](const std::string& event, const std::string& of_event, int type) {
        Lines lines{"BmsEventHandler::" + event + ' ' + of_event};
        if (type == 32 || type == 131)
            lines.push_back("BmsEventHandler::" + event + " 40");
        lines.push_back("BmsEventHandler::CallbackHandler 101 " + std::to_string(type));
        lines.emplace_back("BmsEventHandler::CallbackFunction 101");
        return lines;
    };
    // A command or a verb of the TV, and its scopes: inner ones close first.
    const std::pair<const char*, Lines> steps[] = {
        // clang-format off
        {R"({"command":"RegisterEvent","event":90001})",
         {imp + R"("RegisterEvent")", "BmsEventHandler::SetCallback 101", "BMSAdaptor::SetCallBack 101",
          "BMSAdaptor::RegisterSendEvent 101"}},
        {R"({"command":"Play"})", {imp + R"("Play")"}},
        {R"({"command":"ResumeLive","reason":"back"})", {R"(BMSAdaptor::ResumeLiveBMS "back")", imp + R"("ResumeLive")"}},
        {R"({"command":"ResumeLive","reason":""})", {R"(BMSAdaptor::ResumeLiveBMS "")", imp + R"("ResumeLive")"}},
        {R"({"command":"ResumeLive"})", {imp + R"("ResumeLive")"}},
        {R"({"command":"SetDisplayRect","x":1,"y":2,"width":3,"height":-4})",
         {"BMSAdaptor::SetDisplayRectBMS false", "BMSAdaptor::SetDisplayRectBMS 1 2 3 -4",
          imp + R"("SetDisplayRect")"}},
        {R"({"command":"Init","url":"","timeOffset":7})", {R"(BMSAdaptor::InitializeBMS "" 7 0)", imp + R"("Init")"}},
        {R"({"command":"Init","timeOffset":7})", {imp + R"("Init")"}},
        {R"({"command":"nothing"})", {imp + R"("nothing")"}},
        {R"({"command":7})", {}},
        {R"({"tv":"report","player":101,"type":32,"value1":40})", report("EventInitComplete", R"("40<BMS_PLAYER-0.5" "")", 32)},
        {R"({"tv":"report","player":101,"type":131,"value1":40})", report("EventBuffering", R"("40" "")", 131)},
        {R"({"tv":"report","player":101,"type":137,"value1":1,"value2":2})", report("EventCurrentPosition", R"("1" "2")", 137)},
        {R"({"tv":"report","player":101,"type":35,"value1":1,"value2":2})", report("EventSeekComplete", R"("1" "2")", 35)},
        {R"({"tv":"report","player":101,"type":33})", report("EventPauseComplete", R"("" "")", 33)},
        {R"({"tv":"report","player":101,"type":99})", {"BmsEventHandler::CallbackHandler 101 99", "BmsEventHandler::CallbackFunction 101"}},
        {R"({"tv":"report","player":101,"type":33,"user":null})", {"BmsEventHandler::CallbackFunction 101"}},
        {R"({"tv":"answer","call":"BmsCreatePlayer","result":0,"out":[5]})", {}},
        {R"({"command":"Init","url":"film","timeOffset":7,"playerType":2})",
         {"BmsEventHandler::SetCallback 5", "BMSAdaptor::InitializeBMS true 5",
          R"(BMSAdaptor::InitializeBMS "film" 7 2)", imp + R"("Init")"}},
        // clang-format on
    };
    Tracing tracing;
    test::Page page;
    for (const auto& [line, scopes] : steps) {
        SCOPED_TRACE(line);
        if (J(line).isMember("tv"))
            page.Do(line);
        else
            page.Await(line);
        EXPECT_EQ(tracing.TakeLines(), scopes);
    }
    page.TakeMessages();
    page.Close();
    EXPECT_EQ(tracing.TakeLines(), Lines{"BMSAdaptor::Destory 101"});
}

TEST(Tracing, CapturesAsTheScopeAsksForItsFirstValue)
{
    test::Page page;
    for (const auto& [settings, lines] : std::map<unsigned, Lines>{
             {HT_RECORD_TYPES, {"", " 2 3 4", ""}},
             {HT_CAPTURE_DEFERRED, {" later:false", " 2 3 4 later:1", R"( later:"SetDisplayRect")"}},
             {HT_CAPTURE_IMMEDIATE | HT_CAPTURE_DEFERRED,
              {" false later:false", " 1 2 3 4 later:1", R"( "SetDisplayRect" later:"SetDisplayRect")"}}}) {
        Tracing tracing(settings);
        page.Await(R"({"command":"SetDisplayRect","x":1,"y":2,"width":3,"height":4})");
        const std::vector<tv::TracedScope> scopes = tracing.Take();
        EXPECT_EQ(Tracing::LinesOf(scopes), (Lines{"BMSAdaptor::SetDisplayRectBMS" + lines[0],
                                                   "BMSAdaptor::SetDisplayRectBMS" + lines[1],
                                                   "BMSAdaptor::HandleBlockingMessageImp" + lines[2]}));
        ASSERT_EQ(scopes.at(0).types.size(), settings == HT_RECORD_TYPES ? 1U : 0U);
        for (const tv::TracedScope::Type& type : scopes[0].types)
            EXPECT_TRUE(type.name == "bool" && type.size == 1 && type.settings == settings) << type.name;
    }
}

TEST(Tracing, DescribesWhereAndWhenAScopeWas)
{
    const auto begun = std::chrono::steady_clock::now();
    Tracing tracing;
    test::Page page;
    page.Await(R"({"command":"RegisterEvent","event":90001})");
    page.Await(R"({"command":"Init","url":"film","timeOffset":0})");
    page.TakeMessages();
    std::map<std::string, std::set<std::uint32_t>> points;
    std::map<std::string, tv::TracedScope> last;
    for (const tv::TracedScope& scope : tracing.Take()) {
        const std::string operation = Operation(scope.signature);
        points[operation].insert(scope.point);
        last[operation] = scope;
        EXPECT_TRUE(scope.line > 0 && scope.start.count() >= 0) << operation;
        EXPECT_LE(scope.start + scope.duration, std::chrono::steady_clock::now() - begun) << operation;
        EXPECT_EQ(std::filesystem::path(scope.file).filename(),
                  operation.substr(0, 3) == "BMS" ? "BmsAdaptor.cpp" : "BmsEventHandler.cpp");
    }
    // One number a point, however often it is passed; two points in one operation have two.
    EXPECT_EQ(points["BMSAdaptor::HandleBlockingMessageImp"].size(), 1U);
    EXPECT_EQ(points["BMSAdaptor::InitializeBMS"].size(), 2U);
    const tv::TracedScope& outer = last["BMSAdaptor::HandleBlockingMessageImp"];
    EXPECT_EQ(outer.signature, "bool BMSAdaptor::HandleBlockingMessageImp(const pp::Var&, pp::Var&)");
    const tv::TracedScope& inner = last["BMSAdaptor::InitializeBMS"];
    EXPECT_TRUE(inner.thread == outer.thread &&
                inner.thread != last["BmsEventHandler::CallbackFunction"].thread);
    EXPECT_TRUE(outer.start <= inner.start && outer.start + outer.duration >= inner.start + inner.duration);
}

TEST(Tracing, CanBeSwitchedWhileScopesAreOpen)
{
    test::Page page;
    page.Await(R"({"command":"Play"})");
    auto tracing = std::make_unique<Tracing>();
    EXPECT_EQ(tracing->TakeLines(), Lines());
    // The platform call is made inside the command's scope: what is open when tracing ends is dropped, and
    // not taken for one of the next tracing either.
    const auto listening = tv::TheJournal().ListenToCalls([&](const tv::SharedCall&) {
        tracing.reset();
        tracing = std::make_unique<Tracing>();
    });
    page.Await(R"({"command":"Play"})");
    EXPECT_EQ(tracing->TakeLines(), Lines());
    page.Await(R"({"command":"GetPlayerWindowID"})");
    EXPECT_EQ(tracing->TakeLines(), Lines{R"(BMSAdaptor::HandleBlockingMessageImp "GetPlayerWindowID")"});
}

TEST(Tracing, IsOffUntilTheLibraryWasRegistered)
{
    // Where the library isn't loaded yet.
    test::InFreshProcess("", [] {
        tv::CarryOut(J(R"({"tv":"answer","call":"ht_register_library"})"));
        Tracing tracing;
        test::Page page;
        page.Await(R"({"command":"Play"})");
        EXPECT_EQ(tracing.TakeLines(), Lines());
    });
    // Its flag saves a library the cost of its trace points.
    tv::TraceLibraries libraries;
    tv::ScopeTracer tracer(libraries);
    ht_enabled_flag flag{1};
    libraries.Register(&flag);
    EXPECT_EQ(flag, 0);
    tracer.Start(nullptr);
    EXPECT_EQ(flag, 1);
    tracer.Stop();
    EXPECT_EQ(flag, 0);
}

/// The complete events of a trace as `thread: operation {args}`, the place in the source left out.
Lines Events(const Json::Value& trace)
{
    std::map<int, std::string> threads;
    Lines lines;
    for (Json::Value event : trace) {
        if (event["ph"] == "M" && event["name"] == "thread_name")
            threads[event["tid"].asInt()] = event["args"]["name"].asString();
        if (event["ph"] != "X")
            continue;
        EXPECT_TRUE(event["ts"].isNumeric() && event["dur"].isNumeric() && event["pid"].isInt());
        event["args"].removeMember("source");
        lines.push_back(threads[event["tid"].asInt()] + ": " + Operation(event["name"].asString()) + ' ' +
                        test::Text(event["args"]));
    }
    return lines;
}

TEST(TraceFile, IsWholeWithoutAnyScopeOrSaysWhy)
{
    const test::TemporaryFolder folder;
    const std::string file = folder / "trace.json";
    {
        host::TraceFile trace(file);
        trace.Begin();
        trace.Finish();
    }
    EXPECT_EQ(J(test::ReadFile(file)), Json::Value(Json::arrayValue));
    // cppcheck-suppress unusedScopedObject ; it throws
    EXPECT_THROW(host::TraceFile("/nowhere/at/all.json"), host::FileError);
    host::TraceFile full("/dev/full");
    full.Begin();
    EXPECT_THROW(full.Finish(), host::FileError);
}

TEST(TraceFile, HoldsEveryScopeEvenWhenTheProgramIsInterrupted)
{
    const test::TemporaryFolder folder;
    const std::string file = folder / "trace.json";
    const std::string log = (folder / "log").string();
    // A call that would take ten minutes is under way: it is cut short.
    const test::HostResult result =
        test::RunHost("--trace " + file + " script --log >" + log + " & until grep -q 'command:.Stop' " +
                          log + "; do :; done; kill -INT $!; wait $!",
                      R"({"await":{"command":"SetDisplayRect","x":1,"y":2,"width":3,"height":4}}
{"await":{"command":"ResumeLive","reason":"\"\\\n\u00e9"}}
{"tv":"answer","call":"BmsStop","delay":600000}
{"await":{"command":"Stop"}}
)");
    EXPECT_LT(result.status, 128);
    EXPECT_NE(test::ReadFile(log).find(R"({"reply":)"), std::string::npos);
    const std::string worker = "zlp.zelumopeppe: BMSAdaptor::";
    EXPECT_EQ(Events(J(test::ReadFile(file))),
              (Lines{worker + R"(SetDisplayRectBMS {"value1":false})",
                     worker + R"(SetDisplayRectBMS {"value1":1,"value2":2,"value3":3,"value4":4})",
                     worker + R"(HandleBlockingMessageImp {"value1":"SetDisplayRect"})",
                     worker + "ResumeLiveBMS {\"value1\":\"\\\"\\\\\\n\u00e9\"}",
                     worker + R"(HandleBlockingMessageImp {"value1":"ResumeLive"})",
                     worker + R"(HandleBlockingMessageImp {"value1":"Stop"})",
                     worker + R"(Destory {"value1":101})"}));
}

}  // namespace
