#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ppapi/cpp/var_dictionary.h"
#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

/// How an instance comes to its end.
enum class End { Close, CloseAndOpen, Unload };
constexpr End kEnds[] = {End::Close, End::CloseAndOpen, End::Unload};
const char* const kEndNames[] = {"close", "close and open", "unload"};

void Subscribe(test::Page& page)
{
    for (const char* request :
         {R"({"command":"RegisterEvent","event":90001})", R"({"command":"RegisterEvent","event":90019})",
          R"({"command":"AddVconfCallbackWithKey","key":"teardown/watched"})"})
        EXPECT_EQ(page.Await(request)["code"], 0) << request;
    EXPECT_EQ(page.Await(R"({"command":"Init","url":"film","timeOffset":0})")["code"], 0);
    page.TakeMessages(1);  // the player is there
}

/// The players whose reports reach a subscribed page: its own, and the plug-in's fixed one.
constexpr int kPlayers[] = {1, 101};

void ReportPositions()
{
    for (const int player : kPlayers)
        tv::Tv::Get().player().Report(player, 137, 1000, 600000, false);
}

void Finish(std::unique_ptr<test::Page>& page, End end)
{
    if (end == End::Unload) {
        page.reset();
        return;
    }
    page->Close();
    EXPECT_EQ(tv::Tv::Get().CountRegistrations(), 0U);
    if (end == End::CloseAndOpen) {
        page->Open();
        EXPECT_EQ(page->Await(R"({"command":"GetVersion"})")["data"], "1.00");
    }
}

/// Threads on which the TV's services keep on telling things, until the object is destroyed.
class Storm {
  public:
    explicit Storm(const std::vector<std::function<void()>>& services)
    {
        for (const std::function<void()>& service : services) {
            threads_.emplace_back([this, service] {
                while (!stop_)
                    service();
            });
        }
    }
    ~Storm()
    {
        stop_ = true;
        for (std::thread& thread : threads_)
            thread.join();
    }

  private:
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

void ForEachCell(const std::function<void(std::unique_ptr<test::Page>&, End, bool)>& play)
{
    for (std::size_t end = 0; end < std::size(kEnds); ++end) {
        for (const bool subscribed : {false, true}) {
            SCOPED_TRACE(std::string(kEndNames[end]) +
                         (subscribed ? ", subscribed" : ", nothing subscribed"));
            auto page = std::make_unique<test::Page>(test::Page::Deliveries::Free);
            if (subscribed)
                Subscribe(*page);
            play(page, kEnds[end], subscribed);
            page.reset();
            EXPECT_EQ(tv::Tv::Get().CountRegistrations(), 0U);
        }
    }
}

TEST(Teardown, OfAnIdleInstanceLeavesNothing)
{
    ForEachCell([](std::unique_ptr<test::Page>& page, End end, bool) { Finish(page, end); });
}

TEST(Teardown, WithACommandInFlightAnswersEveryMessage)
{
    ForEachCell([](std::unique_ptr<test::Page>& page, End end, bool) {
        // The command subscribes once more while the purge has already run.
        page->Do(R"({"tv":"answer","call":"FCEMSProxy::GetInstanceForPlugin","delay":3600000,"times":1})");
        auto sender = page->GetSender();
        const auto send = [&sender](const char* request) {
            return std::async(std::launch::async, [&sender, request] {
                pp::VarDictionary message;
                message.Set("command", request);
                message.Set("event", 90007);
                return sender.Await(message);
            });
        };
        auto in_flight = send("RegisterEvent");
        while (!tv::Tv::Get().calls().AnswersJson().empty())
            std::this_thread::yield();
        auto waiting = send("GetVersion");

        // The teardown is past its purge when it unsubscribes from power-off; then the command may go on.
        std::promise<void> purged;
        bool told = false;
        auto listening = tv::Tv::Get().journal().ListenToCalls([&](const tv::CallRecord& call) {
            if (std::string(call.name) == "device_power_unsubscribe_poweroff" && !told) {
                told = true;
                purged.set_value();
            }
        });
        auto release = std::async(std::launch::async, [&] {
            purged.get_future().wait();
            tv::Tv::Get().calls().RestoreAll();
        });
        Finish(page, end);
        release.wait();
        EXPECT_TRUE(in_flight.get().is_dictionary());
        const pp::Var late = waiting.get();
        EXPECT_TRUE(late.is_undefined() || late.is_dictionary());
    });
}

TEST(Teardown, WhileEveryServiceTellsThings)
{
    ForEachCell([](std::unique_ptr<test::Page>& page, End end, bool) {
        std::atomic<int> told{0};
        page->Observe([&](const Json::Value&) { ++told; });
        tv::Tv& tv = tv::Tv::Get();
        const Storm storm({
            [&] { tv.event_proxy().Notify(90001, false); },
            [&] { tv.event_proxy().Notify(90019, false); },
            [&] { tv.signals().Notify(ESIGNAL_UNMUTE_BY_PINCODE, false); },
            [&] { tv.power().Notify(0x40000000, false); },
            [&] { tv.settings().SetAndTell("teardown/watched", 1, false); },
            ReportPositions,
        });
        while (told < 20)
            std::this_thread::yield();
        Finish(page, end);
        if (end == End::Close) {
            // The services go on telling; the page that is gone hears nothing of it.
            const int at_the_end = told;
            for (int i = 0; i < 20; ++i)
                tv.power().Notify(0x40000000, false);
            EXPECT_EQ(told, at_the_end);
        }
    });
}

TEST(Teardown, WhileAWatchFires)
{
    ForEachCell([](std::unique_ptr<test::Page>& page, End end, bool subscribed) {
        std::atomic<int> told{0};
        page->Observe([&](const Json::Value&) { ++told; });
        const Storm storm({[] { tv::Tv::Get().settings().SetAndTell("teardown/watched", 1, false); }});
        while (subscribed && told < 20)
            std::this_thread::yield();
        Finish(page, end);
    });
}

TEST(Teardown, WhileAPlayerReports)
{
    ForEachCell([](std::unique_ptr<test::Page>& page, End end, bool subscribed) {
        std::atomic<int> told{0};
        page->Observe([&](const Json::Value&) { ++told; });
        page->Await(R"({"command":"Play"})");
        const Storm storm({ReportPositions, ReportPositions,
                           [] { tv::Tv::Get().clock().Advance(tv::Clock::Time(700), [] {}); }});
        while (subscribed && told < 20)
            std::this_thread::yield();
        Finish(page, end);
    });
}

TEST(Teardown, InsideACallbackOfAnyService)
{
    tv::Tv& tv = tv::Tv::Get();
    const std::vector<std::function<void()>> services{
        [&] { tv.event_proxy().Notify(90019, false); },
        [&] { tv.signals().Notify(ESIGNAL_UNMUTE_BY_PINCODE, false); },
        [&] { tv.power().Notify(0x40000000, false); },
        [&] { tv.settings().SetAndTell("teardown/watched", 1, false); },
        [&] { tv.player().Report(kPlayers[0], 137, 1000, 600000, false); },
        [&] { tv.player().Report(kPlayers[1], 137, 1000, 600000, false); },
    };
    for (const std::function<void()>& service : services) {
        // The library can't be unloaded under its own feet, so the unloading comes after the callback.
        for (const End end : {End::Close, End::CloseAndOpen}) {
            auto page = std::make_unique<test::Page>(test::Page::Deliveries::Free);
            Subscribe(*page);
            int messages = 0;
            page->Observe([&](const Json::Value&) {
                if (++messages == 1)
                    Finish(page, end);
            });
            service();
            EXPECT_EQ(messages, 1);
        }
    }
}

TEST(Teardown, LoadingAgainAndAgainLeavesNothing)
{
    for (int i = 0; i < 20; ++i) {
        const test::Page page;
        EXPECT_EQ(tv::CountInstances(), 1);
        EXPECT_EQ(tv::Tv::Get().trace_libraries().Count(), 1U);
    }
    EXPECT_EQ(tv::CountInstances(), 0);
    EXPECT_EQ(tv::Tv::Get().trace_libraries().Count(), 0U);
}

TEST(Teardown, OfAnInstanceWhoseSetUpFailed)
{
    for (const char* answer : {R"({"tv":"answer","call":"pp::Instance::RegisterMessageHandler","result":-2})",
                               R"({"tv":"answer","call":"device_power_subscribe_poweroff","result":-1})"}) {
        SCOPED_TRACE(answer);
        test::Page page;
        page.Close();
        page.Do(answer);
        test::Log log;
        page.Open();
        const bool no_handler = std::string(answer).find("Handler") != std::string::npos;
        const std::vector<std::string> lines = log.Take();
        const std::string expected =
            no_handler
                ? "2/6 zelumo-pepper CZeLumoPluginInstance: [PluginLogging]  RegisterMessageHandler Fail"
                : "2/6 zelumo-pepper CZeLumoPluginInstance: [main] Failed subscribing suspend event";
        EXPECT_EQ(lines.back(), expected);
        EXPECT_EQ(page.Await(R"({"command":"GetVersion"})").isNull(), no_handler);
    }
}

TEST(Teardown, RunsInItsOrder)
{
    test::Page page;
    page.Await(R"({"command":"RegisterEvent","event":90001})");
    page.Await(R"({"command":"AddVconfCallbackWithKey","key":"teardown/watched"})");
    test::Log log;
    test::Calls calls;
    page.Close();
    std::vector<std::string> lines;
    for (const std::string& line : log.Take()) {
        if (line.find("zelumo-pepper") != std::string::npos)
            lines.push_back(line);
    }
    EXPECT_EQ(
        lines,
        (std::vector<std::string>{
            "0/6 zelumo-pepper PurgeAllSubscribedSignal: [CZeLumoPluginHandler::PurgeAllSubscribedSignal]",
            "0/6 zelumo-pepper PurgeAllVconfCB: [CZeLumoPluginHandler::PurgeAllVconfCB]",
            "2/6 zelumo-pepper ~CZeLumoPluginInstance: ~CZeLumoPluginInstance",
            "0/3 zelumo-pepper ~CZeLumoPluginHandler: [CZeLumoPluginHandler::~CZeLumoPluginHandler] called",
            "0/6 zelumo-pepper PurgeAllSubscribedSignal: [CZeLumoPluginHandler::PurgeAllSubscribedSignal]",
            "0/6 zelumo-pepper PurgeAllVconfCB: [CZeLumoPluginHandler::PurgeAllVconfCB]"}));
    std::vector<std::string> made;
    for (const std::string& line : calls.Take())
        made.push_back(line.substr(0, line.find(' ')));
    const std::vector<std::string> expected{
        "FIIPCConnection::GetInstance",      "FCEMSProxy::GetInstanceForPlugin",
        "FCEMSProxy::Unsubscribe",           "TVServiceAPI::CreateSignalSubscriber",
        "ISignalSubscriber::Unsubscribe",    "vconf_ignore_key_changed",
        "device_power_unsubscribe_poweroff", "FIIPCConnection::GetInstance",
        "FCEMSProxy::GetInstanceForPlugin",  "TVServiceAPI::CreateSignalSubscriber",
        "ISignalSubscriber::Unsubscribe"};
    made.resize(expected.size());  // the player's withdrawal follows
    EXPECT_EQ(made, expected);
}

}  // namespace
