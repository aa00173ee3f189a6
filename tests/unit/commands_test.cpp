#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/page.h"

namespace {

using test::J;
using test::Text;
using Lines = std::vector<std::string>;

std::string Failure(int code, const std::string& name, const std::string& message)
{
    return R"({"code":)" + std::to_string(code) + R"(,"data":null,"errorMessage":)" +
           Text(Json::Value(message)) + R"(,"errorName":)" + Text(Json::Value(name)) + "}";
}

std::string Invalid(const std::string& message)
{
    return Failure(26, "InvalidValuesError", message);
}

TEST(Commands, MalformedRequestsAreAnswered)
{
    test::Page page;
    test::Calls calls;
    struct Case {
        const char* request;
        std::string reply;
    };
    for (const Case& c : {
             Case{R"("GetVersion")", Invalid("Incoming message is not dictionary")},
             Case{"null", Invalid("Incoming message is not dictionary")},
             Case{R"(["command"])", Invalid("Incoming message is not dictionary")},
             Case{"{}", Invalid("Parameter command is invalid")},
             Case{R"({"command":5})", Invalid("Parameter command is invalid")},
             Case{R"({"command":null})", Invalid("Parameter command is invalid")},
             Case{R"({"Command":"GetVersion"})", Invalid("Parameter command is invalid")},
             Case{R"({"command":""})", Failure(9, "NotSupportedError", "Command no recognized")},
             Case{R"({"command":"getversion"})", Failure(9, "NotSupportedError", "Command no recognized")},
             Case{R"({"command":"GetVersion "})", Failure(9, "NotSupportedError", "Command no recognized")},
             Case{R"({"command":"GetVersion\u0000"})",
                  Failure(9, "NotSupportedError", "Command no recognized")},
             Case{R"({"command":"GetVersion","input":[[]]})", R"({"code":0,"data":"1.00"})"},
         })
        EXPECT_EQ(Text(page.Await(c.request)), c.reply) << c.request;
    EXPECT_EQ(calls.Take(), Lines());
}

/// Which parameters a command needs, and what it answers without them.
struct Need {
    Lines commands;
    const char* valid;  // the parameters, complete
    Lines invalid;      // each lacks one, or has it wrong
    const char* message;
    bool logged;
};

TEST(Commands, MissingAndWrongParametersAreRefused)
{
    const std::vector<Need> needs{
        {{"GetProgram", "GetProgramList", "GetPresentProgram", "GetChannelLogo", "GetProgramThumbnail",
          "GetProgramBackground", "SetOnDemandProgram", "UnsetOnDemandProgram", "GetOnDemandIdentifier",
          "GetVCConfig", "GetFeaturedVirtualChannelInfo", "GetServiceIdFromOnTVProviderAndService"},
         R"({"input":"x"})",
         {"{}", R"({"input":1})", R"({"input":{}})", R"({"input":null})", R"({"Input":"x"})"},
         "Parameter input is invalid",
         true},
        {{"RegisterEvent", "UnRegisterEvent"},
         R"({"event":90001})",
         {"{}", R"({"event":"90001"})", R"({"event":90001.5})", R"({"event":true})",
          R"({"event":4294967296})"},
         "Parameter command is invalid",
         true},
        {{"SetStringToVconfWithKey"},
         R"({"input":"v","key":"k"})",
         {R"({"input":"v"})", R"({"key":"k"})", R"({"input":1,"key":"k"})", R"({"input":"v","key":1})"},
         "Parameter input is invalid",
         true},
        {{"SetIntegerToVconfWithKey", "SetBooleanToVconfWithKey"},
         R"({"input":1,"key":"k"})",
         {R"({"input":1})", R"({"key":"k"})", R"({"input":true,"key":"k"})", R"({"input":2.5,"key":"k"})",
          R"({"input":"1","key":"k"})", R"({"input":1,"key":null})"},
         "Parameter input is invalid",
         true},
        {{"GetStringFromVconfWithKey", "GetIntegerFromVconfWithKey", "GetBooleanFromVconfWithKey",
          "AddVconfCallbackWithKey"},
         R"({"key":"k"})",
         {"{}", R"({"key":1})", R"({"Key":"k"})"},
         "Parameter input is invalid",
         true},
        {{"ExtractServiceInformationsFromServiceId"},
         R"({"serviceId":"1"})",
         {"{}", R"({"serviceId":1})", R"({"Serviceid":"1"})"},
         "Parameter input is invalid",
         true},
        {{"SetServiceByServiceid"},
         R"({"Serviceid":"1"})",
         {"{}", R"({"Serviceid":1})", R"({"serviceId":"1"})"},
         "Parameter Serviceid is invalid",
         false},
    };
    test::Page page;
    test::Calls calls;
    test::Log log;
    for (const Need& need : needs) {
        for (const std::string& command : need.commands) {
            for (const std::string& parameters : need.invalid) {
                Json::Value request = J(parameters);
                request["command"] = command;
                SCOPED_TRACE(Text(request));
                EXPECT_EQ(Text(page.AwaitValue(request)), Invalid(need.message));
                EXPECT_EQ(calls.Take(), Lines());
                const std::string last = log.Take().back();
                EXPECT_EQ(last ==
                              "2/6 zelumo-pepper HandleBlockingMessageImpl: [Vorda HandleBlockingMessage] "
                              "Parameter command is invalid",
                          need.logged)
                    << last;
            }
            Json::Value request = J(need.valid);
            request["command"] = command;
            EXPECT_NE(page.AwaitValue(request)["code"], 26) << Text(request);
            calls.Take();
        }
    }
}

TEST(Commands, FailingOperationsGiveTheirRowsReply)
{
    const std::string unknown = "UnknownError ";  // with its blank
    test::Page page;
    page.Do(R"({"tv":"answer","call":"FCAPI::GetVirtualChannelsAPI","result":null})");
    page.Do(R"({"tv":"answer","call":"FCAPI::GetZELumoAPI","result":null})");
    page.Do(R"({"tv":"answer","call":"TVServiceAPI::CreateServiceNavigation","result":0})");
    page.Do(R"({"tv":"answer","call":"TVServiceAPI::CreateSourceControl","result":0})");
    for (const char* command :
         {"GetProgram", "GetProgramList", "GetPresentProgram", "GetChannelLogo", "GetProgramThumbnail",
          "GetProgramBackground", "SetOnDemandProgram", "UnsetOnDemandProgram", "GetOnDemandIdentifier",
          "GetVCConfig", "GetFeaturedVirtualChannelInfo", "GetServiceIdFromOnTVProviderAndService",
          "ZELumoProgramInfoIsAvailable", "LaunchedZELumoWebApp", "CheckFirstBootInZELumo",
          "RestartZelumoInfo", "ExtractServiceInformationsFromServiceId", "GetAppIDAndURL"}) {
        const std::string request =
            std::string(R"({"command":")") + command + R"(","input":"x","serviceId":"1"})";
        EXPECT_EQ(Text(page.Await(request)), Failure(9999, unknown, std::string("Can't ") + command));
    }
    for (const char* command : {"CheckIsFirstBootingInZELumo", "IsFirstEntryToZelumo", "IsInstantOn",
                                "GetViewingAgreement", "SetNextService", "SetPreviousService"})
        EXPECT_EQ(Text(page.Await(std::string(R"({"command":")") + command + "\"}")),
                  R"({"code":0,"data":false})");
    struct Case {
        const char* request;
        const char* message;
    };
    for (const Case& c : {
             Case{R"({"command":"GetZELumoServices"})", "GetZELumoServices failed"},
             Case{R"({"command":"SetServiceByServiceid","Serviceid":"1"})", "SetChannelByServiceid failed"},
             Case{R"({"command":"GetCurrentChannelInfo"})", "GetCurrentChannelInfo failed"},
         })
        EXPECT_EQ(Text(page.Await(c.request)), Failure(28, "ServiceNotAvailableError", c.message));
}

TEST(Commands, PostedMessagesAreRefusedInOneLayout)
{
    test::Page page;
    test::Calls calls;
    test::Log log;
    struct Case {
        const char* message;
        const char* answer;
    };
    for (
        const Case& c : {
            Case{
                "5",
                R"({"code":26,"command":"","data":null,"errorMessage":"Incoming message is invalid","errorName":"InvalidValuesError"})"},
            Case{
                R"({"command":1})",
                R"({"code":26,"command":"","data":null,"errorMessage":"Parameter command is invalid","errorName":"InvalidValuesError"})"},
            Case{
                R"({"command":"Play"})",
                R"({"code":9,"command":"Play","data":null,"errorMessage":"Parameters is invalid","errorName":"NotSupportedError"})"},
        }) {
        page.Post(J(c.message));
        const std::vector<Json::Value> messages = page.TakeMessages();
        ASSERT_EQ(messages.size(), 1U) << c.message;
        EXPECT_EQ(Text(messages[0]), c.answer);
    }
    EXPECT_EQ(calls.Take(), Lines());
    EXPECT_EQ(log.Take(), Lines());
}

TEST(Commands, UnknownCommandsAreLogged)
{
    test::Page page;
    test::Log log;
    page.Await(R"({"command":"Dance"})");
    const Lines lines = log.Take();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.front(),
              "0/3 zelumo-pepper HandleBlockingMessageImpl: =================> command: Dance");
    EXPECT_EQ(lines.back(), "0/6 zelumo-pepper HandleBlockingMessageImpl: Can not handler the command!! ");
}

}  // namespace
