// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "zelumo-platform/export.h"

/// Interfaces of the content service. The library owns them; they may be used on any thread. A text
/// operation reads `request`, overwrites `response` and returns true, or returns false and leaves the
/// response as it is; what the texts mean is between the page and the content service.

/// What a service id stands for.
struct ExtractedServiceInfomations {
    unsigned long long serviceId = 0;
    bool isForDirectTune = false;
    int channelType = -1;
    unsigned short channelNumber = 0;
    int serviceProfile = -1;
    unsigned short major = 0;
    unsigned short minor = 0;
    unsigned short programNumber = 0;
};

/// The streaming service's channels: programmes, pictures and on-demand marks.
class ZELUMO_PLATFORM_API FIVirtualChannelsAPI {
  public:
    virtual bool GetProgramList(const std::string& request, std::string& response) = 0;
    virtual bool GetProgram(const std::string& request, std::string& response) = 0;
    virtual bool GetPresentProgram(const std::string& request, std::string& response) = 0;
    virtual bool GetChannelLogo(const std::string& request, std::string& response) = 0;
    virtual bool GetProgramThumbnail(const std::string& request, std::string& response) = 0;
    virtual bool GetProgramBackground(const std::string& request, std::string& response) = 0;
    virtual bool SetOnDemandProgram(const std::string& request, std::string& response) = 0;
    virtual bool UnsetOnDemandProgram(const std::string& request, std::string& response) = 0;
    virtual bool GetOnDemandIdentifier(const std::string& request, std::string& response) = 0;
    virtual bool GetVCConfig(const std::string& request, std::string& response) = 0;
    virtual bool GetFeaturedVirtualChannelInfo(const std::string& request, std::string& response) = 0;
    virtual bool GetServiceIdFromOnTVProviderAndService(const std::string& request,
                                                        std::string& response) = 0;
    /// Whether the viewer has agreed to the use of viewing data.
    virtual bool GetViewingAgreement() = 0;
    virtual bool ProgramInfoIsAvailable(std::string& response) = 0;
    /// From now on it is as if the page had never been started.
    virtual bool RestartZelumoInfo() = 0;
    /// False, `info` untouched, for a service that is not known.
    virtual bool ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                         ExtractedServiceInfomations& info) = 0;

  protected:
    virtual ~FIVirtualChannelsAPI();
};

/// The page as an application, and the first use of it.
class ZELUMO_PLATFORM_API FIZELumoAPI {
  public:
    /// Says that the page was started: from now on neither boot nor entry is the first one.
    virtual bool LaunchedZELumoWebApp() = 0;
    /// False, nothing written, on failure.
    virtual bool GetAppIDAndURL(std::string& appID, std::string& url) = 0;
    virtual bool CheckIsFirstBootingInZELumo() = 0;
    virtual bool IsFirstEntryToZelumo() = 0;
    /// False, nothing written, on failure.
    virtual bool CheckFirstBootInZELumo(bool& isFirstEntry, bool& isInstantOn) = 0;
    virtual bool IsInstantOn() = 0;

  protected:
    virtual ~FIZELumoAPI();
};

class ZELUMO_PLATFORM_API FCAPI {
  public:
    // Any thread. Null while the content service is not available; else valid for the life of the process.
    static FIVirtualChannelsAPI* GetVirtualChannelsAPI();
    static FIZELumoAPI* GetZELumoAPI();
};
