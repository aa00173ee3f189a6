#pragma once

#include <json/value.h>

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "content-service/FCAPI.h"
#include "core/clock.h"
#include "tv/tv_config.h"

namespace tv {

/// The programme guide, the on-demand marks and the first-use state of the TV. Requests and answers are
/// JSON texts; an operation gives no answer when its request can't be read or names something that does
/// not exist. Any thread.
class PLATFORM_API ContentService {
  public:
    using Answer = std::optional<std::string>;

    /// `clock` outlives this object.
    explicit ContentService(const Clock& clock);
    ~ContentService();

    /// Takes over the line-up and the first-use state; all on-demand marks are gone. `config` is not null.
    /// Before the first one there are no channels.
    void Load(std::shared_ptr<const TvConfig> config);

    bool available() const { return snapshot().config->content_service.available; }
    // The interfaces, valid as long as this object, whether or not the service is available.
    FIVirtualChannelsAPI* virtual_channels();
    FIZELumoAPI* zelumo();

    Answer GetProgramList(const std::string& request) const;
    Answer GetProgram(const std::string& request) const;
    Answer GetPresentProgram(const std::string& request) const;
    Answer GetChannelLogo(const std::string& request) const;
    Answer GetProgramThumbnail(const std::string& request) const;
    Answer GetProgramBackground(const std::string& request) const;
    Answer SetOnDemandProgram(const std::string& request);
    Answer UnsetOnDemandProgram(const std::string& request);
    Answer GetOnDemandIdentifier(const std::string& request) const;
    Answer GetVCConfig(const std::string& request) const;
    Answer GetFeaturedVirtualChannelInfo(const std::string& request) const;
    Answer GetServiceIdFromOnTVProviderAndService(const std::string& request) const;
    Answer ProgramInfoIsAvailable() const;

    std::optional<ExtractedServiceInfomations> DescribeService(unsigned long long service_id) const;

    TvConfig::FirstUse first_use() const { return snapshot().first_use; }
    /// The page was started: what comes now is no first boot and no first entry any more.
    void SetLaunched();
    /// As if the page had never been started; on-demand marks are gone.
    void Restart();
    TvConfig::Application application() const { return snapshot().config->application; }

  private:
    class VirtualChannels;
    class ZelumoApi;

    struct Snapshot {
        std::shared_ptr<const TvConfig> config;
        TvConfig::FirstUse first_use;
    };
    Snapshot snapshot() const;

    const Clock& clock_;
    const std::unique_ptr<VirtualChannels> virtual_channels_;
    const std::unique_ptr<ZelumoApi> zelumo_;
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::shared_ptr<const TvConfig> config_;
    TvConfig::FirstUse first_use_;
    std::set<std::string> on_demand_;  ///< ids of the marked programmes
};

}  // namespace tv
