// SPDX-License-Identifier: Apache-2.0
#include "core/calls.h"
#include "core/clock.h"
#include "core/form.h"
#include "services/content/content_service.h"
#include "services/content/service_description.h"

FIVirtualChannelsAPI::~FIVirtualChannelsAPI() = default;
FIZELumoAPI::~FIZELumoAPI() = default;

namespace tv {
namespace {

struct ContentCalls : CallTable {
    using Text = Call<bool(std::string), Out<std::string>>;

    Call<Availability()> get_virtual_channels_api{*this, "FCAPI::GetVirtualChannelsAPI", {true}};
    Call<Availability()> get_zelumo_api{*this, "FCAPI::GetZELumoAPI", {true}};
    Text get_program_list{*this, "FIVirtualChannelsAPI::GetProgramList", true};
    Text get_program{*this, "FIVirtualChannelsAPI::GetProgram", true};
    Text get_present_program{*this, "FIVirtualChannelsAPI::GetPresentProgram", true};
    Text get_channel_logo{*this, "FIVirtualChannelsAPI::GetChannelLogo", true};
    Text get_program_thumbnail{*this, "FIVirtualChannelsAPI::GetProgramThumbnail", true};
    Text get_program_background{*this, "FIVirtualChannelsAPI::GetProgramBackground", true};
    Text set_on_demand_program{*this, "FIVirtualChannelsAPI::SetOnDemandProgram", true};
    Text unset_on_demand_program{*this, "FIVirtualChannelsAPI::UnsetOnDemandProgram", true};
    Text get_on_demand_identifier{*this, "FIVirtualChannelsAPI::GetOnDemandIdentifier", true};
    Text get_vc_config{*this, "FIVirtualChannelsAPI::GetVCConfig", true};
    Text get_featured_virtual_channel_info{*this, "FIVirtualChannelsAPI::GetFeaturedVirtualChannelInfo",
                                           true};
    Text get_service_id{*this, "FIVirtualChannelsAPI::GetServiceIdFromOnTVProviderAndService", true};
    Call<bool()> get_viewing_agreement{*this, "FIVirtualChannelsAPI::GetViewingAgreement", true};
    Call<bool(), Out<std::string>> program_info_is_available{
        *this, "FIVirtualChannelsAPI::ProgramInfoIsAvailable", true};
    Call<bool()> restart_zelumo_info{*this, "FIVirtualChannelsAPI::RestartZelumoInfo", true};
    Call<bool(DecimalId), Out<ExtractedServiceInfomations>> extract_service_informations{
        *this, "FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId", true};
    Call<bool()> launched_zelumo_web_app{*this, "FIZELumoAPI::LaunchedZELumoWebApp", true};
    Call<bool(), Out<std::string>, Out<std::string>> get_app_id_and_url{*this, "FIZELumoAPI::GetAppIDAndURL",
                                                                        true};
    Call<bool()> check_is_first_booting{*this, "FIZELumoAPI::CheckIsFirstBootingInZELumo", true};
    Call<bool()> is_first_entry{*this, "FIZELumoAPI::IsFirstEntryToZelumo", true};
    Call<bool(), Out<bool>, Out<bool>> check_first_boot{*this, "FIZELumoAPI::CheckFirstBootInZELumo", true};
    Call<bool()> is_instant_on{*this, "FIZELumoAPI::IsInstantOn", true};
};

const ContentCalls& LibraryCalls()
{
    return TheTable<ContentCalls>();
}

}  // namespace

class ContentService::VirtualChannels : public FIVirtualChannelsAPI {
  public:
    explicit VirtualChannels(ContentService& service) : service_(service) {}

    bool GetProgramList(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramList>(LibraryCalls().get_program_list, request, response);
    }
    bool GetProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgram>(LibraryCalls().get_program, request, response);
    }
    bool GetPresentProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetPresentProgram>(LibraryCalls().get_present_program, request, response);
    }
    bool GetChannelLogo(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetChannelLogo>(LibraryCalls().get_channel_logo, request, response);
    }
    bool GetProgramThumbnail(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramThumbnail>(LibraryCalls().get_program_thumbnail, request,
                                                         response);
    }
    bool GetProgramBackground(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetProgramBackground>(LibraryCalls().get_program_background, request,
                                                          response);
    }
    bool SetOnDemandProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::SetOnDemandProgram>(LibraryCalls().set_on_demand_program, request,
                                                        response);
    }
    bool UnsetOnDemandProgram(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::UnsetOnDemandProgram>(LibraryCalls().unset_on_demand_program, request,
                                                          response);
    }
    bool GetOnDemandIdentifier(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetOnDemandIdentifier>(LibraryCalls().get_on_demand_identifier, request,
                                                           response);
    }
    bool GetVCConfig(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetVCConfig>(LibraryCalls().get_vc_config, request, response);
    }
    bool GetFeaturedVirtualChannelInfo(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetFeaturedVirtualChannelInfo>(
            LibraryCalls().get_featured_virtual_channel_info, request, response);
    }
    bool GetServiceIdFromOnTVProviderAndService(const std::string& request, std::string& response) override
    {
        return Ask<&ContentService::GetServiceIdFromOnTVProviderAndService>(LibraryCalls().get_service_id,
                                                                            request, response);
    }
    bool GetViewingAgreement() override
    {
        return LibraryCalls().get_viewing_agreement([&] { return service_.first_use().viewing_agreement; });
    }
    bool ProgramInfoIsAvailable(std::string& response) override
    {
        return LibraryCalls().program_info_is_available(
            Out(&response), [&](auto& out) { return Give(service_.ProgramInfoIsAvailable(), out); });
    }
    bool RestartZelumoInfo() override
    {
        return LibraryCalls().restart_zelumo_info([&] {
            service_.Restart();
            return true;
        });
    }
    bool ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                 ExtractedServiceInfomations& info) override
    {
        return LibraryCalls().extract_service_informations(DecimalId{serviceId}, Out(&info), [&](auto& out) {
            return Give(service_.DescribeService(serviceId), out);
        });
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
    bool Ask(const ContentCalls::Text& call, const std::string& request, std::string& response)
    {
        return call(request, Out(&response),
                    [&](auto& out) { return Give((service_.*question)(request), out); });
    }

    ContentService& service_;  // owns this object
};

class ContentService::ZelumoApi : public FIZELumoAPI {
  public:
    explicit ZelumoApi(ContentService& service) : service_(service) {}

    bool LaunchedZELumoWebApp() override
    {
        return LibraryCalls().launched_zelumo_web_app([&] {
            service_.SetLaunched();
            return true;
        });
    }
    bool GetAppIDAndURL(std::string& appID, std::string& url) override
    {
        return LibraryCalls().get_app_id_and_url(Out(&appID), Out(&url), [&](auto& out_id, auto& out_url) {
            const ContentConfig::Application application = service_.application();
            out_id.Set(application.id);
            out_url.Set(application.url);
            return true;
        });
    }
    bool CheckIsFirstBootingInZELumo() override
    {
        return LibraryCalls().check_is_first_booting([&] { return service_.first_use().first_boot; });
    }
    bool IsFirstEntryToZelumo() override
    {
        return LibraryCalls().is_first_entry([&] { return service_.first_use().first_entry; });
    }
    bool CheckFirstBootInZELumo(bool& isFirstEntry, bool& isInstantOn) override
    {
        return LibraryCalls().check_first_boot(
            Out(&isFirstEntry), Out(&isInstantOn), [&](auto& out_entry, auto& out_instant) {
                const ContentConfig::FirstUse first_use = service_.first_use();
                out_entry.Set(first_use.first_entry);
                out_instant.Set(first_use.instant_on);
                return true;
            });
    }
    bool IsInstantOn() override
    {
        return LibraryCalls().is_instant_on([&] { return service_.first_use().instant_on; });
    }

  private:
    ContentService& service_;  // owns this object
};

ContentService& ContentService::Get()
{
    static ContentService& service = *new ContentService(TheClock());
    return service;
}

ContentService::ContentService(const Clock& clock)
    : clock_(clock),
      virtual_channels_(std::make_unique<VirtualChannels>(*this)),
      zelumo_(std::make_unique<ZelumoApi>(*this))
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

const CallTable* ContentService::calls() const
{
    return &LibraryCalls();
}

}  // namespace tv

FIVirtualChannelsAPI* FCAPI::GetVirtualChannelsAPI()
{
    tv::ContentService& content = tv::ContentService::Get();
    return tv::CallForInterface(tv::LibraryCalls().get_virtual_channels_api, content.virtual_channels(),
                                [&] { return content.available(); });
}

FIZELumoAPI* FCAPI::GetZELumoAPI()
{
    tv::ContentService& content = tv::ContentService::Get();
    return tv::CallForInterface(tv::LibraryCalls().get_zelumo_api, content.zelumo(),
                                [&] { return content.available(); });
}
