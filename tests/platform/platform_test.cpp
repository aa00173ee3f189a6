#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "power/device_power.h"
#include "settings/vconf.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"

namespace {

using test::J;

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

TEST_F(Platform, AnswersQueueReplaceAndRunOut)
{
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-5,"times":2})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-6,"times":1})");
    EXPECT_EQ(vconf_set_int("k", 1), -5);
    EXPECT_EQ(vconf_set_int("k", 1), -5);
    EXPECT_EQ(vconf_set_int("k", 1), -6);
    EXPECT_EQ(vconf_set_int("k", 1), 0);

    Do(R"({"tv":"answer","call":"vconf_set_int","result":-5,"times":2})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-7})");
    EXPECT_EQ(vconf_set_int("k", 1), -7);
    EXPECT_EQ(vconf_set_int("k", 1), -7);
    Do(R"({"tv":"restore","call":"vconf_set_int"})");
    EXPECT_EQ(vconf_set_int("k", 1), 0);
}

TEST_F(Platform, AnswersMayHoldForSomeArguments)
{
    const auto write = [](const char* key, int value) { return vconf_set_int(key, value); };
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-1})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-2,"args":["a"]})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-3,"args":[null,5]})");
    Do(R"({"tv":"answer","call":"vconf_set_int","result":-4,"args":["b",7],"times":1})");
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

TEST_F(Platform, AnswersWriteOutArgumentsOrLeaveThem)
{
    vconf_set_int("k", 3);
    test::Calls calls;
    struct Case {
        const char* answer;
        int result;
        int value;
        const char* out;
    };
    for (const Case& c : {
             Case{R"({"tv":"answer","call":"vconf_get_int","out":[9]})", 0, 9, "9"},
             Case{R"({"tv":"answer","call":"vconf_get_int","result":-1,"out":[9]})", -1, 9, "9"},
             Case{R"({"tv":"answer","call":"vconf_get_int","out":[null]})", 0, 77, "null"},
             Case{R"({"tv":"answer","call":"vconf_get_int"})", 0, 77, "null"},
             Case{R"({"tv":"restore"})", 0, 3, "3"},
         }) {
        SCOPED_TRACE(c.answer);
        Do(c.answer);
        int value = 77;
        EXPECT_EQ(vconf_get_int("k", &value), c.result);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(calls.Take(), std::vector<std::string>{"vconf_get_int [\"k\"] -> " +
                                                         std::to_string(c.result) + " out [" + c.out + "]"});
    }
}

TEST_F(Platform, MistakenVerbsDoNothingAndSayWhy)
{
    // A verb, and what is said behind its name.
    for (const auto& [verb, expected] : std::vector<std::pair<const char*, const char*>>{
             {R"({"tv":5})", R"("tv" must name a verb)"},
             {R"({"tv":"dance"})", R"(there is no verb "dance")"},
             {R"({"tv":"poweroff"})", R"("type" is missing)"},
             {R"({"tv":"poweroff","type":2147483648})", R"("type" must be a whole number of 32 bits)"},
             {R"({"tv":"poweroff","type":1,"user":0})", R"("user" can only be null)"},
             {R"({"tv":"poweroff","type":1,"extra":0})", R"("extra" is not known)"},
             {R"({"tv":"event","event":"90001"})", R"("event" must be a whole number of 32 bits)"},
             {R"({"tv":"signal"})", R"("signal" is missing)"},
             {R"({"tv":"setting","key":"k"})",
              R"("value" must be a string, a whole number of 32 bits, or true or false)"},
             {R"({"tv":"setting","key":"","value":1})", R"("key" must not be empty)"},
             {R"({"tv":"answer","call":"BmsDance"})", R"(there is no platform call "BmsDance")"},
             {R"({"tv":"answer","call":"BmsPlay","result":"0"})",
              R"("result" of BmsPlay must be a whole number of 32 bits)"},
             {R"({"tv":"answer","call":"BmsPlay","out":[1]})",
              R"(BmsPlay has 0 out arguments, "out" gives 1)"},
             {R"({"tv":"answer","call":"BmsGetPlayTime","out":["1"]})",
              R"("out"[0] of BmsGetPlayTime must be null or a whole number of 32 bits)"},
             {R"({"tv":"answer","call":"BmsGetPlayTime","out":{}})", R"("out" must be an array)"},
             {R"({"tv":"answer","call":"FCAPI::GetZELumoAPI","result":false})",
              R"("result" of FCAPI::GetZELumoAPI must be true or null)"},
             {R"({"tv":"answer","call":"BmsPlay","args":1})", R"("args" must be an array)"},
             {R"({"tv":"answer","call":"BmsPlay","args":[1,2]})",
              R"(BmsPlay has 1 arguments, "args" gives 2)"},
             {R"({"tv":"answer","call":"BmsPlay","times":0})", R"("times" must be 1 or more)"},
             {R"({"tv":"answer","call":"BmsPlay","delay":-1})", R"("delay" must be 0 or more)"},
             {R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","out":[{"12":12}]})",
              R"("out"[0] of IServiceNavigation::GetCurrentService must be null or an object from )"
              "field identifier to value"},
             {R"({"tv":"report","type":33})", R"("player" is missing)"},
             {R"({"tv":"report","player":1,"type":33,"value1":"x"})",
              R"("value1" must be a whole number of 32 bits)"},
             {R"({"tv":"advance","ms":-1})", R"("ms" must be 0 or more)"},
             {R"({"tv":"advance","ms":1.5})", R"("ms" must be a whole number of 32 bits)"},
             {R"({"tv":"advance"})", R"("ms" is missing)"},
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
}

struct Subscriber {
    std::atomic<bool> running{false};
    std::promise<void> entered;
    std::shared_future<void> leave;
};

int HeldCallback(int, void* datum)
{
    auto* subscriber = static_cast<Subscriber*>(datum);
    subscriber->running = true;
    subscriber->entered.set_value();
    subscriber->leave.wait();
    subscriber->running = false;
    return 1;
}

TEST_F(Platform, UnsubscribingWaitsForARunningCallback)
{
    Subscriber subscriber;
    std::promise<void> leave;
    subscriber.leave = leave.get_future().share();
    device_power_subscribe_poweroff(HeldCallback, &subscriber);
    auto notifying = std::async(std::launch::async, [] { return tv::PowerService::Get().Notify(1, false); });
    subscriber.entered.get_future().wait();
    auto unsubscribing = std::async(std::launch::async, [&] {
        device_power_unsubscribe_poweroff(HeldCallback);
        return subscriber.running.load();
    });
    // The subscription is gone at once, the call returns once the callback has.
    while (tv::PowerService::Get().CountRegistrations() != 0)
        std::this_thread::yield();
    EXPECT_TRUE(subscriber.running);
    leave.set_value();
    EXPECT_FALSE(unsubscribing.get());
    EXPECT_EQ(notifying.get(), std::vector<int>{1});
    EXPECT_LT(device_power_unsubscribe_poweroff(HeldCallback), 0);
}

TEST_F(Platform, HeldDeliveriesKeepTheOrderInWhichTheyCameUp)
{
    tv::Deliveries deliveries;
    tv::DeliveryThread first("first");
    tv::DeliveryThread second("second");
    std::string order;
    deliveries.Hold();
    deliveries.Post(first, [&] { order += 'a'; });
    deliveries.Post(second, [&] {
        order += 'b';
        deliveries.Post(first, [&] { order += 'e'; });
    });
    deliveries.Post(first, [&] { order += 'c'; });
    deliveries.Post(second, [&] { order += 'd'; });
    EXPECT_EQ(order, "");
    EXPECT_EQ(deliveries.Release(), 5U);
    EXPECT_EQ(order, "abcde");
    deliveries.Post(first, [&] { order += 'f'; });
    deliveries.Resume();
    first.Drain();
    EXPECT_EQ(order, "abcdef");
}

TEST_F(Platform, TheClockGoesOffInOrder)
{
    using std::chrono::milliseconds;
    tv::Clock clock;
    std::string order;
    const auto note = [&](char name) {
        return [&order, &clock, name] { order += name + std::to_string(clock.Now().count()) + ' '; };
    };
    clock.Set(milliseconds(30), note('c'));
    clock.Set(milliseconds(10), note('a'));
    const tv::Clock::AlarmId cancelled = clock.Set(milliseconds(20), note('x'));
    clock.Set(milliseconds(10), [&] {
        order += "b ";
        clock.Set(milliseconds(15), note('n'));
        clock.Set(milliseconds(5), note('p'));  // has passed: goes off next
    });
    clock.Cancel(cancelled);
    clock.SetDate(milliseconds(1000));
    clock.Advance(milliseconds(29), [&] { order += "| "; });
    EXPECT_EQ(order, "a10 | b | p10 | n15 | ");
    EXPECT_EQ(clock.Date(), milliseconds(1029));
    clock.Advance(milliseconds(1), [] {});
    EXPECT_EQ(order, "a10 | b | p10 | n15 | c30 ");
}

}  // namespace
