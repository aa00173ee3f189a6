#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Text;
using Lines = std::vector<std::string>;

std::string Posted(const std::string& name, const std::string& data)
{
    return R"({"code":0,"command":)" + Text(Json::Value(name)) + R"(,"data":)" + data +
           R"(,"errorMessage":"","errorName":""})";
}

TEST(Events, SubscribingStepByStep)
{
    const Lines proxy{"FIIPCConnection::GetInstance [] -> true",
                      "FCEMSProxy::GetInstanceForPlugin [] -> true"};
    struct Step {
        const char* request;
        const char* reply;
        std::vector<const char*> calls;  // of the event proxy's subscriptions
        Lines log;
    };
    const char* const ok = R"({"code":0,"data":null})";
    const char* const refused =
        R"({"code":28,"data":null,"errorMessage":"RegisterEvent failed","errorName":"ServiceNotAvailableError"})";
    const std::vector<Step> steps{
        {R"({"command":"RegisterEvent","event":90001})",
         ok,
         {"FCEMSProxy::Subscribe [90001] -> 0"},
         {"2/6 zelumo-pepper HandleBlockingMessageImpl: RegisterEvent => 90001",
          "0/3 zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] event  90001",
          "0/3 zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] SetCallbackBMS PlayerID : "
          "101"}},
        {R"({"command":"RegisterEvent","event":90001})",
         refused,
         {},
         {"2/6 zelumo-pepper HandleBlockingMessageImpl: RegisterEvent => 90001",
          "0/3 zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] event  90001",
          "0/6 zelumo-pepper RegisterEvent: [CZeLumoPluginHandler::RegisterEvent] already registered signal: "
          "90001"}},
        // Any number may be subscribed.
        {R"({"command":"RegisterEvent","event":-5})", ok, {"FCEMSProxy::Subscribe [-5] -> 0"}, {}},
        {R"({"command":"UnRegisterEvent","event":90001})",
         ok,
         {"FCEMSProxy::Unsubscribe [90001] -> 0"},
         {"2/6 zelumo-pepper HandleBlockingMessageImpl: UnRegisterEvent => 90001",
          "0/3 zelumo-pepper UnRegisterEvent:  CZeLumoPluginHandler::UnRegisterEvent is called event is "
          "90001"}},
        // What was never subscribed still reaches the proxy.
        {R"({"command":"UnRegisterEvent","event":90001})", ok, {"FCEMSProxy::Unsubscribe [90001] -> -1"}, {}},
        {R"({"command":"RegisterEvent","event":90001})", ok, {"FCEMSProxy::Subscribe [90001] -> 0"}, {}},
    };
    test::Page page;
    test::Calls calls;
    test::Log log;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.request);
        EXPECT_EQ(Text(page.Await(step.request)), step.reply);
        Lines subscriptions;
        for (const std::string& line : calls.Take()) {
            if (line.find("FCEMSProxy::Subscribe") == 0 || line.find("FCEMSProxy::Unsubscribe") == 0)
                subscriptions.push_back(line);
        }
        EXPECT_EQ(subscriptions, Lines(step.calls.begin(), step.calls.end()));
        Lines own;
        for (const std::string& line : log.Take()) {
            if (line.find("zelumo-pepper") != std::string::npos && line.find("====>") == std::string::npos)
                own.push_back(line);
        }
        if (!step.log.empty()) {
            EXPECT_EQ(own, step.log);
        }
    }
    page.Close();
    Lines unsubscribed;
    for (const std::string& line : calls.Take()) {
        if (line.find("FCEMSProxy::Uns") == 0)
            unsubscribed.push_back(line);
    }
    // In the order of subscribing, and once.
    EXPECT_EQ(unsubscribed,
              (Lines{"FCEMSProxy::Unsubscribe [-5] -> 0", "FCEMSProxy::Unsubscribe [90001] -> 0"}));
}

TEST(Events, WithoutAnEventProxyNothingChanges)
{
    test::Page page;
    page.Do(R"({"tv":"answer","call":"FCEMSProxy::GetInstanceForPlugin","result":null})");
    test::Calls calls;
    EXPECT_EQ(page.Await(R"({"command":"RegisterEvent","event":90001})")["code"], 28);
    for (const std::string& line : calls.Take())
        EXPECT_EQ(line.find("Bms"), std::string::npos) << line;
    EXPECT_EQ(page.Await(R"({"command":"UnRegisterEvent","event":90001})")["code"], 0);
    page.Do(R"({"tv":"restore"})");

    // The refused event was not listed, and unregistering drops the list entry even without a proxy.
    EXPECT_EQ(page.Await(R"({"command":"RegisterEvent","event":90001})")["code"], 0);
    page.Do(R"({"tv":"answer","call":"FIIPCConnection::GetInstance","result":null})");
    EXPECT_EQ(page.Await(R"({"command":"UnRegisterEvent","event":90001})")["code"], 0);
    page.Do(R"({"tv":"restore"})");
    EXPECT_EQ(page.Await(R"({"command":"RegisterEvent","event":90001})")["code"], 0);
}

TEST(Events, WithoutASignalSubscriberTheInstanceLives)
{
    test::Page page;
    page.Close();
    page.Do(R"({"tv":"answer","call":"TVServiceAPI::CreateSignalSubscriber","result":0})");
    page.Open();
    EXPECT_EQ(page.Await(R"({"command":"GetVersion"})")["data"], "1.00");
    EXPECT_EQ(page.Do(R"({"tv":"signal","signal":177})")["delivered"], 0);
    page.Close();
}

TEST(Events, AreToldUnderTheirNames)
{
    test::Page page;
    for (const int event : {90001, 90005, 90027})
        page.Await(R"({"command":"RegisterEvent","event":)" + std::to_string(event) + "}");
    struct Case {
        const char* verb;
        const char* results;
        std::string message;
    };
    for (const Case& c : {
             Case{R"({"tv":"event","event":90001})", "[0]",
                  Posted("PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE", R"({"event":90001})")},
             Case{R"({"tv":"event","event":90005})", "[0]", Posted("", R"({"event":90005})")},
             Case{R"({"tv":"event","event":90027})", "[0]",
                  Posted("ITVS_Signal_Instant_On", R"({"event":90027})")},
             Case{R"({"tv":"event","event":90001,"user":null})", "[-1]", ""},
             Case{R"({"tv":"event","event":90002})", "[]", ""},
             Case{R"({"tv":"signal","signal":177})", "[1]",
                  Posted("ITVS_Signal_Unmute_by_pincode_input", R"({"event":99999})")},
             Case{R"({"tv":"signal","signal":177,"user":null})", "[1]", ""},
             Case{R"({"tv":"signal","signal":176})", "[]", ""},
         }) {
        SCOPED_TRACE(c.verb);
        EXPECT_EQ(Text(page.Do(c.verb)["results"]), c.results);
        Lines messages;
        for (const Json::Value& message : page.TakeMessages())
            messages.push_back(Text(message));
        EXPECT_EQ(messages, c.message.empty() ? Lines() : Lines{c.message});
    }
}

TEST(Events, AChannelLoadCarriesWhatCanBeHad)
{
    const std::string service =
        R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","result":1,"out":[{"12":"18446744073709551614"}]})";
    const std::string present =
        R"({"tv":"answer","call":"FIVirtualChannelsAPI::GetPresentProgram","result":true,"out":["the present"]})";
    struct Case {
        const char* what;
        std::vector<std::string> answers;
        bool has_channel;
        const char* request;
        const char* program;
    };
    for (
        const Case& c : {
            Case{"all there", {service, present}, true, "18446744073709551614", "the present"},
            Case{
                "no service id",
                {R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","result":1,"out":[{"13":4}]})",
                 present},
                true,
                "18446744073709551615",
                "the present"},
            Case{"no current service",
                 {R"({"tv":"answer","call":"IServiceNavigation::GetCurrentService","result":0})", present},
                 false,
                 "18446744073709551615",
                 "the present"},
            Case{"no navigation",
                 {R"({"tv":"answer","call":"TVServiceAPI::CreateServiceNavigation","result":0})", present},
                 false,
                 "18446744073709551615",
                 "the present"},
            Case{
                "no programme",
                {service,
                 R"({"tv":"answer","call":"FIVirtualChannelsAPI::GetPresentProgram","result":false,"out":["partial"]})"},
                true,
                "18446744073709551614",
                "partial"},
            Case{"no content service",
                 {service, R"({"tv":"answer","call":"FCAPI::GetVirtualChannelsAPI","result":null})"},
                 true,
                 nullptr,
                 ""},
        }) {
        SCOPED_TRACE(c.what);
        test::Page page;
        page.Await(R"({"command":"RegisterEvent","event":90019})");
        for (const std::string& answer : c.answers)
            page.Do(answer);
        test::Calls calls;
        page.Do(R"({"tv":"event","event":90019})");
        const std::vector<Json::Value> messages = page.TakeMessages();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0]["command"], "ITVS_Signal_ZELumo_Control_State_ChLoad");
        const Json::Value& data = messages[0]["data"];
        EXPECT_EQ(data.size(), 3U);
        EXPECT_EQ(data["event"], 90019);
        EXPECT_EQ(!data["ch_info"].asString().empty(), c.has_channel);
        EXPECT_EQ(data["program_info"], c.program);
        std::string request;
        for (const std::string& line : calls.Take()) {
            if (line.find("FIVirtualChannelsAPI::GetPresentProgram") == 0)
                request = line.substr(0, line.find(" -> "));
        }
        if (c.request != nullptr) {
            EXPECT_EQ(request,
                      std::string(R"(FIVirtualChannelsAPI::GetPresentProgram ["{\n   \"TCServiceId\" : \")") +
                          c.request + R"(\"\n}\n"])");
        }
    }
}

TEST(Settings, CommandsReachTheStore)
{
    struct Step {
        const char* request;
        const char* reply;
        const char* call;
    };
    test::Page page;
    test::Calls calls;
    for (
        const Step& step : {
            Step{R"({"command":"SetStringToVconfWithKey","input":"v\u00e9","key":"t/s"})",
                 R"({"code":0,"data":true})", "vconf_set_str [\"t/s\",\"v\u00e9\"] -> 0"},
            Step{R"({"command":"GetStringFromVconfWithKey","key":"t/s"})",
                 "{\"code\":0,\"data\":\"v\u00e9\"}", "vconf_get_str [\"t/s\"] -> \"v\u00e9\""},
            Step{R"({"command":"SetIntegerToVconfWithKey","input":-3,"key":"t/i"})",
                 R"({"code":0,"data":true})", R"(vconf_set_int ["t/i",-3] -> 0)"},
            Step{R"({"command":"GetIntegerFromVconfWithKey","key":"t/i"})", R"({"code":0,"data":-3})",
                 R"(vconf_get_int ["t/i"] -> 0 out [-3])"},
            Step{R"({"command":"SetBooleanToVconfWithKey","input":7,"key":"t/b"})",
                 R"({"code":0,"data":true})", R"(vconf_set_bool ["t/b",7] -> 0)"},
            Step{R"({"command":"GetBooleanFromVconfWithKey","key":"t/b"})", R"({"code":0,"data":1})",
                 R"(vconf_get_bool ["t/b"] -> 0 out [1])"},
            // Another type than the key holds, and a key that does not exist.
            Step{
                R"({"command":"GetIntegerFromVconfWithKey","key":"t/s"})",
                R"({"code":9999,"data":null,"errorMessage":"Can't GetIntegerFromVconfWithKey","errorName":"UnknownError "})",
                R"(vconf_get_int ["t/s"] -> -1 out [null])"},
            Step{
                R"({"command":"GetBooleanFromVconfWithKey","key":"t/i"})",
                R"({"code":9999,"data":null,"errorMessage":"Can't GetBooleanFromVconfWithKey","errorName":"UnknownError "})",
                R"(vconf_get_bool ["t/i"] -> -1 out [null])"},
            Step{
                R"({"command":"GetStringFromVconfWithKey","key":"t/none"})",
                R"({"code":9999,"data":null,"errorMessage":"Can't GetStringToVconfWithKey","errorName":"UnknownError "})",
                R"(vconf_get_str ["t/none"] -> null)"},
            Step{
                R"({"command":"SetStringToVconfWithKey","input":"v","key":""})",
                R"({"code":9999,"data":null,"errorMessage":"Can't SetStringToVconfWithKey","errorName":"UnknownError "})",
                R"(vconf_set_str ["","v"] -> -1)"},
        }) {
        SCOPED_TRACE(step.request);
        EXPECT_EQ(Text(page.Await(step.request)), step.reply);
        EXPECT_EQ(calls.Take(), Lines{step.call});
    }
}

TEST(Settings, FailuresAreLogged)
{
    struct Case {
        const char* request;
        const char* call;
        const char* result;
        const char* log;
    };
    for (const Case& c : {
             Case{R"({"command":"SetStringToVconfWithKey","input":"v","key":"k"})", "vconf_set_str", "-1",
                  "SetStringToVconfWithKey: [CZeLumoPluginHandler::SetStringToVconfWithKey] vconf_set_str is "
                  "failed"},
             Case{R"({"command":"GetStringFromVconfWithKey","key":"k"})", "vconf_get_str", "null",
                  "GetStringFromVconfWithKey: [CZeLumoPluginHandler::GetStringFromVconfWithKey] "
                  "vconf_get_str is failed"},
             Case{R"({"command":"SetIntegerToVconfWithKey","input":1,"key":"k"})", "vconf_set_int", "5",
                  "SetIntegerToVconfWithKey: [CZeLumoPluginHandler::SetIntegerToVconfWithKey] vconf_set_int "
                  "is failed"},
             Case{R"({"command":"GetIntegerFromVconfWithKey","key":"k"})", "vconf_get_int", "1",
                  "GetIntegerFromVconfWithKey: [CZeLumoPluginHandler::GetIntegerFromVconfWithKey] "
                  "vconf_get_int is failed"},
             Case{R"({"command":"SetBooleanToVconfWithKey","input":1,"key":"k"})", "vconf_set_bool", "-1",
                  "SetBooleanToVconfWithKey: [CZeLumoPluginHandler::SetBooleanToVconfWithKey] vconf_set_bool "
                  "is failed"},
             Case{R"({"command":"GetBooleanFromVconfWithKey","key":"k"})", "vconf_get_bool", "-1",
                  "GetBooleanFromVconfWithKey: [CZeLumoPluginHandler::GetBooleanFromVconfWithKey] "
                  "vconf_get_bool is failed"},
             Case{R"({"command":"AddVconfCallbackWithKey","key":"k"})", "vconf_notify_key_changed", "-1",
                  "AddVconfCallbackWithKey: [CZeLumoPluginHandler::AddVconfCallbackWithKey] failed to "
                  "vconf_notify_key_changed() with key:k"},
         }) {
        SCOPED_TRACE(c.request);
        test::Page page;
        page.Do(std::string(R"({"tv":"answer","call":")") + c.call + R"(","result":)" + c.result + "}");
        test::Log log;
        EXPECT_EQ(page.Await(c.request)["code"], 9999);
        EXPECT_EQ(log.Take().back(), std::string("0/6 zelumo-pepper ") + c.log);
    }
}

TEST(Settings, WatchedKeysAreTold)
{
    test::Page page;
    test::Calls calls;
    test::Log log;
    const std::string watch = R"({"command":"AddVconfCallbackWithKey","key":"w/k"})";
    EXPECT_EQ(Text(page.Await(watch)), R"({"code":0,"data":null})");
    EXPECT_EQ(calls.Take(), Lines{R"(vconf_notify_key_changed ["w/k"] -> 0)"});
    // The store is not asked a second time.
    EXPECT_EQ(page.Await(watch)["code"], 9999);
    EXPECT_EQ(
        log.Take().back(),
        "0/6 zelumo-pepper AddVconfCallbackWithKey: [CZeLumoPluginHandler::AddVconfCallbackWithKey] already "
        "registered vconf key cb: w/k");
    EXPECT_EQ(calls.Take(), Lines());

    const Json::Value told = J(Posted("w/k", R"("w/k")"));
    EXPECT_EQ(page.Do(R"({"tv":"setting","key":"w/k","value":true})")["delivered"], 1);
    EXPECT_EQ(page.TakeMessages(), std::vector<Json::Value>{told});
    // The page's own writes count as well, even when they change nothing.
    page.Await(R"({"command":"SetIntegerToVconfWithKey","input":1,"key":"w/k"})");
    page.Await(R"({"command":"SetIntegerToVconfWithKey","input":1,"key":"w/k"})");
    EXPECT_EQ(page.TakeMessages(), (std::vector<Json::Value>{told, told}));
    EXPECT_EQ(page.Do(R"({"tv":"setting","key":"w/k","value":1,"user":null})")["delivered"], 1);
    EXPECT_EQ(page.Do(R"({"tv":"setting","key":"w/other","value":1})")["delivered"], 0);

    calls.Take();
    log.Take();
    page.Close();
    int ignored = 0;
    for (const std::string& line : calls.Take())
        ignored += line == R"(vconf_ignore_key_changed ["w/k"] -> 0)" ? 1 : 0;
    EXPECT_EQ(ignored, 1);
    EXPECT_EQ(page.Do(R"({"tv":"setting","key":"w/k","value":1})")["delivered"], 0);
}

}  // namespace
