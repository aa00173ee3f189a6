#include "core/calls.h"
#include "services/content/content_service.h"

FIVirtualChannelsAPI::~FIVirtualChannelsAPI() = default;
FIZELumoAPI::~FIZELumoAPI() = default;

namespace tv {

class ContentService::VirtualChannels : public FIVirtualChannelsAPI {
  public:
    explicit VirtualChannels(ContentService& service) : service_(service) {}

    bool GetProgramList(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramList>(CallId::GetProgramList, request, response);
    }
    bool GetProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgram>(CallId::GetProgram, request, response);
    }
    bool GetPresentProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetPresentProgram>(CallId::GetPresentProgram, request, response);
    }
    bool GetChannelLogo(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetChannelLogo>(CallId::GetChannelLogo, request, response);
    }
    bool GetProgramThumbnail(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramThumbnail>(CallId::GetProgramThumbnail, request, response);
    }
    bool GetProgramBackground(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramBackground>(CallId::GetProgramBackground, request, response);
    }
    bool SetOnDemandProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::SetOnDemandProgram>(CallId::SetOnDemandProgram, request, response);
    }
    bool UnsetOnDemandProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::UnsetOnDemandProgram>(CallId::UnsetOnDemandProgram, request, response);
    }
    bool GetOnDemandIdentifier(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetOnDemandIdentifier>(CallId::GetOnDemandIdentifier, request, response);
    }
    bool GetVCConfig(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetVCConfig>(CallId::GetVcConfig, request, response);
    }
    bool GetFeaturedVirtualChannelInfo(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetFeaturedVirtualChannelInfo>(CallId::GetFeaturedVirtualChannelInfo,
                                                                   request, response);
    }
    bool GetServiceIdFromOnTVProviderAndService(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetServiceIdFromOnTVProviderAndService>(
            CallId::GetServiceIdFromOnTvProviderAndService, request, response);
    }
    bool GetViewingAgreement() override
    {
        return Call<bool>(CallId::GetViewingAgreement, std::tuple<>(),
                          [&] { return service_.first_use().viewing_agreement; });
    }
    bool ProgramInfoIsAvailable(std::string& response) override
    {
        Out<std::string> out(&response);
        return Call<bool>(
            CallId::ProgramInfoIsAvailable, std::tuple<>(),
            [&] { return Give(service_.ProgramInfoIsAvailable(), out); }, out);
    }
    bool RestartZelumoInfo() override
    {
        return Call<bool>(CallId::RestartZelumoInfo, std::tuple<>(), [&] {
            service_.Restart();
            return true;
        });
    }
    bool ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                 ExtractedServiceInfomations& info) override
    {
        Out<ExtractedServiceInfomations> out(&info);
        return Call<bool>(
            CallId::ExtractServiceInformations, std::make_tuple(DecimalId{serviceId}),
            [&] { return Give(service_.DescribeService(serviceId), out); }, out);
    }

  private:
    template <typename T>
    static bool Give(std::optional<T> answer, Out<T>& out)
    {
        if (answer)
            out.Set(std::move(*answer));
        return answer.has_value();
    }
    template <auto question>
    bool Ask(CallId id, const std::string& request, std::string& response)
    {
        Out<std::string> out(&response);
        return Call<bool>(
            id, std::tie(request), [&] { return Give((service_.*question)(request), out); }, out);
    }

    ContentService& service_;  // owns this object
};

class ContentService::ZelumoApi : public FIZELumoAPI {
  public:
    explicit ZelumoApi(ContentService& service) : service_(service) {}

    bool LaunchedZELumoWebApp() override
    {
        return Call<bool>(CallId::LaunchedZelumoWebApp, std::tuple<>(), [&] {
            service_.SetLaunched();
            return true;
        });
    }
    bool GetAppIDAndURL(std::string& appID, std::string& url) override
    {
        Out<std::string> out_id(&appID);
        Out<std::string> out_url(&url);
        return Call<bool>(
            CallId::GetAppIdAndUrl, std::tuple<>(),
            [&] {
                const TvConfig::Application application = service_.application();
                out_id.Set(application.id);
                out_url.Set(application.url);
                return true;
            },
            out_id, out_url);
    }
    bool CheckIsFirstBootingInZELumo() override
    {
        return Call<bool>(CallId::CheckIsFirstBooting, std::tuple<>(),
                          [&] { return service_.first_use().first_boot; });
    }
    bool IsFirstEntryToZelumo() override
    {
        return Call<bool>(CallId::IsFirstEntry, std::tuple<>(),
                          [&] { return service_.first_use().first_entry; });
    }
    bool CheckFirstBootInZELumo(bool& isFirstEntry, bool& isInstantOn) override
    {
        Out<bool> out_entry(&isFirstEntry);
        Out<bool> out_instant(&isInstantOn);
        return Call<bool>(
            CallId::CheckFirstBoot, std::tuple<>(),
            [&] {
                const TvConfig::FirstUse first_use = service_.first_use();
                out_entry.Set(first_use.first_entry);
                out_instant.Set(first_use.instant_on);
                return true;
            },
            out_entry, out_instant);
    }
    bool IsInstantOn() override
    {
        return Call<bool>(CallId::IsInstantOn, std::tuple<>(),
                          [&] { return service_.first_use().instant_on; });
    }

  private:
    ContentService& service_;  // owns this object
};

ContentService::ContentService(const Clock& clock)
    : clock_(clock),
      virtual_channels_(std::make_unique<VirtualChannels>(*this)),
      zelumo_(std::make_unique<ZelumoApi>(*this)),
      config_(std::make_shared<const TvConfig>())
{}

ContentService::~ContentService() = default;

FIVirtualChannelsAPI* ContentService::virtual_channels()
{
    return virtual_channels_.get();
}

FIZELumoAPI* ContentService::zelumo()
{
    return zelumo_.get();
}

}  // namespace tv
