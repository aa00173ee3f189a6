#pragma once

#include <json/value.h>

#include <cstddef>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {

/// Every call that the plug-in can make to the platform, in the order of the call table.
enum class CallId : std::size_t {
    // Scope tracing
    HtRegisterLibrary,
    HtDeregisterLibrary,
    // Web runtime
    RegisterMessageHandler,
    GetEmbedderName,
    GetCurrentExtensionInfo,
    GenericSyncCall,
    // Power service
    SubscribePoweroff,
    UnsubscribePoweroff,
    // Content service
    GetVirtualChannelsApi,
    GetZelumoApi,
    GetProgramList,
    GetProgram,
    GetPresentProgram,
    GetChannelLogo,
    GetProgramThumbnail,
    GetProgramBackground,
    SetOnDemandProgram,
    UnsetOnDemandProgram,
    GetOnDemandIdentifier,
    GetVcConfig,
    GetFeaturedVirtualChannelInfo,
    GetServiceIdFromOnTvProviderAndService,
    GetViewingAgreement,
    ProgramInfoIsAvailable,
    RestartZelumoInfo,
    ExtractServiceInformations,
    LaunchedZelumoWebApp,
    GetAppIdAndUrl,
    CheckIsFirstBooting,
    IsFirstEntry,
    CheckFirstBoot,
    IsInstantOn,
    // The content service's event proxy
    GetIpcConnection,
    GetEventProxy,
    SubscribeEvent,
    UnsubscribeEvent,
    // TV service
    CreateServiceNavigation,
    CreateSourceControl,
    CreateSignalSubscriber,
    SubscribeSignal,
    UnsubscribeSignal,
    GetNavigationCriteria,
    NavigationTuneService,
    GetTvMode,
    GetCurrentService,
    SetNextService,
    SetPreviousService,
    GetServiceList,
    SourceTuneService,
    GetSourceFlag,
    GetSourceValue,
    // Settings store
    VconfSetStr,
    VconfSetInt,
    VconfSetBool,
    VconfGetStr,
    VconfGetInt,
    VconfGetBool,
    VconfNotifyKeyChanged,
    VconfIgnoreKeyChanged,
    // Player service
    BmsCreatePlayer,
    BmsPlay,
    BmsPause,
    BmsResume,
    BmsStop,
    BmsResumeLive,
    BmsSeek,
    BmsGetPlayTime,
    BmsSetVideoPosition,
    BmsSetCallback,
    BmsUnSetCallback,
    Count
};

constexpr std::size_t kCallCount = static_cast<std::size_t>(CallId::Count);

/// What a result or an out argument is, and so what an answer may give for it.
enum class ValueKind {
    Void,                ///< no result; null
    Int,                 ///< 32-bit number
    Bool,                ///< true or false
    Text,                ///< string
    OptionalText,        ///< string or null
    Interface,           ///< true, or null for none
    Any,                 ///< any JSON value
    TvMode,              ///< {antennaMode, serviceMode}
    Service,             ///< object from field identifier to value
    Services,            ///< array of services
    ServiceDescription,  ///< what a service id stands for
};

struct CallInfo {
    CallId id;
    const char* name;  ///< as the journal and the `answer` verb write it
    ValueKind result;
    Json::Value success;  ///< the usual result of a call that succeeds
    std::vector<ValueKind> out;
};

/// The row of a call, not of Count; valid for the life of the process. All of these on any thread.
PLATFORM_API const CallInfo& InfoOf(CallId id);

/// Whether an answer may give `value` where `kind` is asked for.
PLATFORM_API bool Fits(ValueKind kind, const Json::Value& value);
/// What `kind` takes, for messages: "a whole number of 32 bits".
PLATFORM_API const char* Describe(ValueKind kind);

}  // namespace tv
