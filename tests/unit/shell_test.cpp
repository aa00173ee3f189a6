#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/page.h"

namespace {

using test::J;
using test::Text;

TEST(Shell, PowerOffToSuspendIsToldToThePage)
{
    struct Case {
        const char* verb;
        const char* message;
    };
    for (
        const Case& c : {
            Case{
                R"({"tv":"poweroff","type":1073741824})",
                R"({"code":0,"command":"ITVS_Signal_Instant_Off","data":{"event":90028},"errorMessage":"","errorName":""})"},
            Case{
                R"({"tv":"poweroff","type":-1})",
                R"({"code":0,"command":"ITVS_Signal_Instant_Off","data":{"event":90028},"errorMessage":"","errorName":""})"},
            Case{R"({"tv":"poweroff","type":1})", nullptr},
            Case{R"({"tv":"poweroff","type":1073741824,"user":null})", nullptr},
        }) {
        test::Page page;
        EXPECT_EQ(Text(page.Do(c.verb)), R"({"delivered":1,"results":[0]})") << c.verb;
        const std::vector<Json::Value> messages = page.TakeMessages();
        ASSERT_EQ(messages.size(), c.message == nullptr ? 0U : 1U) << c.verb;
        if (c.message != nullptr) {
            EXPECT_EQ(Text(messages[0]), c.message);
        }
    }
}

}  // namespace
