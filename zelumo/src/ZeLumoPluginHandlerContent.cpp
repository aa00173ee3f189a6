// SPDX-License-Identifier: Apache-2.0
#include "ZeLumoPluginHandler.h"

namespace {

/// Calls an operation of an interface that is fetched for this call; false without the interface.
template <typename Interface, typename... Parameters, typename... Arguments>
bool Forward(Interface* interface, bool (Interface::*operation)(Parameters...), Arguments&... arguments)
{
    return interface != nullptr && (interface->*operation)(arguments...);
}

}  // namespace

bool CZeLumoPluginHandler::ZELumo_GetProgram(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetProgram, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetProgramList(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetProgramList, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetPresentProgram(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetPresentProgram, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetChannelLogo(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetChannelLogo, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetProgramThumbnail(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetProgramThumbnail, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetProgramBackground(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetProgramBackground, input,
                   output);
}

bool CZeLumoPluginHandler::ZELumo_SetOnDemandProgram(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::SetOnDemandProgram, input, output);
}

bool CZeLumoPluginHandler::ZELumo_UnsetOnDemandProgram(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::UnsetOnDemandProgram, input,
                   output);
}

bool CZeLumoPluginHandler::ZELumo_GetOnDemandIdentifier(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetOnDemandIdentifier, input,
                   output);
}

bool CZeLumoPluginHandler::ZELumo_GetVCConfig(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetVCConfig, input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetFeaturedVirtualChannelInfo(std::string& input, std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetFeaturedVirtualChannelInfo,
                   input, output);
}

bool CZeLumoPluginHandler::ZELumo_GetServiceIdFromOnTVProviderAndService(std::string& input,
                                                                         std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(),
                   &FIVirtualChannelsAPI::GetServiceIdFromOnTVProviderAndService, input, output);
}

bool CZeLumoPluginHandler::ZELumoProgramInfoIsAvailable(std::string& output)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::ProgramInfoIsAvailable, output);
}

bool CZeLumoPluginHandler::GetViewingAgreement()
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::GetViewingAgreement);
}

bool CZeLumoPluginHandler::RestartZelumoInfo()
{
    return Forward(FCAPI::GetVirtualChannelsAPI(), &FIVirtualChannelsAPI::RestartZelumoInfo);
}

bool CZeLumoPluginHandler::ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                                   ExtractedServiceInfomations& info)
{
    return Forward(FCAPI::GetVirtualChannelsAPI(),
                   &FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId, serviceId, info);
}

bool CZeLumoPluginHandler::LaunchedZELumoWebApp()
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::LaunchedZELumoWebApp);
}

bool CZeLumoPluginHandler::GetAppIDAndURL(std::string& appID, std::string& URL)
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::GetAppIDAndURL, appID, URL);
}

bool CZeLumoPluginHandler::CheckIsFirstBootingInZELumo()
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::CheckIsFirstBootingInZELumo);
}

bool CZeLumoPluginHandler::IsFirstEntryToZelumo()
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::IsFirstEntryToZelumo);
}

bool CZeLumoPluginHandler::CheckFirstBootInZELumo(bool& isFirstEntry, bool& isInstantOn)
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::CheckFirstBootInZELumo, isFirstEntry, isInstantOn);
}

bool CZeLumoPluginHandler::IsInstantOn()
{
    return Forward(FCAPI::GetZELumoAPI(), &FIZELumoAPI::IsInstantOn);
}
