// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

using test::Lines;

TEST(Log, TellsWhatCommandsAndTheTvDid)
{
    struct Case {
        const char* answer;  ///< of a call, for once; null: none
        const char* line;    ///< a request or a verb
        Lines log;           ///< of a request, what comes behind the lines that every one has
    };
    const std::string event = "0/6 zelumo-pepper t_VordaOnEvent:  CZeLumoPluginHandler::t_onEvent is called";
    const std::string sent = "0/6 zelumo-pepper SendPloomiaEvent:  ";
    const std::string off = "2/6 zelumo-pepper t_OnPowerOff: [zelumo-pepper] ";
    const std::string registers = "2/6 zelumo-pepper HandleBlockingMessageImpl: RegisterEvent => 90001";
    const std::string registered = " zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] ";
    const std::string current = " zelumo-pepper t_GetCurrentChannel: ";
    const std::string list = "0/6 zelumo-pepper GetZELumoServices: ";
    const std::string watch =
        "0/6 zelumo-pepper AddVconfCallbackWithKey: [CZeLumoPluginHandler::AddVconfCallbackWithKey] ";
    const Case cases[] = {
        // clang-format off
        {nullptr, R"({"command":"nothing"})", {"0/6 zelumo-pepper HandleBlockingMessageImpl: Can not handler the command!! "}},
        {R"("IServiceNavigation::GetCurrentService","out":[{"12":"7","13":5,"16":"fox \ud83e\udd8a"}])", R"({"command":"GetCurrentChannelInfo"})",
         {"0/3" + current + "SERVICE_ID = 7", "0/3" + current + "MAJOR = 5", "0/3 zelumo-pepper ucs2utf8: iconv failed: 84"}},
        {R"("IServiceNavigation::GetCurrentService","out":[{"110":"[1]"}])", R"({"command":"GetCurrentChannelInfo"})",
         {"0/3" + current + "SERVICE_ID = 18446744073709551615", "0/3" + current + "MAJOR = 65535",
          "0/6 zelumo-pepper t_GetChannelInfo: Exception Handled by t_GetChannelInfo "}},
        {R"("IServiceNavigation::GetCurrentService","result":-1)", R"({"command":"GetCurrentChannelInfo"})", {"0/6" + current + "Fail to get current service data\n"}},
        {R"("IServiceNavigation::GetTvMode","out":[{"antennaMode":-1,"serviceMode":8}])", R"({"command":"GetZELumoServices"})",
         {list + "GetZELumoServices begins", list + "nTCTVMode.antennaMode = -1, nTCTVMode.serviceMode = 8 !", list + "GetServiceList svc_list.size = 31, "}},
        {R"("TCNavigationModeHelper::GetNavigationCriteria","result":false)", R"({"command":"GetZELumoServices"})",
         {list + "GetZELumoServices begins", list + "Get navigation criteria failed"}},
        {nullptr, R"({"command":"SetServiceByServiceid","Serviceid":"1001"})", {"0/6 zelumo-pepper SetServiceByServiceid: SetServiceByServiceid begins"}},
        {nullptr, R"({"command":"SetNextService"})", {"0/3 zelumo-pepper SetNextService: SetNextService success"}},
        {nullptr, R"({"command":"SetPreviousService"})", {"0/3 zelumo-pepper SetPrevService: SetPreviousService success"}},
        {R"("IServiceNavigation::SetNextService","result":0)", R"({"command":"SetNextService"})", {"0/6 zelumo-pepper SetNextService: SetNextService Failed"}},
        {R"("IServiceNavigation::SetPreviousService","result":0)", R"({"command":"SetPreviousService"})", {"0/6 zelumo-pepper SetPrevService: SetPreviousService Failed"}},
        {R"("vconf_get_str","result":null)", R"({"command":"GetStringFromVconfWithKey","key":"k"})",
         {"2/6 zelumo-pepper HandleBlockingMessageImpl: [Vorda HandleBlockingMessage] key is k",
          "0/6 zelumo-pepper GetStringFromVconfWithKey: [CZeLumoPluginHandler::GetStringFromVconfWithKey] vconf_get_str is failed"}},
        {R"("vconf_set_str","result":1)", R"({"command":"SetStringToVconfWithKey","input":"v","key":"k"})", {"0/6 zelumo-pepper SetStringToVconfWithKey: [CZeLumoPluginHandler::SetStringToVconfWithKey] vconf_set_str is failed"}},
        {R"("vconf_set_int","result":1)", R"({"command":"SetIntegerToVconfWithKey","input":1,"key":"k"})", {"0/6 zelumo-pepper SetIntegerToVconfWithKey: [CZeLumoPluginHandler::SetIntegerToVconfWithKey] vconf_set_int is failed"}},
        {R"("vconf_get_int","result":1)", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})", {"0/6 zelumo-pepper GetIntegerFromVconfWithKey: [CZeLumoPluginHandler::GetIntegerFromVconfWithKey] vconf_get_int is failed"}},
        {R"("vconf_set_bool","result":1)", R"({"command":"SetBooleanToVconfWithKey","input":1,"key":"k"})", {"0/6 zelumo-pepper SetBooleanToVconfWithKey: [CZeLumoPluginHandler::SetBooleanToVconfWithKey] vconf_set_bool is failed"}},
        {R"("vconf_get_bool","result":1)", R"({"command":"GetBooleanFromVconfWithKey","key":"k"})", {"0/6 zelumo-pepper GetBooleanFromVconfWithKey: [CZeLumoPluginHandler::GetBooleanFromVconfWithKey] vconf_get_bool is failed"}},
        {R"("vconf_notify_key_changed","result":-1)", R"({"command":"AddVconfCallbackWithKey","key":"k"})", {watch + "failed to vconf_notify_key_changed() with key:k"}},
        {nullptr, R"({"command":"AddVconfCallbackWithKey","key":"k"})", {}},
        {nullptr, R"({"command":"AddVconfCallbackWithKey","key":"k"})", {watch + "already registered vconf key cb: k"}},
        {nullptr, R"({"tv":"setting","key":"k","value":1})", {"0/3 zelumo-pepper t_VconfChangedCallBack:  Key Change callback received for key : k"}},
        {R"("FCEMSProxy::GetInstanceForPlugin","result":null)", R"({"command":"RegisterEvent","event":90001})",
         {registers, "0/3" + registered + "event  90001", "0/6" + registered + "no event proxy"}},
        {nullptr, R"({"command":"RegisterEvent","event":90001})",
         {registers, "0/3" + registered + "event  90001",
          "0/6 ZLP_BASE SetCallBack: BMSAdaptor::SetCallBack is called -id:[101]",
          "0/6 ZLP_BASE SetCallback: [BmsEventHandler::SetCallback] is called - playerId:[101]",
          "0/6 ZLP_BASE RegisterSendEvent: [BMSAdaptor::RegisterSendEvent] is called -id:[101]",
          "0/6 ZLP_BASE RegisterSendEventCallback: [BmsEventHandler::RegisterSendEventCallback] is called",
          "0/3" + registered + "SetCallbackBMS PlayerID : 101"}},
        {nullptr, R"({"command":"RegisterEvent","event":90001})",
         {registers, "0/3" + registered + "event  90001", "0/6" + registered + "already registered signal: 90001"}},
        {nullptr, R"({"tv":"event","event":90001})", {event, sent + "PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE is sent"}},
        {nullptr, R"({"tv":"event","event":90001,"user":null})", {event}},
        {nullptr, R"({"command":"UnRegisterEvent","event":90001})",
         {"2/6 zelumo-pepper HandleBlockingMessageImpl: UnRegisterEvent => 90001",
          "0/3 zelumo-pepper UnRegisterEvent:  CZeLumoPluginHandler::UnRegisterEvent is called event is 90001"}},
        {nullptr, R"({"tv":"signal","signal":177})", {"0/3 zelumo-pepper t_SendData: [CZeLumoPluginHandler::t_SendData] signal : 177"}},
        {nullptr, R"({"tv":"signal","signal":177,"user":null})", {}},
        {nullptr, R"({"tv":"poweroff","type":-1})", {off + "OnPowerOff is called !!", sent + "ITVS_Signal_Instant_Off is sent"}},
        {nullptr, R"({"tv":"poweroff","type":1})", {off + "OnPowerOff is called !!", off + "It is NOT POWER_OFF_TO_SUSPEND!!"}},
        {nullptr, R"({"tv":"poweroff","type":1073741824,"user":null})", {off + "OnPowerOff is called !!", off + "pInstance is NULL!!"}},
        // clang-format on
    };
    test::Page page;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        if (c.answer != nullptr)
            page.Answer(c.answer + std::string(R"(,"times":1)"));
        test::Log log;
        if (test::J(c.line).isMember("tv"))
            page.Do(c.line);
        else
            page.Await(c.line);
        Lines lines = log.Take();
        if (lines.size() >= 4 && lines[1].find("HandleBlockingMessageImp") != std::string::npos)
            lines.erase(lines.begin(), lines.begin() + 4);
        // What the exception says is up to the library that threw it.
        if (!lines.empty() && lines.back().find("Exception Handled") != std::string::npos)
            lines.back().resize(c.log.back().size());
        EXPECT_EQ(lines, c.log);
    }
    page.TakeMessages();
}

TEST(Log, TellsWhatThePlayersCommandsDid)
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

TEST(Log, TellsThePlayersReportsWithTheirTexts)
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
