// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

#include "BmsAdaptor.h"
#include "ZeLumoPluginHandler.h"
#include "ZeLumoPluginLog.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"
#include "ppapi/cpp/var_dictionary.h"

namespace {

using Handler = CZeLumoPluginHandler;

constexpr char kDispatcher[] = "HandleBlockingMessageImpl";

constexpr int kNotSupported = 9;
constexpr int kInvalidValues = 26;
constexpr int kServiceNotAvailable = 28;
constexpr int kUnknown = 9999;

const char* ErrorName(int code)
{
    switch (code) {
        case kNotSupported:
            return "NotSupportedError";
        case kInvalidValues:
            return "InvalidValuesError";
        case kServiceNotAvailable:
            return "ServiceNotAvailableError";
        default:
            return "UnknownError ";  // the page receives the blank at its end
    }
}

/// The parameters of one command, checked.
struct Request {
    const pp::VarDictionary& message;
    std::string text;
    std::string key;
    int number = 0;
};

/// A required parameter: the member that takes it says which type it must have.
struct Parameter {
    const char* name = nullptr;
    std::string Request::*text = nullptr;
    int Request::*number = nullptr;

    bool Read(Request& request) const
    {
        const pp::Var value = request.message.Get(name);
        if (text != nullptr && value.is_string())
            request.*text = value.AsString();
        else if (number != nullptr && value.is_int())
            request.*number = value.AsInt();
        else
            return false;
        return true;
    }
};

/// Required parameters in the order of their tests, and the answer when a test fails.
struct Parameters {
    const char* invalid = "";
    bool logged = true;
    std::array<Parameter, 2> list{};
};

const Parameters kNone;
const Parameters kInput{"Parameter input is invalid", true, {{{"input", &Request::text}}}};
const Parameters kEvent{"Parameter command is invalid", true, {{{"event", nullptr, &Request::number}}}};
const Parameters kKey{"Parameter input is invalid", true, {{{"key", &Request::key}}}};
const Parameters kInputKey{
    "Parameter input is invalid", true, {{{"input", &Request::text}, {"key", &Request::key}}}};
const Parameters kNumberKey{
    "Parameter input is invalid", true, {{{"input", nullptr, &Request::number}, {"key", &Request::key}}}};
const Parameters kServiceIdText{"Parameter input is invalid", true, {{{"serviceId", &Request::text}}}};
const Parameters kTuneId{"Parameter Serviceid is invalid", false, {{{"Serviceid", &Request::text}}}};

/// Carries a command out. True: `data`, null at first, is the reply's data. False: the row's failure reply.
using Operation = bool (*)(Handler& handler, Request& request, pp::Var& data);

template <bool (Handler::*operation)(std::string&, std::string&)>
bool Query(Handler& handler, Request& request, pp::Var& data)
{
    std::string output;
    if (!(handler.*operation)(request.text, output))
        return false;
    data = output;
    return true;
}

template <bool (Handler::*operation)(std::string&)>
bool Fetch(Handler& handler, Request&, pp::Var& data)
{
    std::string output;
    if (!(handler.*operation)(output))
        return false;
    data = output;
    return true;
}

template <bool (Handler::*operation)()>
bool Act(Handler& handler, Request&, pp::Var&)
{
    return (handler.*operation)();
}

template <bool (Handler::*operation)()>
bool Ask(Handler& handler, Request&, pp::Var& data)
{
    data = (handler.*operation)();
    return true;
}

bool Version(Handler&, Request&, pp::Var& data)
{
    data = "1.00";
    return true;
}

bool RegisterEvent(Handler& handler, Request& request, pp::Var&)
{
    LOG_SYSTEM_ERROR_IN(kDispatcher, "RegisterEvent => %d", request.number);
    return handler.RegisterEvent(static_cast<ePloomiaEvent>(request.number));
}

bool UnRegisterEvent(Handler& handler, Request& request, pp::Var&)
{
    LOG_SYSTEM_ERROR_IN(kDispatcher, "UnRegisterEvent => %d", request.number);
    return handler.UnRegisterEvent(static_cast<ePloomiaEvent>(request.number));
}

bool SetString(Handler& handler, Request& request, pp::Var& data)
{
    data = handler.SetStringToVconfWithKey(request.text, request.key);
    return data.AsBool();
}

bool GetString(Handler& handler, Request& request, pp::Var& data)
{
    LOG_SYSTEM_ERROR_IN(kDispatcher, "[Vorda HandleBlockingMessage] key is %s", request.key.c_str());
    std::string output;
    if (!handler.GetStringFromVconfWithKey(request.key, output))
        return false;
    data = output;
    return true;
}

template <bool (Handler::*operation)(int, std::string&)>
bool SetNumber(Handler& handler, Request& request, pp::Var& data)
{
    data = (handler.*operation)(request.number, request.key);
    return data.AsBool();
}

template <bool (Handler::*operation)(std::string&, int&)>
bool GetNumber(Handler& handler, Request& request, pp::Var& data)
{
    int value = 0;
    if (!(handler.*operation)(request.key, value))
        return false;
    data = value;
    return true;
}

bool WatchKey(Handler& handler, Request& request, pp::Var&)
{
    return handler.AddVconfCallbackWithKey(request.key);
}

bool CheckFirstBoot(Handler& handler, Request&, pp::Var& data)
{
    bool isFirstEntry = false;
    bool isInstantOn = false;
    if (!handler.CheckFirstBootInZELumo(isFirstEntry, isInstantOn))
        return false;
    pp::VarDictionary flags;
    flags.Set("isFirstEntry", isFirstEntry);
    flags.Set("isInstantOn", isInstantOn);
    data = flags;
    return true;
}

bool ExtractServiceInformations(Handler& handler, Request& request, pp::Var& data)
{
    ExtractedServiceInfomations info;
    if (!handler.ExtractServiceInformationsFromServiceId(std::strtoull(request.text.c_str(), nullptr, 10),
                                                         info))
        return false;
    pp::VarDictionary record;
    record.Set("TCServiceId", std::to_string(info.serviceId));
    record.Set("IsForDirectTune", info.isForDirectTune);
    record.Set("EChannelType", info.channelType);
    record.Set("channel number", info.channelNumber);
    record.Set("service profile", info.serviceProfile);
    record.Set("major", info.major);
    record.Set("minor", info.minor);
    record.Set("program number", info.programNumber);
    data = record;
    return true;
}

bool GetAppIDAndURL(Handler& handler, Request&, pp::Var& data)
{
    std::string appID;
    std::string URL;
    if (!handler.GetAppIDAndURL(appID, URL))
        return false;
    pp::VarDictionary application;
    application.Set("appID", appID);
    application.Set("URL", URL);
    data = application;
    return true;
}

bool TuneToServiceId(Handler& handler, Request& request, pp::Var&)
{
    // Any base, unlike the other command that takes a service id.
    const unsigned long long serviceId = std::strtoull(request.text.c_str(), nullptr, 0);
    const pp::Var appId = request.message.Get("Appid");
    return handler.SetServiceByServiceid(serviceId, appId.is_string() ? appId.AsString() : std::string());
}

struct Row {
    std::string_view command;
    Operation operation;
    const Parameters& parameters;
    int failureCode;  // 0: never fails
    const char* failureMessage;
};

// clang-format off
const Row kCommandTable[] = {
    {"GetVersion",                             Version,                                                       kNone,          0,                    ""},
    {"GetProgram",                             Query<&Handler::ZELumo_GetProgram>,                            kInput,         kUnknown,             "Can't GetProgram"},
    {"GetProgramList",                         Query<&Handler::ZELumo_GetProgramList>,                        kInput,         kUnknown,             "Can't GetProgramList"},
    {"GetPresentProgram",                      Query<&Handler::ZELumo_GetPresentProgram>,                     kInput,         kUnknown,             "Can't GetPresentProgram"},
    {"GetChannelLogo",                         Query<&Handler::ZELumo_GetChannelLogo>,                        kInput,         kUnknown,             "Can't GetChannelLogo"},
    {"GetProgramThumbnail",                    Query<&Handler::ZELumo_GetProgramThumbnail>,                   kInput,         kUnknown,             "Can't GetProgramThumbnail"},
    {"GetProgramBackground",                   Query<&Handler::ZELumo_GetProgramBackground>,                  kInput,         kUnknown,             "Can't GetProgramBackground"},
    {"SetOnDemandProgram",                     Query<&Handler::ZELumo_SetOnDemandProgram>,                    kInput,         kUnknown,             "Can't SetOnDemandProgram"},
    {"UnsetOnDemandProgram",                   Query<&Handler::ZELumo_UnsetOnDemandProgram>,                  kInput,         kUnknown,             "Can't UnsetOnDemandProgram"},
    {"GetOnDemandIdentifier",                  Query<&Handler::ZELumo_GetOnDemandIdentifier>,                 kInput,         kUnknown,             "Can't GetOnDemandIdentifier"},
    {"GetVCConfig",                            Query<&Handler::ZELumo_GetVCConfig>,                           kInput,         kUnknown,             "Can't GetVCConfig"},
    {"GetFeaturedVirtualChannelInfo",          Query<&Handler::ZELumo_GetFeaturedVirtualChannelInfo>,         kInput,         kUnknown,             "Can't GetFeaturedVirtualChannelInfo"},
    {"GetServiceIdFromOnTVProviderAndService", Query<&Handler::ZELumo_GetServiceIdFromOnTVProviderAndService>, kInput,        kUnknown,             "Can't GetServiceIdFromOnTVProviderAndService"},
    {"RegisterEvent",                          RegisterEvent,                                                 kEvent,         kServiceNotAvailable, "RegisterEvent failed"},
    {"UnRegisterEvent",                        UnRegisterEvent,                                               kEvent,         kServiceNotAvailable, "UnRegisterEvent failed"},
    {"SetStringToVconfWithKey",                SetString,                                                     kInputKey,      kUnknown,             "Can't SetStringToVconfWithKey"},
    {"GetStringFromVconfWithKey",              GetString,                                                     kKey,           kUnknown,             "Can't GetStringToVconfWithKey"},
    {"SetIntegerToVconfWithKey",               SetNumber<&Handler::SetIntegerToVconfWithKey>,                 kNumberKey,     kUnknown,             "Can't SetIntegerToVconfWithKey"},
    {"GetIntegerFromVconfWithKey",             GetNumber<&Handler::GetIntegerFromVconfWithKey>,               kKey,           kUnknown,             "Can't GetIntegerFromVconfWithKey"},
    {"SetBooleanToVconfWithKey",               SetNumber<&Handler::SetBooleanToVconfWithKey>,                 kNumberKey,     kUnknown,             "Can't SetBooleanToVconfWithKey"},
    {"GetBooleanFromVconfWithKey",             GetNumber<&Handler::GetBooleanFromVconfWithKey>,               kKey,           kUnknown,             "Can't GetBooleanFromVconfWithKey"},
    {"AddVconfCallbackWithKey",                WatchKey,                                                      kKey,           kUnknown,             "Can't AddVconfCallbackWithKey"},
    {"ZELumoProgramInfoIsAvailable",           Fetch<&Handler::ZELumoProgramInfoIsAvailable>,                 kNone,          kUnknown,             "Can't ZELumoProgramInfoIsAvailable"},
    {"LaunchedZELumoWebApp",                   Act<&Handler::LaunchedZELumoWebApp>,                           kNone,          kUnknown,             "Can't LaunchedZELumoWebApp"},
    {"CheckIsFirstBootingInZELumo",            Ask<&Handler::CheckIsFirstBootingInZELumo>,                    kNone,          0,                    ""},
    {"IsFirstEntryToZelumo",                   Ask<&Handler::IsFirstEntryToZelumo>,                           kNone,          0,                    ""},
    {"IsInstantOn",                            Ask<&Handler::IsInstantOn>,                                    kNone,          0,                    ""},
    {"GetViewingAgreement",                    Ask<&Handler::GetViewingAgreement>,                            kNone,          0,                    ""},
    {"CheckFirstBootInZELumo",                 CheckFirstBoot,                                                kNone,          kUnknown,             "Can't CheckFirstBootInZELumo"},
    {"RestartZelumoInfo",                      Act<&Handler::RestartZelumoInfo>,                              kNone,          kUnknown,             "Can't RestartZelumoInfo"},
    {"ExtractServiceInformationsFromServiceId", ExtractServiceInformations,                                   kServiceIdText, kUnknown,             "Can't ExtractServiceInformationsFromServiceId"},
    {"GetAppIDAndURL",                         GetAppIDAndURL,                                                kNone,          kUnknown,             "Can't GetAppIDAndURL"},
    {"GetZELumoServices",                      Fetch<&Handler::GetZELumoServices>,                            kNone,          kServiceNotAvailable, "GetZELumoServices failed"},
    {"SetServiceByServiceid",                  TuneToServiceId,                                               kTuneId,        kServiceNotAvailable, "SetChannelByServiceid failed"},
    {"GetCurrentChannelInfo",                  Fetch<&Handler::t_GetCurrentChannelInfoWithJsonString>,        kNone,          kServiceNotAvailable, "GetCurrentChannelInfo failed"},
    {"SetNextService",                         Ask<&Handler::SetNextService>,                                 kNone,          0,                    ""},
    {"SetPreviousService",                     Ask<&Handler::SetPrevService>,                                 kNone,          0,                    ""},
};
// clang-format on

}  // namespace

pp::Var CZeLumoPluginHandler::HandleBlockingMessageImpl(pp::InstanceHandle, const pp::Var& message)
{
    const auto failure = [this](int code, const char* text) {
        return createMessage(code, pp::Var(pp::Var::Null()), ErrorName(code), text);
    };

    if (!message.is_dictionary())
        return failure(kInvalidValues, "Incoming message is not dictionary");
    const pp::VarDictionary dictionary(message);
    const pp::Var commandVar = dictionary.Get("command");
    if (!commandVar.is_string())
        return failure(kInvalidValues, "Parameter command is invalid");
    const std::string command = commandVar.AsString();
    LOG_DEBUG("=================> command: %s", command.c_str());

    pp::Var reply;
    if (m_pBMSAdaptor->HandleBlockingMessageImp(message, reply)) {
        LOG_DEBUG("[CZeLumoPluginHandler::HandleBlockingMessageImpl] operated player side");
        return reply;
    }

    for (const Row& row : kCommandTable) {
        if (row.command != command)
            continue;
        Request request{dictionary, {}, {}};
        for (const Parameter& parameter : row.parameters.list) {
            if (parameter.name == nullptr || parameter.Read(request))
                continue;
            if (row.parameters.logged)
                LOG_SYSTEM_ERROR("[Vorda HandleBlockingMessage] Parameter command is invalid");
            return failure(kInvalidValues, row.parameters.invalid);
        }
        pp::Var data{pp::Var::Null()};
        if (row.operation(*this, request, data))
            return createMessage(0, data, "", "");
        return failure(row.failureCode, row.failureMessage);
    }
    LOG_ERROR("Can not handler the command!! ");
    return failure(kNotSupported, "Command no recognized");
}

void CZeLumoPluginHandler::HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message)
{
    const pp::Instance page(instance.pp_instance());
    const auto refuse = [&](const std::string& command, int code, const char* text) {
        responseData(page, command, code, pp::Var(pp::Var::Null()), ErrorName(code), text);
    };

    if (!message.is_dictionary())
        return refuse("", kInvalidValues, "Incoming message is invalid");
    const pp::Var command = pp::VarDictionary(message).Get("command");
    if (!command.is_string())
        return refuse("", kInvalidValues, "Parameter command is invalid");
    refuse(command.AsString(), kNotSupported, "Parameters is invalid");
}
