// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>
#include <thread>

#include "log/dlog.h"
#include "power/device_power.h"
#include "settings/vconf.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/schedule.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::J;
using test::Text;

/// Everything works as usual again at the end of a test.
class Platform : public testing::Test {
  protected:
    ~Platform() override
    {
        tv::TheCalls().RestoreAll();
        EXPECT_EQ(tv::CountRegistrations(), 0U);
    }
    static void Do(const std::string& verb) { tv::CarryOut(J(verb)); }
};

TEST_F(Platform, AnswersMayHoldForSomeArguments)
{
    const auto write = [](const char* key, int value) { return vconf_set_int(key, value); };
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-1})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-2,"args":["a"]})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-3,"args":[null,5]})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-4,"args":["b",7.0],"times":1})");
    EXPECT_EQ(write("a", 5), -2) << "of two that hold, the one that was set first";
    EXPECT_EQ(write("b", 5), -3);
    EXPECT_EQ(write("b", 7), -4);
    EXPECT_EQ(write("b", 7), -1) << "whatever the arguments, once no other holds";
    // The same arguments: replaced. Others: kept.
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-5,"args":["a"]})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-6})");
    EXPECT_EQ(write("a", 1), -5);
    EXPECT_EQ(write("a", 5), -3);
    EXPECT_EQ(write("c", 1), -6);
    EXPECT_EQ(test::Text(tv::TheCalls().AnswersJson()),
              R"([{"args":[null,5],"call":"vconf_set_int","result":-3},)"
              R"({"args":["a"],"call":"vconf_set_int","result":-5},{"call":"vconf_set_int","result":-6}])");
    Do(R"({"tv":"restore","call":"vconf_set_int"})");
    EXPECT_EQ(write("a", 5), 0);
    EXPECT_FALSE(tv::Calls::Watched());
}

TEST_F(Platform, AnswersQueueReplaceRunOutAndWriteOutArguments)
{
    vconf_set_int("k", 3);
    test::Calls calls;
    // A verb (of an answer what it holds), and what the calls behind it give: result and value, 77 where
    // that is not written.
    for (const auto& [verb, given] : std::vector<std::pair<std::string, std::vector<std::pair<int, int>>>>{
             {R"("out":[9])", {{0, 9}}},
             {R"("result":-1,"out":[9])", {{-1, 9}}},
             {R"("out":[null])", {{0, 77}, {0, 77}}},
             {R"({"tv":"restore"})", {{0, 3}}},
             {R"("result":-5,"times":2)", {}},
             {R"("result":-6,"times":1)", {{-5, 77}, {-5, 77}, {-6, 77}, {0, 3}}},
             {R"("result":-5,"times":2)", {}},
             {R"("result":-7)", {{-7, 77}, {-7, 77}}},
             {R"({"tv":"restore","call":"vconf_set_int"})", {{-7, 77}}},
             {R"({"tv":"restore","call":"vconf_get_int"})", {{0, 3}}},
         }) {
        SCOPED_TRACE(verb);
        Do(verb[0] == '{' ? verb : R"({"tv":"answer","call":"vconf_get_int",)" + verb + "}");
        for (const auto& [result, read] : given) {
            int value = 77;
            EXPECT_EQ(vconf_get_int("k", &value), result);
            EXPECT_EQ(value, read);
            EXPECT_EQ(calls.Take(),
                      test::Lines{"vconf_get_int [\"k\"] -> " + std::to_string(result) + " out [" +
                                  (read == 77 ? "null" : std::to_string(read)) + "]"});
        }
    }
}

TEST_F(Platform, MistakenVerbsDoNothingAndSayWhy)
{
    // A verb, and what is said behind its name.
    for (
        const auto& [verb, expected] : std::vector<std::pair<const char*, const char*>>{
            // clang-format off
             {R"({"tv":5})", R"("tv" must name a verb)"},
             {R"({"tv":"poweroff","type":2147483648})", R"("type" must be a whole number of 32 bits)"},
             {R"({"tv":"poweroff","type":1,"user":0})", R"("user" can only be null)"},
             {R"({"tv":"setting","key":"k"})", R"("value" must be a string, a whole number of 32 bits, or true or false)"},
             {R"({"tv":"setting","key":"","value":1})", R"("key" must not be empty)"},
             {R"({"tv":"answer","call":"BmsDance"})", R"(there is no platform call "BmsDance")"},
             {R"({"tv":"answer","call":"BmsPlay","result":"0"})", R"("result" of BmsPlay must be a whole number of 32 bits)"},
             {R"({"tv":"answer","call":"BmsPlay","out":[1]})", R"(BmsPlay has 0 out arguments, "out" gives 1)"},
             {R"({"tv":"answer","call":"BmsGetPlayTime","out":["1"]})", R"("out"[0] of BmsGetPlayTime must be null or a whole number of 32 bits)"},
             {R"({"tv":"answer","call":"BmsGetPlayTime","out":{}})", R"("out" must be an array)"},
             {R"({"tv":"answer","call":"FCAPI::GetZELumoAPI","result":false})", R"("result" of FCAPI::GetZELumoAPI must be true or null)"},
             {R"({"tv":"answer","call":"BmsPlay","args":1})", R"("args" must be an array)"},
             {R"({"tv":"answer","call":"BmsPlay","args":[1,2]})",
              R"(BmsPlay has 1 arguments, "args" gives 2)"},
             {R"({"tv":"answer","call":"BmsPlay","times":0})", R"("times" must be 1 or more)"},
             {R"({"tv":"answer","call":"BmsPlay","delay":-1})", R"("delay" must be 0 or more)"},
             {R"({"tv":"answer","call":"BmsPlay","works":true,"result":-1})", R"("works" goes with neither "result" nor "out")"},
             {R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","out":[{"12":12}]})",
              R"("out"[0] of IServiceNavigation::GetCurrentService must be null or an object from )"
              "field identifier to value"},
             {R"({"tv":"advance","ms":-1})", R"("ms" must be 0 or more)"},
             {R"({"tv":"setting","key":"unwritten","value":1,"force":1})", R"("force" must be true or false)"},
             {R"({"tv":"setting","kye":"k"})", R"("key" is missing)"},
             {R"({"tv":"setting","key":"unwritten","value":1,"usr":1})", R"("usr" is not known; did you mean "user"?)"},
             {R"({"tv":"evnet"})", R"(there is no verb "evnet"; did you mean "event"?)"},
             {R"({"tv":"restore","call":"GetProgramlist"})",
              R"(there is no platform call "GetProgramlist"; did you mean "FIVirtualChannelsAPI::GetProgramList"?)"},
             {R"({"tv":"speed","factor":true})", R"("factor" must be a number from 0 to 100000)"},
             {R"({"tv":"speed","factor":-0.1})", R"("factor" must be a number from 0 to 100000)"},
             {R"({"tv":"speed","factor":100000.1})", R"("factor" must be a number from 0 to 100000)"},
             {R"({"tv":"at","ms":-1,"do":{"tv":"restore"}})", R"("ms" must be 0 or more)"},
             {R"({"tv":"at","ms":1})", R"("do" is missing)"},
             {R"({"tv":"at","ms":1,"do":"restore"})", R"("do" must be a verb)"},
             {R"({"tv":"at","ms":1,"do":{"tv":"open"}})", R"("do" can't be "open")"},
             {R"({"tv":"at","ms":1,"do":{"tv":"close"}})", R"("do" can't be "close")"},
             {R"({"tv":"at","ms":1,"do":{"tv":"advance","ms":1}})", R"("do" can't be "advance")"},
             {R"({"tv":"at","ms":1,"do":{"tv":"at","ms":1,"do":{"tv":"restore"}}})", R"("do" can't be "at")"},
             {R"({"tv":"at","ms":1,"do":{"tv":"event"}})", R"("do": verb "event": "event" is missing)"},
             {R"({"tv":"at","ms":1,"do":{}})", R"("do": "tv" must name a verb)"},
            // clang-format on
        }) {
        try {
            Do(verb);
            ADD_FAILURE() << verb;
        } catch (const tv::VerbError& error) {
            const std::string why = error.what();
            const std::size_t at = why.find("verb \"") == 0 ? why.find(": ") + 2 : 0;
            EXPECT_EQ(why.substr(at), expected) << verb;
        }
    }
    EXPECT_FALSE(tv::Calls::Watched());
    EXPECT_EQ(tv::StateJson()["scheduled"], J("[]"));
    EXPECT_EQ(tv::StateJson()["settings"].isMember("unwritten"), false);
}

TEST_F(Platform, WhatIsScheduledIsBounded)
{
    int scheduled = 0;
    try {
        for (;; ++scheduled)
            Do(R"({"tv":"at","ms":5,"do":{"tv":"restore"}})");
    } catch (const tv::VerbError& error) {
        EXPECT_STREQ(error.what(), R"(verb "at": too many verbs are scheduled)");
    }
    EXPECT_EQ(scheduled, 10'000);
    tv::TheSchedule().Clear();
    const std::string value(1'000'000, 'x');
    EXPECT_THROW(
        for (int i = 0; i < 17; ++i)
            Do(R"({"tv":"at","ms":5,"do":{"tv":"setting","key":"unwritten","value":")" + value + "\"}}"),
        tv::VerbError);
    tv::TheSchedule().Clear();
    Do(R"({"tv":"advance","ms":5})");
    EXPECT_EQ(tv::StateJson()["settings"].isMember("unwritten"), false);
}

TEST_F(Platform, TheStateShowsTheWholeTv)
{
    test::Page page;
    tv::LoadTv(tv::ParseTv(
        R"({"date":5,"channels":[{"id":"7","name":"A","major":2}],"settings":{"s":"v","b":true}})",
        tv::SampleTv()));
    page.Await(R"({"command":"RegisterEvent","event":90001})");
    page.Await(R"({"command":"AddVconfCallbackWithKey","key":"s"})");
    page.Await(R"({"command":"Init","url":"film","timeOffset":0})");
    page.TakeMessages();
    const std::string bare = R"({"call":"ht_register_library"})";  // the first call there is
    const std::string lasting = R"({"call":"vconf_get_str","result":null})";
    const std::string twice = R"({"call":"vconf_get_int","delay":5,"out":[7],"result":-1,"times":2})";
    for (const std::string& answer : {twice, lasting, bare})
        Do(R"({"tv":"answer",)" + answer.substr(1));
    Do(R"({"tv":"at","ms":9,"do":{"tv":"speed","factor":0.5}})");
    Do(R"({"tv":"at","ms":7,"do":{"tv":"restore"}})");
    Do(R"({"tv":"speed","factor":60})");
    Json::Value state = tv::StateJson();
    Do(R"({"tv":"speed","factor":0})");
    tv::TheSchedule().Clear();
    EXPECT_EQ(state["playingTime"], static_cast<Json::Int64>(tv::TheClock().Now().count()));
    state.removeMember("playingTime");
    EXPECT_EQ(
        Text(state),
        R"({"answers":[)" + bare + ',' + lasting + ',' + twice +
            R"(],"channel":{"major":2,"minor":null,"name":"A","serviceId":"7"},"media":"simulated","players":[{"duration":600000,)"
            R"("id":1,"live":false,"position":0,"rect":null,"state":"created","url":"film"}],)"
            R"("scheduled":[{"do":{"tv":"restore"},"ms":7},{"do":{"factor":0.5,"tv":"speed"},"ms":9}],)"
            R"("settings":{"b":true,"s":"v"},"speed":60,"subscriptions":{"events":[90001],"players":[101,1],)"
            R"("poweroff":1,"signals":[177]},"time":5,"watches":["s"]})");
    Do(R"({"tv":"restore"})");
    EXPECT_EQ(tv::StateJson()["answers"], J("[]"));
    page.Close();
    tv::LoadTv(tv::SampleTv());
}

TEST_F(Platform, LogLinesAreWhatPrintfWrites)
{
    test::Lines lines;
    test::Lines expected;
    const auto listening =
        tv::TheJournal().ListenToLog([&](const tv::LogRecord& log) { lines.emplace_back(log.text); });
    for (const int size : {0, 490, 495, 500, 505, 506, 507, 508, 600}) {
        const std::string text(static_cast<std::size_t>(size), 'x');
        for (const int number : {0, -7, std::numeric_limits<int>::min()}) {
            expected.push_back(text + '(' + std::to_string(number) + ") >");
            EXPECT_EQ(__dlog_print(0, 3, "tag", "%s(%d) >", text.c_str(), number),
                      static_cast<int>(expected.back().size()));
        }
    }
    __dlog_print(0, 3, "tag", "100%% of %s, %5.1f %03d %llu%c", "it", 2.25, 7, ~0ULL, '!');
    expected.emplace_back("100% of it,   2.2 007 18446744073709551615!");
    __dlog_print(0, 3, "tag", "no arguments");
    expected.emplace_back("no arguments");
    EXPECT_EQ(lines, expected);
}

TEST_F(Platform, UnsubscribingWaitsForARunningCallback)
{
    struct Subscriber {
        std::promise<void> entered;
        std::promise<void> leave;
        std::atomic<bool> running{true};
    } subscriber;
    const device_power_poweroff_cb callback = [](int, void* user_data) {
        auto* const self = static_cast<Subscriber*>(user_data);
        self->entered.set_value();
        self->leave.get_future().wait();
        self->running = false;
        return 1;
    };
    device_power_subscribe_poweroff(callback, &subscriber);
    auto notifying = std::async(std::launch::async, [] { return tv::PowerService::Get().Notify(1, false); });
    subscriber.entered.get_future().wait();
    auto unsubscribing = std::async(std::launch::async, [&] {
        device_power_unsubscribe_poweroff(callback);
        return subscriber.running.load();
    });
    // The subscription is gone at once, the call returns once the callback has.
    while (tv::PowerService::Get().CountRegistrations() != 0)
        std::this_thread::yield();
    subscriber.leave.set_value();
    EXPECT_FALSE(unsubscribing.get());
    EXPECT_EQ(notifying.get(), std::vector<int>{1});
    EXPECT_EQ(device_power_unsubscribe_poweroff(callback), -1);
}

TEST_F(Platform, ASecondSubscriptionReplacesTheUserData)
{
    const vconf_callback_fn callback = [](keynode_t*, void* count) { ++*static_cast<int*>(count); };
    int first = 0;
    int second = 0;
    for (int* const count : {&first, &second})
        EXPECT_EQ(vconf_notify_key_changed("k", callback, count), 0);
    vconf_notify_key_changed("other", callback, &first);  // another matter
    const auto tell = [] {
        for (const std::string key : {"k", "other"})
            Do(R"({"tv":"setting","key":")" + key + R"(","value":1})");
    };
    tell();
    for (const int result : {0, -1})
        EXPECT_EQ(vconf_ignore_key_changed("k", callback), result);
    tell();
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(tv::DropLeftovers(), 1U);
}

}  // namespace
