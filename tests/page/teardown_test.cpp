// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/json_var.h"
#include "tests/fresh_process.h"
#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::Lines;

/// How an instance comes to its end.
enum class End { Close, CloseAndOpen, Unload };

/// Subscribes to all that there is.
constexpr const char* kSubscribing[] = {R"({"command":"RegisterEvent","event":90001})",
                                        R"({"command":"RegisterEvent","event":90019})",
                                        R"({"command":"AddVconfCallbackWithKey","key":"teardown/watched"})",
                                        R"({"command":"Init","url":"film","timeOffset":0})"};

void Subscribe(test::Page& page)
{
    for (const char* request : kSubscribing)
        EXPECT_EQ(page.Await(request)["code"], 0) << request;
    page.TakeMessages(1);  // the player is there
    // Power-off, two events, the signal, the watch, and two players.
    EXPECT_EQ(tv::CountRegistrations(), 7U);
}

/// What every service of the TV can tell a subscribed page.
std::vector<std::function<void()>> Services()
{
    return {
        [] { tv::EventProxyService::Get().Notify(90019, false); },
        [] { tv::SignalService::Get().Notify(ESIGNAL_UNMUTE_BY_PINCODE, false); },
        [] { tv::PowerService::Get().Notify(0x40000000, false); },
        [] { tv::SettingsStore::Get().SetAndTell("teardown/watched", 1, false); },
        // Of the page's own player, and of the plug-in's fixed one.
        [] { tv::PlayerService::Get().Report(1, 137, 1000, 600000, false); },
        [] { tv::PlayerService::Get().Report(101, 137, 1000, 600000, false); },
    };
}

void Finish(std::unique_ptr<test::Page>& page, End end)
{
    if (end == End::Unload) {
        page.reset();
        return;
    }
    page->Close();
    EXPECT_EQ(tv::CountRegistrations(), 0U);
    if (end == End::CloseAndOpen) {
        page->Open();
        EXPECT_EQ(page->Await(R"({"command":"GetVersion"})")["data"], "1.00");
    }
}

/// Plays each way to the end, with a page that has subscribed to something and with one that has not.
void ForEachEnd(const std::function<void(std::unique_ptr<test::Page>&, End)>& play)
{
    const std::pair<const char*, End> ends[] = {
        {"close", End::Close}, {"close and open", End::CloseAndOpen}, {"unload", End::Unload}};
    for (const auto& [name, end] : ends) {
        for (const bool subscribed : {false, true}) {
            SCOPED_TRACE(std::string(name) + (subscribed ? ", subscribed" : ", nothing subscribed"));
            auto page = std::make_unique<test::Page>(test::Page::Deliveries::Free);
            if (subscribed)
                Subscribe(*page);
            play(page, end);
            page.reset();
            EXPECT_EQ(tv::CountRegistrations(), 0U);
        }
    }
}

TEST(Teardown, WithACommandInFlightAnswersEveryMessage)
{
    ForEachEnd([](std::unique_ptr<test::Page>& page, End end) {
        // The command subscribes once more while the purge has already run.
        page->Answer(R"("FCEMSProxy::GetInstanceForPlugin","delay":3600000,"times":1)");
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
        while (!tv::TheCalls().AnswersJson().empty())
            std::this_thread::yield();
        auto waiting = send("GetVersion");

        // The teardown is past its purge when it unsubscribes from power-off; then the command may go on.
        std::promise<void> purged;
        bool told = false;
        auto listening = tv::TheJournal().ListenToCalls([&](const tv::SharedCall& call) {
            if (std::string(call->name) == "device_power_unsubscribe_poweroff" && !told) {
                told = true;
                purged.set_value();
            }
        });
        auto release = std::async(std::launch::async, [&] {
            purged.get_future().wait();
            tv::TheCalls().RestoreAll();
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
    ForEachEnd([](std::unique_ptr<test::Page>& page, End end) {
        std::atomic<int> told{0};
        page->Observe([&](const Json::Value&) { ++told; });
        page->Await(R"({"command":"Play"})");
        std::vector<std::function<void()>> services = Services();
        services.push_back(services.back());  // two threads of one service
        // And what the host does meanwhile.
        tv::Clock& clock = tv::TheClock();
        services.emplace_back([&] { clock.Advance(tv::Clock::Time(700), [] { return true; }); });
        services.emplace_back([&] { clock.Cancel(clock.Set(clock.Now() + tv::Clock::Time(9000), [] {})); });
        services.emplace_back([&] { clock.SetDate(clock.Date()); });
        services.emplace_back([] { tv::StateJson(); });
        services.emplace_back([] { tv::LoadTv(tv::SampleTv()); });
        services.emplace_back([] { pp::Module::Get(); });
        services.emplace_back([] {
            const test::Calls calls;
            const test::Log log;
        });
        services.emplace_back([] {
            const tv::AnyCall& call = *tv::TheCalls().Find("vconf_get_int");
            tv::TheCalls().SetAnswer(call, {});
            tv::TheCalls().Restore(call);
        });
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (const std::function<void()>& service : services) {
            threads.emplace_back([&stop, service] {
                while (!stop)
                    service();
            });
        }
        while (told < 20) {
            for (const char* command : {"RegisterEvent", "UnRegisterEvent", "Init"})
                page->Await(std::string(R"({"event":90003,"url":"film","timeOffset":0,"command":")") +
                            command + "\"}");
        }
        Finish(page, end);
        if (end == End::Close) {
            // The services go on telling; the page that is gone hears nothing of it.
            const int at_the_end = told;
            for (int i = 0; i < 20; ++i)
                tv::PowerService::Get().Notify(0x40000000, false);
            EXPECT_EQ(told, at_the_end);
        }
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
    });
}

TEST(Teardown, InsideACallbackOfAnyService)
{
    for (const std::function<void()>& service : Services()) {
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

/// What teardown leaves subscribed, and what the plug-in still posts when everything is told after it was
/// unloaded: "1 left, 0 posted". The answer is that of one of the services for so many times.
std::string EndWith(const std::string& answer, int times, bool unregistered)
{
    std::atomic<int> posted{0};
    auto plugin = std::make_unique<host::Plugin>(test::PluginPath());
    auto instance =
        std::make_unique<tv::EmbeddedInstance>(plugin->module(), [&](const pp::Var&) { ++posted; });
    const auto ask = [&](const char* request) { instance->Await(tv::ToVar(test::J(request))); };
    for (const char* request : kSubscribing)
        ask(request);
    while (posted == 0)  // the player is there
        std::this_thread::yield();
    tv::CarryOut(test::J(R"({"tv":"answer","call":)" + answer + ",\"times\":" + std::to_string(times) + "}"));
    if (unregistered)
        ask(R"({"command":"UnRegisterEvent","event":90019})");
    instance.reset();
    plugin.reset();
    tv::TheCalls().RestoreAll();
    posted = 0;
    for (const std::function<void()>& tell : Services())
        tell();
    return std::to_string(tv::DropLeftovers()) + " left, " + std::to_string(posted) + " posted";
}

TEST(Teardown, OfServicesThatAreAwayOrRefuse)
{
    struct Step {
        const char* answer;
        int left_at_once;  ///< subscriptions that stay where the call is answered so a single time
        int left_for_good;
    };
    const Step steps[] = {
        {R"("FIIPCConnection::GetInstance","result":null)", 0, 2},
        {R"("FCEMSProxy::GetInstanceForPlugin","result":null)", 0, 2},
        {R"("FCEMSProxy::Unsubscribe","result":-1)", 1, 2},
        {R"("TVServiceAPI::CreateSignalSubscriber","result":0)", 0, 1},
        {R"("ISignalSubscriber::Unsubscribe","result":0)", 0, 1},
        {R"("vconf_ignore_key_changed","result":-1)", 1, 1},
        {R"("device_power_unsubscribe_poweroff","result":-1)", 1, 1},
        {R"("BmsUnSetCallback","result":-1)", 1, 2},
    };
    for (const auto& [answer, left_at_once, left_for_good] : steps) {
        // A plug-in that could not end everything stays in memory.
        test::InFreshProcess(answer, [answer = answer, left_at_once = left_at_once,
                                      left_for_good = left_for_good] {
            for (const bool unregistered : {false, true}) {
                for (const auto& [times, left] : {std::pair(1, left_at_once), {100, left_for_good}})
                    EXPECT_EQ(EndWith(answer, times, unregistered), std::to_string(left) + " left, 0 posted")
                        << times << unregistered;
            }
        });
    }
}

TEST(Teardown, OfAnInstanceWhoseSetUpFailed)
{
    struct Case {
        const char* answer;
        bool works;
        const char* log;
        std::size_t purges;  ///< that find no signal subscriber
    };
    for (const Case& c :
         {Case{R"("pp::Instance::RegisterMessageHandler","result":-2)", false,
               "2/6 zelumo-pepper CZeLumoPluginInstance: [PluginLogging]  RegisterMessageHandler Fail", 0},
          Case{R"("device_power_subscribe_poweroff","result":-1)", true,
               "2/6 zelumo-pepper CZeLumoPluginInstance: [main] Failed subscribing suspend event", 0},
          Case{R"("TVServiceAPI::CreateSignalSubscriber","result":0)", true,
               "0/6 zelumo-pepper Initialize: [CZeLumoPluginHandler::Initialize] no signal subscriber", 2}}) {
        SCOPED_TRACE(c.answer);
        test::Page page;
        page.Close();
        page.Answer(c.answer);
        test::Log log;
        page.Open();
        EXPECT_EQ(log.TakeHolding({"Fail", "no signal subscriber"}), Lines{c.log});
        EXPECT_EQ(page.Await(R"({"command":"GetVersion"})").isNull(), !c.works);
        page.Close();
        EXPECT_EQ(log.TakeHolding({"PurgeAllSubscribedSignal] no signal subscriber"}).size(), c.purges);
    }
}

TEST(Teardown, AndSetUpRunInTheirOrder)
{
    test::Page page;
    page.Close();
    test::Log log;
    page.Open();
    const std::string handler =
        "zelumo-pepper CZeLumoPluginHandler: [CZeLumoPluginHandler::CZeLumoPluginHandler] ";
    const std::string instance = "2/6 zelumo-pepper CZeLumoPluginInstance: [PluginLogging] ";
    EXPECT_EQ(log.Take(), (Lines{"0/3 " + handler + "start extension_system(instance_)",
                                 "0/3 " + handler + "end extension_system(instance_)",
                                 "0/3 zelumo-pepper Initialize: [CZeLumoPluginHandler::Initialize] called",
                                 "0/6 ZLP_BASE BMSAdaptor: BMSAdaptor::BMSAdaptor()",
                                 "0/6 ZLP_BASE Init: [BmsEventHandler::Init] is called",
                                 instance + "begin additional_thread_->Start()",
                                 instance + "begin RegisterMessageHandler",
                                 instance + " RegisterMessageHandler success"}));

    page.Await(R"({"command":"RegisterEvent","event":90001})");
    page.Await(R"({"command":"AddVconfCallbackWithKey","key":"teardown/watched"})");
    log.Take();
    // What the services still tell while the first purge runs is dropped.
    page.Answer(R"("FIIPCConnection::GetInstance","delay":3600000,"times":1)");
    auto telling = std::async(std::launch::async, [] {
        while (!tv::TheCalls().AnswersJson().empty())
            std::this_thread::yield();
        tv::SettingsStore::Get().SetAndTell("teardown/watched", 1, false);
        EXPECT_EQ(tv::EventProxyService::Get().Notify(90001, false), std::vector<int>{-1});
        tv::TheCalls().RestoreAll();
    });
    page.Close();
    telling.wait();
    const std::string event = "0/6 zelumo-pepper t_VordaOnEvent:  ";
    const std::string watched = "0/6 zelumo-pepper t_VconfChangedCallBack: ";
    const std::string events =
        "0/6 zelumo-pepper PurgeAllSubscribedSignal: [CZeLumoPluginHandler::PurgeAllSubscribedSignal]";
    const std::string keys = "0/6 zelumo-pepper PurgeAllVconfCB: [CZeLumoPluginHandler::PurgeAllVconfCB]";
    EXPECT_EQ(
        log.Take(),
        (Lines{
            events, watched + "[CZeLumoPluginHandler::t_VconfChangedCallBack] pluginVorda is destroyed",
            event + "CZeLumoPluginHandler::t_onEvent is called", event + "pluginVorda is destroyed", keys,
            "2/6 zelumo-pepper ~CZeLumoPluginInstance: ~CZeLumoPluginInstance",
            "0/3 zelumo-pepper ~CZeLumoPluginHandler: [CZeLumoPluginHandler::~CZeLumoPluginHandler] called",
            events, keys, "0/6 ZLP_BASE Destory: BMSAdaptor::Destory is called -id:[101]",
            "0/6 ZLP_BASE UnSetCallback: [BmsEventHandler::UnSetCallback] is called - playerId:[101]"}));
}

}  // namespace
