// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "content-service/FCAPI.h"
#include "core/calls.h"
#include "core/clock.h"
#include "core/json_node.h"
#include "core/mutex.h"
#include "core/service.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The sections "contentService", "firstUse" and "application" of a TV file. Texts are UTF-8.
struct ZELUMO_PLATFORM_API ContentConfig {
    bool available = true;
    std::string version;
    std::string country;
    struct FirstUse {
        bool first_boot = true;
        bool first_entry = true;
        bool instant_on = false;
        bool viewing_agreement = false;
    } first_use;
    struct Application {
        std::string id;
        std::string url;
    } application;

    void Read(JsonObject& file);
};

/// The programme guide, the on-demand marks and the first-use state of the TV. Requests and answers are
/// JSON texts; an operation gives no answer when its request can't be read or names something that does
/// not exist. Any thread.
class ZELUMO_PLATFORM_API ContentService : public Service {
  public:
    /// The one of the process, never destroyed.
    static ContentService& Get();

    using Answer = std::optional<std::string>;

    /// `clock` outlives this object.
    explicit ContentService(const Clock& clock);
    ~ContentService() override;

    /// Takes over the first-use state; all on-demand marks are gone.
    void Load(const ContentConfig& config) EXCLUDES(mutex_);

    bool available() const EXCLUDES(mutex_);
    // The interfaces, valid as long as this object, whether or not the service is available.
    FIVirtualChannelsAPI* virtual_channels();
    FIZELumoAPI* zelumo();

    Answer GetProgramList(const std::string& request) const;
    Answer GetProgram(const std::string& request) const;
    Answer GetPresentProgram(const std::string& request) const;
    Answer GetChannelLogo(const std::string& request) const;
    Answer GetProgramThumbnail(const std::string& request) const;
    Answer GetProgramBackground(const std::string& request) const;
    Answer SetOnDemandProgram(const std::string& request) EXCLUDES(mutex_);
    Answer UnsetOnDemandProgram(const std::string& request) EXCLUDES(mutex_);
    Answer GetOnDemandIdentifier(const std::string& request) const;
    Answer GetVCConfig(const std::string& request) const EXCLUDES(mutex_);
    Answer GetFeaturedVirtualChannelInfo(const std::string& request) const;
    Answer GetServiceIdFromOnTVProviderAndService(const std::string& request) const;
    Answer ProgramInfoIsAvailable() const;

    std::optional<ExtractedServiceInfomations> DescribeService(unsigned long long service_id) const;

    ContentConfig::FirstUse first_use() const EXCLUDES(mutex_);
    /// The page was started: what comes now is no first boot and no first entry any more.
    void SetLaunched() EXCLUDES(mutex_);
    /// As if the page had never been started; on-demand marks are gone.
    void Restart() EXCLUDES(mutex_);
    ContentConfig::Application application() const EXCLUDES(mutex_);

    const CallTable* calls() const override;

  private:
    class VirtualChannels;
    class ZelumoApi;

    /// The answer that `fill(programme, answer)` makes for the programme that the request names.
    template <typename Fill>
    Answer OfProgram(const std::string& request, Fill fill) const;

    const Clock& clock_;
    const std::unique_ptr<VirtualChannels> virtual_channels_;
    const std::unique_ptr<ZelumoApi> zelumo_;
    mutable Mutex mutex_{LockLevel::Service};
    ContentConfig config_ GUARDED_BY(mutex_);             ///< first use as it stands now
    std::set<std::string> on_demand_ GUARDED_BY(mutex_);  ///< ids of the marked programmes
};

}  // namespace tv
