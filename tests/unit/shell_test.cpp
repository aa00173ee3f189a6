#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Text;

TEST(Shell, PowerOffToSuspendIsToldToThePage)
{
    struct Case {
        const char* verb;
        bool told;
    };
    for (const Case& c :
         {Case{R"({"tv":"poweroff","type":1073741824})", true}, Case{R"({"tv":"poweroff","type":-1})", true},
          Case{R"({"tv":"poweroff","type":1})", false},
          Case{R"({"tv":"poweroff","type":1073741824,"user":null})", false}}) {
        test::Page page;
        EXPECT_EQ(Text(page.Do(c.verb)), R"({"delivered":1,"results":[0]})") << c.verb;
        const std::vector<Json::Value> messages = page.TakeMessages();
        ASSERT_EQ(messages.size(), c.told ? 1U : 0U) << c.verb;
        if (c.told) {
            EXPECT_EQ(Text(messages[0]),
                      R"({"code":0,"command":"ITVS_Signal_Instant_Off","data":{"event":90028},)"
                      R"("errorMessage":"","errorName":""})");
        }
    }
}

TEST(Shell, TenThousandMessagesAreAnsweredEach)
{
    // Under AddressSanitizer this is also a test for leaks, of vars above all.
    test::Page page;
    const Json::Value request = J(R"({"command":"GetVersion","input":["text",{"more":[1,2.5,null,true]}]})");
    for (int i = 0; i < 10000; ++i)
        ASSERT_EQ(page.AwaitValue(request)["data"], "1.00");
}

TEST(Shell, MayBeTornDownWhileManyThreadsSwitchTheTvOff)
{
    for (int round = 0; round < 10; ++round) {
        test::Page page(test::Page::Deliveries::Free);
        std::atomic<int> told{0};
        std::atomic<bool> stop{false};
        page.Observe([&](const Json::Value&) { ++told; });
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&stop] {
                while (!stop)
                    tv::Tv::Get().power().Notify(DEVICE_POWER_OFF_TO_SUSPEND, false);
            });
        }
        while (told < 10)
            std::this_thread::yield();
        page.Close();
        const int at_the_end = told;
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(told, at_the_end);
    }
}

}  // namespace
