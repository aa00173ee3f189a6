#include "core/call_table.h"

#include <array>

#include "core/values.h"
#include "services/content/content_json.h"
#include "services/tv/tv_service_json.h"

namespace tv {
namespace {

using K = ValueKind;

const std::array<CallInfo, kCallCount>& Table()
{
    // clang-format off
    static const std::array<CallInfo, kCallCount> table{{
        {CallId::HtRegisterLibrary,       "ht_register_library",                    K::Void, Json::Value(), {}},
        {CallId::HtDeregisterLibrary,     "ht_deregister_library",                  K::Void, Json::Value(), {}},

        {CallId::RegisterMessageHandler,  "pp::Instance::RegisterMessageHandler",   K::Int,  0, {}},
        {CallId::GetEmbedderName,         "PPB_ExtensionSystem_Halvorn::GetEmbedderName",         K::Any, "", {}},
        {CallId::GetCurrentExtensionInfo, "PPB_ExtensionSystem_Halvorn::GetCurrentExtensionInfo", K::Any, Json::Value(), {}},
        {CallId::GenericSyncCall,         "PPB_ExtensionSystem_Halvorn::GenericSyncCall",         K::Int, 0, {K::Any}},

        {CallId::SubscribePoweroff,       "device_power_subscribe_poweroff",        K::Int,  0, {}},
        {CallId::UnsubscribePoweroff,     "device_power_unsubscribe_poweroff",      K::Int,  0, {}},

        {CallId::GetVirtualChannelsApi,   "FCAPI::GetVirtualChannelsAPI",           K::Interface, true, {}},
        {CallId::GetZelumoApi,            "FCAPI::GetZELumoAPI",                    K::Interface, true, {}},
        {CallId::GetProgramList,          "FIVirtualChannelsAPI::GetProgramList",        K::Bool, true, {K::Text}},
        {CallId::GetProgram,              "FIVirtualChannelsAPI::GetProgram",            K::Bool, true, {K::Text}},
        {CallId::GetPresentProgram,       "FIVirtualChannelsAPI::GetPresentProgram",     K::Bool, true, {K::Text}},
        {CallId::GetChannelLogo,          "FIVirtualChannelsAPI::GetChannelLogo",        K::Bool, true, {K::Text}},
        {CallId::GetProgramThumbnail,     "FIVirtualChannelsAPI::GetProgramThumbnail",   K::Bool, true, {K::Text}},
        {CallId::GetProgramBackground,    "FIVirtualChannelsAPI::GetProgramBackground",  K::Bool, true, {K::Text}},
        {CallId::SetOnDemandProgram,      "FIVirtualChannelsAPI::SetOnDemandProgram",    K::Bool, true, {K::Text}},
        {CallId::UnsetOnDemandProgram,    "FIVirtualChannelsAPI::UnsetOnDemandProgram",  K::Bool, true, {K::Text}},
        {CallId::GetOnDemandIdentifier,   "FIVirtualChannelsAPI::GetOnDemandIdentifier", K::Bool, true, {K::Text}},
        {CallId::GetVcConfig,             "FIVirtualChannelsAPI::GetVCConfig",           K::Bool, true, {K::Text}},
        {CallId::GetFeaturedVirtualChannelInfo,
                                          "FIVirtualChannelsAPI::GetFeaturedVirtualChannelInfo", K::Bool, true, {K::Text}},
        {CallId::GetServiceIdFromOnTvProviderAndService,
                                          "FIVirtualChannelsAPI::GetServiceIdFromOnTVProviderAndService", K::Bool, true, {K::Text}},
        {CallId::GetViewingAgreement,     "FIVirtualChannelsAPI::GetViewingAgreement",    K::Bool, true, {}},
        {CallId::ProgramInfoIsAvailable,  "FIVirtualChannelsAPI::ProgramInfoIsAvailable", K::Bool, true, {K::Text}},
        {CallId::RestartZelumoInfo,       "FIVirtualChannelsAPI::RestartZelumoInfo",      K::Bool, true, {}},
        {CallId::ExtractServiceInformations,
                                          "FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId", K::Bool, true, {K::ServiceDescription}},
        {CallId::LaunchedZelumoWebApp,    "FIZELumoAPI::LaunchedZELumoWebApp",        K::Bool, true, {}},
        {CallId::GetAppIdAndUrl,          "FIZELumoAPI::GetAppIDAndURL",              K::Bool, true, {K::Text, K::Text}},
        {CallId::CheckIsFirstBooting,     "FIZELumoAPI::CheckIsFirstBootingInZELumo", K::Bool, true, {}},
        {CallId::IsFirstEntry,            "FIZELumoAPI::IsFirstEntryToZelumo",        K::Bool, true, {}},
        {CallId::CheckFirstBoot,          "FIZELumoAPI::CheckFirstBootInZELumo",      K::Bool, true, {K::Bool, K::Bool}},
        {CallId::IsInstantOn,             "FIZELumoAPI::IsInstantOn",                 K::Bool, true, {}},

        {CallId::GetIpcConnection,        "FIIPCConnection::GetInstance",             K::Interface, true, {}},
        {CallId::GetEventProxy,           "FCEMSProxy::GetInstanceForPlugin",         K::Interface, true, {}},
        {CallId::SubscribeEvent,          "FCEMSProxy::Subscribe",                    K::Int,  0, {}},
        {CallId::UnsubscribeEvent,        "FCEMSProxy::Unsubscribe",                  K::Int,  0, {}},

        {CallId::CreateServiceNavigation, "TVServiceAPI::CreateServiceNavigation",    K::Int,  1, {K::Interface}},
        {CallId::CreateSourceControl,     "TVServiceAPI::CreateSourceControl",        K::Int,  1, {K::Interface}},
        {CallId::CreateSignalSubscriber,  "TVServiceAPI::CreateSignalSubscriber",     K::Int,  1, {K::Interface}},
        {CallId::SubscribeSignal,         "ISignalSubscriber::Subscribe",             K::Int,  1, {}},
        {CallId::UnsubscribeSignal,       "ISignalSubscriber::Unsubscribe",           K::Int,  1, {}},
        {CallId::GetNavigationCriteria,   "TCNavigationModeHelper::GetNavigationCriteria", K::Bool, true, {}},
        {CallId::NavigationTuneService,   "IServiceNavigation::TuneService",          K::Int,  1, {}},
        {CallId::GetTvMode,               "IServiceNavigation::GetTvMode",            K::Int,  1, {K::TvMode}},
        {CallId::GetCurrentService,       "IServiceNavigation::GetCurrentService",    K::Int,  1, {K::Service}},
        {CallId::SetNextService,          "IServiceNavigation::SetNextService",       K::Int,  1, {}},
        {CallId::SetPreviousService,      "IServiceNavigation::SetPreviousService",   K::Int,  1, {}},
        {CallId::GetServiceList,          "IServiceNavigation::GetServiceList",       K::Int,  0, {K::Services}},
        {CallId::SourceTuneService,       "ISourceControl::TuneService",              K::Int,  1, {}},
        {CallId::GetSourceFlag,           "ISourceControl::GetSourceFlag",            K::Int,  1, {K::Int}},
        {CallId::GetSourceValue,          "ISourceControl::GetSourceValue",           K::Int,  1, {K::Int}},

        {CallId::VconfSetStr,             "vconf_set_str",             K::Int,  0, {}},
        {CallId::VconfSetInt,             "vconf_set_int",             K::Int,  0, {}},
        {CallId::VconfSetBool,            "vconf_set_bool",            K::Int,  0, {}},
        {CallId::VconfGetStr,             "vconf_get_str",             K::OptionalText, "", {}},
        {CallId::VconfGetInt,             "vconf_get_int",             K::Int,  0, {K::Int}},
        {CallId::VconfGetBool,            "vconf_get_bool",            K::Int,  0, {K::Int}},
        {CallId::VconfNotifyKeyChanged,   "vconf_notify_key_changed",  K::Int,  0, {}},
        {CallId::VconfIgnoreKeyChanged,   "vconf_ignore_key_changed",  K::Int,  0, {}},

        {CallId::BmsCreatePlayer,         "BmsCreatePlayer",           K::Int,  0, {K::Int}},
        {CallId::BmsPlay,                 "BmsPlay",                   K::Int,  0, {}},
        {CallId::BmsPause,                "BmsPause",                  K::Int,  0, {}},
        {CallId::BmsResume,               "BmsResume",                 K::Int,  0, {}},
        {CallId::BmsStop,                 "BmsStop",                   K::Int,  0, {}},
        {CallId::BmsResumeLive,           "BmsResumeLive",             K::Int,  0, {}},
        {CallId::BmsSeek,                 "BmsSeek",                   K::Int,  0, {}},
        {CallId::BmsGetPlayTime,          "BmsGetPlayTime",            K::Int,  0, {K::Int}},
        {CallId::BmsSetVideoPosition,     "BmsSetVideoPosition",       K::Int,  0, {}},
        {CallId::BmsSetCallback,          "BmsSetCallback",            K::Int,  0, {}},
        {CallId::BmsUnSetCallback,        "BmsUnSetCallback",          K::Int,  0, {}},
    }};
    // clang-format on
    return table;
}

template <typename T>
bool Reads(const Json::Value& json)
{
    T value{};
    return FromJson(json, value);
}

}  // namespace

const CallInfo& InfoOf(CallId id)
{
    return Table()[static_cast<std::size_t>(id)];
}

bool Fits(ValueKind kind, const Json::Value& value)
{
    switch (kind) {
        case K::Void:
            return value.isNull();
        case K::Int:
            return Reads<int>(value);
        case K::Bool:
            return Reads<bool>(value);
        case K::Text:
            return value.isString();
        case K::OptionalText:
            return value.isNull() || value.isString();
        case K::Interface:
            return value.isNull() || (value.isBool() && value.asBool());
        case K::Any:
            return true;
        case K::TvMode:
            return Reads<TSTvMode>(value);
        case K::Service:
            return Reads<TCServiceData>(value);
        case K::Services:
            return Reads<ServiceList>(value);
        case K::ServiceDescription:
            return Reads<ExtractedServiceInfomations>(value);
    }
    return false;
}

const char* Describe(ValueKind kind)
{
    switch (kind) {
        case K::Void:
            return "null";
        case K::Int:
            return "a whole number of 32 bits";
        case K::Bool:
            return "true or false";
        case K::Text:
            return "a string";
        case K::OptionalText:
            return "a string or null";
        case K::Interface:
            return "true or null";
        case K::Any:
            return "a value";
        case K::TvMode:
            return "an object {\"antennaMode\", \"serviceMode\"} of whole numbers";
        case K::Service:
            return "an object from field identifier to value";
        case K::Services:
            return "an array of services";
        case K::ServiceDescription:
            return "an object with the members of a service description";
    }
    return "";
}

}  // namespace tv
