// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

TEST(Events, SubscribingStepByStep)
{
    test::Page page;
    test::Calls calls;
    test::Log log;
    // A request, the calls of the player and the event proxy, and the log behind that of every command.
    const auto expect = [&](const std::string& command, int event, int code, const Lines& made,
                            const Lines& logged) {
        const std::string number = std::to_string(event);
        SCOPED_TRACE(command + ' ' + number);
        EXPECT_EQ(page.Await(R"({"command":")" + command + R"(","event":)" + number + "}")["code"], code);
        EXPECT_EQ(calls.TakeHolding({"Proxy::Subscribe", "Proxy::Unsubscribe", "Bms"}), made);
        Lines lines{"2/6 zelumo-pepper HandleBlockingMessageImpl: " + command + " => " + number};
        lines.insert(lines.end(), logged.begin(), logged.end());
        const Lines all = log.Take();
        EXPECT_EQ(Lines(all.begin() + 4, all.end()), lines);
    };
    const std::string player = "BmsSetCallback [101] -> 0";
    const std::string registers = " zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] ";
    const auto registered = [&](const std::string& event) {
        const std::string relay = "0/6 ZLP_BASE ";
        return Lines{
            "0/3" + registers + "event  " + event,
            relay + "SetCallBack: BMSAdaptor::SetCallBack is called -id:[101]",
            relay + "SetCallback: [BmsEventHandler::SetCallback] is called - playerId:[101]",
            relay + "RegisterSendEvent: [BMSAdaptor::RegisterSendEvent] is called -id:[101]",
            relay + "RegisterSendEventCallback: [BmsEventHandler::RegisterSendEventCallback] is called",
            "0/3" + registers + "SetCallbackBMS PlayerID : 101"};
    };
    const std::string unregisters =
        "0/3 zelumo-pepper UnRegisterEvent:  CZeLumoPluginHandler::UnRegisterEvent is called event is 90001";
    expect("RegisterEvent", 90001, 0, {player, "FCEMSProxy::Subscribe [90001] -> 0"}, registered("90001"));
    expect("RegisterEvent", 90001, 28, {},
           {"0/3" + registers + "event  90001", "0/6" + registers + "already registered signal: 90001"});
    // Any number may be subscribed.
    expect("RegisterEvent", -5, 0, {player, "FCEMSProxy::Subscribe [-5] -> 0"}, registered("-5"));
    expect("UnRegisterEvent", 90001, 0, {"FCEMSProxy::Unsubscribe [90001] -> 0"}, {unregisters});
    // What was never subscribed still reaches the proxy.
    expect("UnRegisterEvent", 90001, 0, {"FCEMSProxy::Unsubscribe [90001] -> -1"}, {unregisters});
    // Without a proxy nothing is listed, and what is listed goes all the same.
    page.Answer(R"("FCEMSProxy::GetInstanceForPlugin","result":null,"times":1)");
    expect("RegisterEvent", 90001, 28, {},
           {"0/3" + registers + "event  90001", "0/6" + registers + "no event proxy"});
    expect("RegisterEvent", 90001, 0, {player, "FCEMSProxy::Subscribe [90001] -> 0"}, registered("90001"));
    page.Answer(R"("FIIPCConnection::GetInstance","result":null,"times":1)");
    expect("UnRegisterEvent", 90001, 0, {}, {unregisters});
    expect("RegisterEvent", 90001, 0, {player, "FCEMSProxy::Subscribe [90001] -> 0"}, registered("90001"));
    page.Close();
    // In the order of subscribing, and once.
    EXPECT_EQ(calls.TakeHolding({"Proxy::Unsubscribe"}),
              (Lines{"FCEMSProxy::Unsubscribe [-5] -> 0", "FCEMSProxy::Unsubscribe [90001] -> 0"}));
}

TEST(Events, AreLogged)
{
    const std::string tag = "zelumo-pepper ";
    const std::string called = "0/6 " + tag + "t_VordaOnEvent:  CZeLumoPluginHandler::t_onEvent is called";
    const std::string sent = "0/6 " + tag + "SendPloomiaEvent:  ";
    const std::string off = "2/6 " + tag + "t_OnPowerOff: [zelumo-pepper] ";
    const std::string off_called = off + "OnPowerOff is called !!";
    const std::pair<const char*, Lines> cases[] = {
        // clang-format off
        {R"({"tv":"event","event":90001})", {called, sent + "PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE is sent"}},
        {R"({"tv":"event","event":90001,"user":null})", {called}},
        {R"({"tv":"signal","signal":177})", {"0/3 " + tag + "t_SendData: [CZeLumoPluginHandler::t_SendData] signal : 177"}},
        {R"({"tv":"signal","signal":177,"user":null})", {}},
        {R"({"tv":"poweroff","type":-1})", {off_called, sent + "ITVS_Signal_Instant_Off is sent"}},
        {R"({"tv":"poweroff","type":1})", {off_called, off + "It is NOT POWER_OFF_TO_SUSPEND!!"}},
        {R"({"tv":"poweroff","type":1073741824,"user":null})", {off_called, off + "pInstance is NULL!!"}},
        {R"({"tv":"event","event":90005})", {called, sent + " is sent"}},
        // clang-format on
    };
    test::Page page;
    for (const char* event : {"90001", "90005"})
        page.Await(R"({"command":"RegisterEvent","event":)" + std::string(event) + "}");
    test::Log log;
    for (const auto& [verb, lines] : cases) {
        SCOPED_TRACE(verb);
        page.Do(verb);
        EXPECT_EQ(log.Take(), lines);
    }
    // One that has no name is told as well.
    EXPECT_EQ(page.TakeTexts().back(),
              R"({"code":0,"command":"","data":{"event":90005},"errorMessage":"","errorName":""})");
}

TEST(Events, AChannelLoadCarriesWhatCanBeHad)
{
    const std::string service = R"("IServiceNavigation::GetCurrentService")";
    const std::string program = R"("FIVirtualChannelsAPI::GetPresentProgram")";
    const std::string text = program + R"(,"out":["text"])";
    const std::string none = "18446744073709551615";
    struct Case {
        std::string channel;  ///< answers
        std::string program;
        bool has_channel;
        std::string asked;  ///< for the programme of which service; empty: not at all
        const char* told;
    };
    for (const Case& c : {
             Case{service + R"(,"out":[{"13":4}])", text, true, none, "text"},
             Case{service + R"(,"result":0)", text, false, none, "text"},
             Case{service + R"(,"out":[{"12":"1014"}])", program + R"(,"result":false,"out":["partial"])",
                  true, "1014", "partial"},
             Case{service, R"("FCAPI::GetVirtualChannelsAPI","result":null)", true, "", ""},
         }) {
        SCOPED_TRACE(c.channel + c.program);
        test::Page page;
        page.Await(R"({"command":"RegisterEvent","event":90019})");
        page.Answer(c.channel);
        page.Answer(c.program);
        test::Calls calls;
        page.Do(R"({"tv":"event","event":90019})");
        const std::vector<Json::Value> messages = page.TakeMessages();
        ASSERT_EQ(messages.size(), 1U);
        const Json::Value& data = messages[0]["data"];
        EXPECT_EQ(data["event"], 90019);
        EXPECT_EQ(!data["ch_info"].asString().empty(), c.has_channel);
        EXPECT_EQ(data["program_info"], c.told);
        Lines requests = calls.TakeHolding({"::GetPresentProgram"});
        for (std::string& request : requests)
            request.erase(request.find(" -> "));
        const std::string id = R"( ["{\n   \"TCServiceId\" : \")" + c.asked + R"(\"\n}\n"])";
        EXPECT_EQ(requests,
                  c.asked.empty() ? Lines() : Lines{"FIVirtualChannelsAPI::GetPresentProgram" + id});
    }
}

TEST(Settings, CommandsReachTheStore)
{
    struct Step {
        const char* request = nullptr;
        const char* data = nullptr;  ///< of the reply; null: it failed
        const char* call = nullptr;
        const char* answer = nullptr;  ///< of the call, if not the store's
    };
    const Step steps[] = {
        // clang-format off
        {R"({"command":"SetStringToVconfWithKey","input":"v\u00e9","key":"t/s"})", "true", "vconf_set_str [\"t/s\",\"v\u00e9\"] -> 0"},
        {R"({"command":"GetStringFromVconfWithKey","key":"t/s"})", "\"v\u00e9\"", "vconf_get_str [\"t/s\"] -> \"v\u00e9\""},
        {R"({"command":"SetBooleanToVconfWithKey","input":7,"key":"t/b"})", "true", R"(vconf_set_bool ["t/b",7] -> 0)"},
        {R"({"command":"GetStringFromVconfWithKey","key":"t/none"})", nullptr, R"(vconf_get_str ["t/none"] -> null)"},
        // Nothing but 0 is a success, and it may come without a value.
        {R"({"command":"SetStringToVconfWithKey","input":"v","key":"k"})", nullptr, R"(vconf_set_str ["k","v"] -> 1)", R"("result":1)"},
        {R"({"command":"SetIntegerToVconfWithKey","input":1,"key":"k"})", nullptr, R"(vconf_set_int ["k",1] -> 1)", R"("result":1)"},
        {R"({"command":"SetBooleanToVconfWithKey","input":1,"key":"k"})", nullptr, R"(vconf_set_bool ["k",1] -> 1)", R"("result":1)"},
        {R"({"command":"GetIntegerFromVconfWithKey","key":"k"})", nullptr, R"(vconf_get_int ["k"] -> 1 out [null])", R"("result":1)"},
        {R"({"command":"GetBooleanFromVconfWithKey","key":"k"})", nullptr, R"(vconf_get_bool ["k"] -> 1 out [null])", R"("result":1)"},
        {R"({"command":"GetIntegerFromVconfWithKey","key":"k"})", "0", R"(vconf_get_int ["k"] -> 0 out [null])", R"("result":0)"},
        {R"({"command":"GetBooleanFromVconfWithKey","key":"k"})", "0", R"(vconf_get_bool ["k"] -> 0 out [null])", R"("result":0)"},
        // clang-format on
    };
    test::Page page;
    test::Calls calls;
    test::Log log;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.request);
        const std::string call = step.call;
        const std::string name = call.substr(0, call.find(' '));
        if (step.answer != nullptr)
            page.Answer('"' + name + "\"," + step.answer + R"(,"times":1)");
        const Json::Value reply = page.Await(step.request);
        EXPECT_EQ(reply["code"], step.data == nullptr ? 9999 : 0);
        EXPECT_EQ(Text(reply["data"]), step.data == nullptr ? "null" : step.data);
        EXPECT_EQ(calls.Take(), Lines{call});
        const std::string logged = log.Take().back();
        if (step.data == nullptr) {
            const std::string command = J(step.request)["command"].asString();
            EXPECT_EQ(logged, "0/6 zelumo-pepper " + command + ": [CZeLumoPluginHandler::" + command + "] " +
                                  name + " is failed");
        } else if (name == "vconf_get_str") {
            EXPECT_EQ(logged,
                      "2/6 zelumo-pepper HandleBlockingMessageImpl: [Vorda HandleBlockingMessage] "
                      "key is t/s");
        }
    }
}

TEST(Settings, AreWatchedUnlessTheStoreRefuses)
{
    test::Page page;
    test::Calls calls;
    test::Log log;
    const auto watch = [&page](const std::string& key) {
        return page.Await(R"({"command":"AddVconfCallbackWithKey","key":")" + key + "\"}")["code"].asInt();
    };
    EXPECT_EQ(watch("w/k"), 0);
    // Only a negative result is a failure.
    page.Answer(R"("vconf_notify_key_changed","result":5,"times":1)");
    EXPECT_EQ(watch("w/positive"), 0);
    const std::string tag =
        "0/6 zelumo-pepper AddVconfCallbackWithKey: [CZeLumoPluginHandler::AddVconfCallbackWithKey] ";
    page.Answer(R"("vconf_notify_key_changed","result":-1,"times":1)");
    EXPECT_EQ(watch("w/refused"), 9999);
    EXPECT_EQ(log.Take().back(), tag + "failed to vconf_notify_key_changed() with key:w/refused");
    EXPECT_EQ(watch(""), 9999);
    EXPECT_EQ(calls.Take().size(), 4U);
    // The store is not asked a second time.
    EXPECT_EQ(watch("w/k"), 9999);
    EXPECT_EQ(log.Take().back(), tag + "already registered vconf key cb: w/k");
    EXPECT_EQ(calls.Take(), Lines());

    page.Do(R"({"tv":"setting","key":"w/k","value":true})");
    EXPECT_EQ(log.Take().back(),
              "0/3 zelumo-pepper t_VconfChangedCallBack:  Key Change callback received for key : w/k");
    // A value written anew is told even when it is the one before.
    page.Await(R"({"command":"SetBooleanToVconfWithKey","input":1,"key":"w/k"})");
    EXPECT_EQ(page.TakeMessages().size(), 2U);
    page.Close();
    EXPECT_EQ(calls.TakeHolding({"vconf_ignore"}),
              (Lines{R"(vconf_ignore_key_changed ["w/k"] -> 0)",
                     R"(vconf_ignore_key_changed ["w/positive"] -> -1)"}));
}

}  // namespace
