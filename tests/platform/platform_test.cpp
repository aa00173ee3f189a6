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
    EXPECT_FALSE(tv::Calls::Watched());
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
