#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

using test::Lines;

constexpr char kNoDictionary[] = "Incoming message is not dictionary";
constexpr char kNoCommand[] = "Parameter command is invalid";
constexpr char kNoInput[] = "Parameter input is invalid";
constexpr char kUnknown[] = "Command no recognized";

/// Refused requests: nothing is asked of the platform, and the log ends with the same line for most.
TEST(Commands, MalformedRequestsAreAnswered)
{
    struct Case {
        const char* request;
        int code;
        const char* message;
        const char* log;  ///< its last line
    };
    constexpr char kLogged[] =
        "2/6 zelumo-pepper HandleBlockingMessageImpl: [Vorda HandleBlockingMessage] Parameter command is "
        "invalid";
    constexpr char kUnlogged[] =
        "0/6 ZLP_BASE HandleBlockingMessageImp: BMSAdaptor::HandleBlockingMessageImp -BMS doesn't care "
        "about:[SetServiceByServiceid]";
    constexpr char kUnhandled[] =
        "0/6 zelumo-pepper HandleBlockingMessageImpl: Can not handler the command!! ";
    const Case cases[] = {
        {"null", 26, kNoDictionary, nullptr},
        {R"(["command"])", 26, kNoDictionary, nullptr},
        {"{}", 26, kNoCommand, nullptr},
        {R"({"command":null})", 26, kNoCommand, nullptr},
        {R"({"Command":"GetVersion"})", 26, kNoCommand, nullptr},
        {R"({"command":""})", 9, kUnknown, kUnhandled},
        {R"({"command":"GetVersion "})", 9, kUnknown, kUnhandled},
        {R"({"command":"GetVersion\u0000"})", 9, kUnknown, kUnhandled},
        {R"({"command":"GetProgram","Input":"x"})", 26, kNoInput, kLogged},
        {R"({"command":"GetVCConfig","input":null})", 26, kNoInput, kLogged},
        {R"({"command":"RegisterEvent","event":90001.5})", 26, kNoCommand, kLogged},
        {R"({"command":"UnRegisterEvent","event":true})", 26, kNoCommand, kLogged},
        {R"({"command":"UnRegisterEvent","event":2147483648})", 26, kNoCommand, kLogged},
        {R"({"command":"UnRegisterEvent","event":1e300})", 26, kNoCommand, kLogged},
        {R"({"command":"UnRegisterEvent","event":-0.0})", 26, kNoCommand, kLogged},
        {R"({"command":"UnRegisterEvent","event":18446744073709551615})", 26, kNoCommand, kLogged},
        {R"({"command":"SetStringToVconfWithKey","input":"v"})", 26, kNoInput, kLogged},
        {R"({"command":"SetIntegerToVconfWithKey","input":true,"key":"k"})", 26, kNoInput, kLogged},
        {R"({"command":"SetBooleanToVconfWithKey","input":2.5,"key":"k"})", 26, kNoInput, kLogged},
        {R"({"command":"SetBooleanToVconfWithKey","input":1,"key":null})", 26, kNoInput, kLogged},
        {R"({"command":"AddVconfCallbackWithKey","key":1})", 26, kNoInput, kLogged},
        {R"({"command":"ExtractServiceInformationsFromServiceId","Serviceid":"1"})", 26, kNoInput, kLogged},
        {R"({"command":"SetServiceByServiceid","serviceId":"1"})", 26, "Parameter Serviceid is invalid",
         kUnlogged},
    };
    test::Page page;
    test::Calls calls;
    test::Log log;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.request);
        const Json::Value reply = page.Await(c.request);
        EXPECT_EQ(reply["code"], c.code);
        EXPECT_EQ(reply["errorName"], c.code == 9 ? "NotSupportedError" : "InvalidValuesError");
        EXPECT_EQ(reply["errorMessage"], c.message);
        EXPECT_EQ(reply.size(), 4U);
        EXPECT_EQ(calls.Take(), Lines());
        const Lines lines = log.Take();
        if (c.log != nullptr) {
            EXPECT_EQ(lines.empty() ? "" : lines.back(), c.log);
        }
    }
    EXPECT_EQ(page.Await(R"({"command":"GetVersion","input":[[]]})")["data"], "1.00");
    for (const std::string whole : {"1", "1.0", "1e3", "-2147483648"})
        EXPECT_EQ(page.Await(R"({"command":"UnRegisterEvent","event":)" + whole + "}")["code"], 0) << whole;
}

}  // namespace
