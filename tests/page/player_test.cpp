// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

using test::Lines;
using test::Text;

constexpr char kTrue[] = R"({"code":0,"data":true})";
constexpr char kFalse[] = R"({"code":0,"data":false})";
constexpr char kInvalid[] =
    R"({"code":26,"data":false,"errorMessage":"Parameter is invalid","errorName":"InvalidValuesError"})";

/// A command before any "Init", what the player service answers, what it was asked, and the reply.
struct Case {
    const char* request;
    std::vector<const char*> answers;  ///< of the verb, without its beginning
    Lines calls;
    const char* reply;
};

constexpr char kNoDrm[] = R"({"drmData":"","drmOp":"","drmType":""})";

std::string Created(const std::string& type_and_offset, const std::string& drm, const std::string& result)
{
    return R"(BmsCreatePlayer ["film","application/dash+xml",)" + type_and_offset + "," + drm + "] -> " +
           result;
}

TEST(PlayerCommands, CallThePlayerServiceAndAnswer)
{
    constexpr char kRefused[] = R"("BmsCreatePlayer","result":-1)";
    const std::string without_rights = Created("12,0", kNoDrm, "-1 out [null]");
    // clang-format off
    const Case cases[] = {
        // Nothing but 0 is a success.
        {R"({"command":"Play"})",   {R"("BmsPlay","result":1)"},    {"BmsPlay [-1] -> 1"},    kFalse},
        {R"({"command":"Pause"})",  {R"("BmsPause","result":1)"},   {"BmsPause [-1] -> 1"},   kFalse},
        {R"({"command":"Resume"})", {R"("BmsResume","result":1)"},  {"BmsResume [-1] -> 1"},  kFalse},
        {R"({"command":"Stop"})",   {R"("BmsStop","result":1)"},    {"BmsStop [-1] -> 1"},    kFalse},
        {R"({"command":"ResumeLive","reason":" "})", {R"("BmsResumeLive","result":1)"}, {"BmsResumeLive [-1] -> 1"}, kFalse},
        {R"({"command":"SetDisplayRect","x":-1,"y":2,"width":0,"height":-4})",
         {R"("BmsSetVideoPosition","result":1)"}, {"BmsSetVideoPosition [-1,-1,2,0,-4] -> 1"}, kFalse},

        {R"({"command":"Seek","sec":null})",        {R"("BmsSeek","result":0)"}, {"BmsSeek [-1,0] -> 0"},           kTrue},
        {R"({"command":"Seek","sec":2147484})",     {R"("BmsSeek","result":0)"}, {"BmsSeek [-1,2147483647] -> 0"},  kTrue},
        {R"({"command":"Seek","sec":-2147483648})", {R"("BmsSeek","result":0)"}, {"BmsSeek [-1,-2147483648] -> 0"}, kTrue},

        {R"({"command":"JumpForward","sec":-5})",
         {R"("BmsGetPlayTime","out":[20000])", R"("BmsSeek","result":3)"},
         {"BmsGetPlayTime [-1] -> 0 out [20000]", "BmsSeek [-1,15000] -> 3"}, kFalse},
        {R"({"command":"JumpForward","sec":2147483647})",
         {R"("BmsGetPlayTime","out":[2147483647])", R"("BmsSeek","result":0)"},
         {"BmsGetPlayTime [-1] -> 0 out [2147483647]", "BmsSeek [-1,2147483647] -> 0"}, kTrue},
        // The call failed, but the play time is there; and the other way round.
        {R"({"command":"JumpForward","sec":1})",
         {R"("BmsGetPlayTime","result":-1,"out":[-1])", R"("BmsSeek","result":0)"},
         {"BmsGetPlayTime [-1] -> -1 out [-1]", "BmsSeek [-1,999] -> 0"}, kTrue},
        {R"({"command":"JumpForward","sec":1})", {R"("BmsGetPlayTime","result":0)", R"("BmsSeek","result":0)"}, {"BmsGetPlayTime [-1] -> 0 out [null]"}, kFalse},

        // The product may lie outside the range that the sum is back in.
        {R"({"command":"JumpBackward","sec":2147484})",
         {R"("BmsGetPlayTime","out":[5000])", R"("BmsSeek","result":0)"},
         {"BmsGetPlayTime [-1] -> 0 out [5000]", "BmsSeek [-1,-2147479000] -> 0"}, kTrue},
        {R"({"command":"JumpBackward","sec":-2147483648})",
         {R"("BmsGetPlayTime","out":[4000])", R"("BmsSeek","result":0)"},
         {"BmsGetPlayTime [-1] -> 0 out [4000]", "BmsSeek [-1,2147483647] -> 0"}, kTrue},

        // Rights are used when both texts are there, empty or not.
        {R"({"command":"Init","url":"film","timeOffset":12,"drmType":"type","drmData":"<a/>"})", {kRefused},
         {Created("12,0", R"({"drmData":"<a/>","drmOp":"SetProperties","drmType":"type"})", "-1 out [null]")}, kInvalid},
        {R"({"command":"Init","url":"film","timeOffset":12,"drmType":"","drmData":""})", {kRefused},
         {Created("12,0", R"({"drmData":"","drmOp":"SetProperties","drmType":""})", "-1 out [null]")}, kInvalid},
        {R"({"command":"Init","url":"film","timeOffset":12,"drmType":7,"drmData":"<a/>"})", {kRefused}, {without_rights}, kInvalid},
        {R"({"command":"Init","url":"film","timeOffset":12,"drmType":"type"})", {kRefused}, {without_rights}, kInvalid},
    };
    // clang-format on
    test::Page page;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.request);
        for (const char* answer : c.answers)
            page.Answer(answer);
        test::Calls calls;
        EXPECT_EQ(Text(page.Await(c.request)), c.reply);
        EXPECT_EQ(calls.Take(), c.calls);
        page.Do(R"({"tv":"restore"})");
    }
}

TEST(PlayerCommands, InitMakesTheNewestPlayerTheOneThatIsCommanded)
{
    test::Page page;
    test::Calls calls;
    page.Await(R"({"command":"Init","url":"film","timeOffset":"x","playerType":3})");
    page.Await(R"({"command":"Init","url":"film","timeOffset":-1,"playerType":null})");
    EXPECT_EQ(Text(page.Await(R"({"command":"Play"})")), kTrue);
    EXPECT_EQ(calls.Take(),
              (Lines{Created("0,3", kNoDrm, "0 out [1]"), "BmsSetCallback [1] -> 0",
                     Created("-1,0", kNoDrm, "0 out [2]"), "BmsSetCallback [2] -> 0", "BmsPlay [2] -> 0"}));

    // A failed creation registers nothing; the id that the service wrote, if any, stays.
    page.Answer(R"("BmsCreatePlayer","result":-1,"times":1)");
    page.Answer(R"("BmsCreatePlayer","result":4,"out":[77],"times":1)");
    EXPECT_EQ(Text(page.Await(R"({"command":"Init","url":"film","timeOffset":0})")), kInvalid);
    page.Await(R"({"command":"Pause"})");
    EXPECT_EQ(Text(page.Await(R"({"command":"Init","url":"film","timeOffset":0})")), kInvalid);
    page.Await(R"({"command":"Pause"})");
    EXPECT_EQ(calls.TakeHolding({"Callback", "Pause"}), (Lines{"BmsPause [2] -> 0", "BmsPause [77] -> -1"}));
}

TEST(PlayerCommands, LogUnderTheirOwnTag)
{
    struct LogCase {
        const char* request;
        const char* answer;  ///< null: none
        std::string function;
        int start;      ///< level of its first line
        Lines between;  ///< that line and the one with the result
        const char* result;
    };
    constexpr char kSuccess[] = "PP_STATUS_SUCCESS";
    constexpr char kRefused[] = "PP_INVALID_VALUES_ERR";
    // clang-format off
    const LogCase cases[] = {
        {R"({"command":"Init","url":"film","timeOffset":-1,"playerType":2,"drmType":"t","drmData":"d"})", nullptr, "InitializeBMS", 6,
         {"3 InitializeBMS: [InitializeBMS]playerType 2",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] m_url: film, timeOffset: 4294967295, bProgram : 2",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] drmType: t, drmOp: SetProperties, drmData : d",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] BmsCreatePlayer START ",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] SetCallback bResult : 1, playerId : 1 ",
          "6 SetCallback: [BmsEventHandler::SetCallback] is called - playerId:[1]",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] SetCallback done"}, kSuccess},
        {R"({"command":"Init","url":"film","timeOffset":0})", R"("BmsCreatePlayer","result":-1)", "InitializeBMS", 6,
         {"6 InitializeBMS: [BMSAdaptor::InitializeBMS] m_url: film, timeOffset: 0, bProgram : 0",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] BmsCreatePlayer START ",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] SetCallback bResult : 0, playerId : 1 ",
          "6 InitializeBMS: [BMSAdaptor::InitializeBMS] SetCallback fail"}, kRefused},
        {R"({"command":"Play"})",              nullptr, "PlayBMS",              3, {}, kSuccess},
        {R"({"command":"Pause"})",             nullptr, "PauseBMS",             3, {}, kSuccess},
        {R"({"command":"Resume"})",            nullptr, "ResumeBMS",            3, {}, kSuccess},
        {R"({"command":"Stop"})",              nullptr, "StopBMS",              6, {}, kSuccess},
        {R"({"command":"PasueLive"})",         nullptr, "PauseLiveBMS",         6, {}, kSuccess},
        {R"({"command":"GetPlayerWindowID"})", nullptr, "GetPlayerWindowIDBMS", 6, {}, kSuccess},
        {R"({"command":"Seek"})",              nullptr, "SeekBMS",              6, {}, kRefused},
        {R"({"command":"Seek","sec":90})",        nullptr, "SeekBMS",         6, {"6 SeekBMS: [BMSAdaptor::SeekBMS] sec: 90"}, kSuccess},
        {R"({"command":"JumpForward","sec":9})",  nullptr, "JumpForwardBMS",  6, {"6 JumpForwardBMS: [MSAdaptor::JumpForwardBMS] sec:[9]"}, kSuccess},
        {R"({"command":"JumpBackward","sec":9})", nullptr, "JumpBackwradBMS", 6, {"6 JumpBackwradBMS: [BMSAdaptor::JumpBackwradBMS] sec: 9"}, kSuccess},
        {R"({"command":"ResumeLive","reason":""})", nullptr, "ResumeLiveBMS", 6, {"6 ResumeLiveBMS: [BMSAdaptor::ResumeLiveBMS] m_reason:[]"}, kRefused},
        {R"({"command":"SetDisplayRect","x":1,"y":2,"width":3,"height":4})", nullptr, "SetDisplayRectBMS", 6,
         {"6 SetDisplayRectBMS: [BMSAdaptor::SetDisplayRectBMS] x: 1",
          "6 SetDisplayRectBMS: [BMSAdaptor::SetDisplayRectBMS] y: 2",
          "6 SetDisplayRectBMS: [BMSAdaptor::SetDisplayRectBMS] width: 3",
          "6 SetDisplayRectBMS: [BMSAdaptor::SetDisplayRectBMS] height: 4"}, kSuccess},
        {R"({"command":"GetVersion"})", nullptr, "", 0,
         {"6 HandleBlockingMessageImp: BMSAdaptor::HandleBlockingMessageImp -BMS doesn't care about:[GetVersion]"}, nullptr},
    };
    // clang-format on
    const std::string start = "0/3 zelumo-pepper HandleBlockingMessageImpl: ";
    const std::string called = "BMSAdaptor::HandleBlockingMessageImp ";
    test::Page page;
    for (const LogCase& c : cases) {
        SCOPED_TRACE(c.request);
        if (c.answer != nullptr)
            page.Answer(c.answer);
        test::Log log;
        page.Await(c.request);
        Lines lines;
        for (std::string line : log.Take()) {
            if (line.find(" ZLP_BASE Callback") != std::string::npos ||
                line.find(" ZLP_BASE Event") != std::string::npos)
                continue;  // a report's
            // Where in the source a result line stands changes with the source.
            if (const std::size_t before = line.find("]("); before != std::string::npos)
                line.replace(before + 2, line.find(')', before) - before - 2, "N");
            lines.push_back(line);
        }
        const std::string command = test::J(c.request)["command"].asString();
        Lines bms{"6 HandleBlockingMessageImp: " + called + "is called",
                  "6 HandleBlockingMessageImp: " + called + "-command:[" + command + "]"};
        if (c.result != nullptr)
            bms.push_back(std::to_string(c.start) + " " + c.function + ": [BMSAdaptor::" + c.function +
                          "] start command");
        bms.insert(bms.end(), c.between.begin(), c.between.end());
        if (c.result != nullptr)
            bms.push_back("3 " + c.function + ": [" + c.function + "](N) " + c.result);
        Lines expected{start + "=================> command: " + command};
        for (const std::string& line : bms)
            expected.push_back("0/" + line.substr(0, 2) + "ZLP_BASE " + line.substr(2));
        if (c.result != nullptr)
            expected.push_back(start +
                               "[CZeLumoPluginHandler::HandleBlockingMessageImpl] operated player side");
        EXPECT_EQ(lines, expected);
        page.Do(R"({"tv":"restore"})");
    }
}

TEST(PlayerEvents, AreLoggedWithTheirTypeAndTexts)
{
    struct Event {
        int type;
        int value1;
        int value2;
        const char* param1;  ///< null: the page hears nothing
        const char* param2;
        const char* handler;  ///< as the log names it
        const char* first;    ///< its first log text
        const char* second;   ///< its second, with the texts
    };
    constexpr int kMax = 2147483647;
    constexpr int kMin = -kMax - 1;
    // clang-format off
    const Event events[] = {
        {32,  -12,   5,      "-12<BMS_PLAYER-0.5", "",     "EventInitComplete",     "BmsEventHandler::EventInitComplete",     "CZeLumoPluginHandler::EventInitComplete-sParam1:[-12<BMS_PLAYER-0.5], EventCurrentPosition:[]"},
        {33,  1,     2,      "", "",                       "EventPauseComplete",    "BmsEventHandler::EventPauseComplete",    "CZeLumoPluginHandler::EventPauseComplete-sParam1:[], sParam2:[]"},
        {34,  1,     2,      "", "",                       "EventResumeComplete",   "BmsEventHandler::EventResumeComplete",   "CZeLumoPluginHandler::EventResumeComplete-sParam1:[], sParam2:[]"},
        {35,  kMin,  kMax,   "-2147483648", "2147483647",  "EventSeekComplete",     "BmsEventHandler::EventSeekComplete",     "CZeLumoPluginHandler::EventSeekComplete -position:[-2147483648], duration:[2147483647]"},
        {36,  1,     2,      "", "",                       "EventStopSuccess",      "BmsEventHandler::EventStopSuccess",      "CZeLumoPluginHandler::EventStopSuccess-sParam1:[], sParam2:[]"},
        {37,  1,     2,      "", "",                       "EventContentRangeOver", "[BmsEventHandler::EventContentRangeOver]", "CZeLumoPluginHandler::EventContentRangeOver-sParam1:[], sParam2:[]"},
        {97,  1,     2,      "", "",                       "EventEndOfStream",      "BmsEventHandler::EventEndOfStream",      "CZeLumoPluginHandler::EventEndOfStream-sParam1:[], sParam2:[]"},
        {98,  1,     2,      "", "",                       "EventError",            "BmsEventHandler::EventError",            "CZeLumoPluginHandler::EventError-sParam1:[], sParam2:[]"},
        {131, 40,    7,      "40", "",                     "EventBuffering",        "BmsEventHandler::EventBuffering",        "CZeLumoPluginHandler::EventBuffering-sParam1:[40], EventCurrentPosition:[]"},
        {134, 1,     2,      "", "",                       "EventFileNotFound",     "BmsEventHandler::EventFileNotFound",     "CZeLumoPluginHandler::EventFileNotFound-sParam1:[], sParam2:[]"},
        {137, -1,    0,      "-1", "0",                    "EventCurrentPosition",  "CZeLumoPluginHandler::EventCurrentPosition-position:[-1], duration:[0]", "CZeLumoPluginHandler::EventCurrentPosition-sParam1:[-1], EventCurrentPosition:[0]"},
        {144, 1,     2,      "", "",                       "EventBeginOfStream",    "BmsEventHandler::EventBeginOfStream",    "CZeLumoPluginHandler::EventBeginOfStream-sParam1:[], sParam2:[]"},
        {200, 1,     2,      "", "",                       "EventGetWindowID",      "BmsEventHandler::EventGetWindowID",      "CZeLumoPluginHandler::EventGetWindowID-sParam1:[], sParam2:[]"},
        {201, 1,     2,      "", "",                       "EventGetInitInfo",      "BmsEventHandler::EventGetInitInfo",      "CZeLumoPluginHandler::EventGetInitInfo-sParam1:[], sParam2:[]"},
        {99,  1,     2,      nullptr, nullptr, nullptr, nullptr, nullptr},
    };
    // clang-format on
    test::Page page;
    page.Await(R"({"command":"RegisterEvent","event":90001})");
    for (const Event& event : events) {
        const std::string type = std::to_string(event.type);
        SCOPED_TRACE(type);
        test::Log log;
        page.Do(R"({"tv":"report","player":101,"type":)" + type + R"(,"value1":)" +
                std::to_string(event.value1) + R"(,"value2":)" + std::to_string(event.value2) + "}");
        const auto bits = [](int value) {
            return static_cast<unsigned long long>(static_cast<unsigned>(value));
        };
        const std::string of_report = " is called - id:[101], callbacktype:[" + type + "]";
        Lines lines{"0/6 ZLP_BASE CallbackFunction: [BmsEventHandler::CallbackFunction]" + of_report +
                        ", callbackdata:[" + std::to_string(bits(event.value2) << 32 | bits(event.value1)) +
                        "]",
                    "0/6 ZLP_BASE CallbackHandler: [BmsEventHandler::CallbackHandler]" + of_report};
        if (event.param1 != nullptr) {
            const std::string handler = std::string("0/6 ZLP_BASE ") + event.handler + ": ";
            lines.push_back(handler + event.first);
            lines.push_back(handler + event.second);
            lines.push_back("0/3 zelumo-pepper OnEvent: [OnEvent] EVENT >> eventType: " + type +
                            ", param1: " + event.param1 + ", param2: " + event.param2);
        }
        EXPECT_EQ(log.Take(), lines);
    }
    page.TakeMessages();
}

}  // namespace
