// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

using test::Lines;
using test::Text;

std::string Report(int player, int type, int value1, int value2)
{
    return R"({"tv":"report","player":)" + std::to_string(player) + R"(,"type":)" + std::to_string(type) +
           R"(,"value1":)" + std::to_string(value1) + R"(,"value2":)" + std::to_string(value2) + "}";
}

TEST(PlayerEvents, ReachThePageWithTheirTypeAndTexts)
{
    struct Case {
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
    const Case cases[] = {
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
    for (const Case& c : cases) {
        SCOPED_TRACE(Report(101, c.type, c.value1, c.value2));
        test::Log log;
        EXPECT_EQ(Text(page.Do(Report(101, c.type, c.value1, c.value2))), R"({"delivered":1})");
        const Lines messages = page.TakeTexts();

        const auto bits = [](int value) {
            return static_cast<unsigned long long>(static_cast<unsigned>(value));
        };
        const std::string of_report = " is called - id:[101], callbacktype:[" + std::to_string(c.type) + "]";
        Lines lines{"0/6 ZLP_BASE CallbackFunction: [BmsEventHandler::CallbackFunction]" + of_report +
                        ", callbackdata:[" + std::to_string(bits(c.value2) << 32 | bits(c.value1)) + "]",
                    "0/6 ZLP_BASE CallbackHandler: [BmsEventHandler::CallbackHandler]" + of_report};
        if (c.param1 == nullptr) {
            EXPECT_EQ(messages, Lines());
        } else {
            EXPECT_EQ(messages,
                      Lines{R"({"event":"ZELUMO_EVENT","param1":")" + std::string(c.param1) +
                            R"(","param2":")" + c.param2 + R"(","type":)" + std::to_string(c.type) + "}"});
            const std::string handler = std::string("0/6 ZLP_BASE ") + c.handler + ": ";
            lines.push_back(handler + c.first);
            lines.push_back(handler + c.second);
            lines.push_back("0/3 zelumo-pepper OnEvent: [OnEvent] EVENT >> eventType: " +
                            std::to_string(c.type) + ", param1: " + c.param1 + ", param2: " + c.param2);
        }
        EXPECT_EQ(log.Take(), lines);
    }
}

}  // namespace
