#pragma once

#include <json/value.h>

#include <list>
#include <memory>
#include <mutex>

#include "services/content/event_proxy.h"
#include "services/tv/tv_service_json.h"
#include "tv-service/TVServiceAPI.h"
#include "tv/tv_config.h"

namespace tv {

/// The TV's line-up and which of its channels it shows. Any thread.
class PLATFORM_API TvService {
  public:
    /// `events` outlives this object.
    explicit TvService(EventProxyService& events);
    ~TvService();

    /// Takes over the line-up and shows the channel that it names, or its first, without any event. `config`
    /// is not null. Before the first one there are no channels.
    void Load(std::shared_ptr<const TvConfig> config);

    // The interfaces, valid as long as this object.
    IServiceNavigation* navigation();
    ISourceControl* source_control();

    /// Leaves the channel that is shown, loads and enters the new one, and tells so by events. False, and
    /// nothing happens, when the line-up has no such channel.
    bool Tune(unsigned long long service_id);
    /// Tunes `by` places on in the line-up, which has no end. False when it has no channels.
    bool Step(int by);

    /// The fields in `fetch` that the channel shown has. False when there is no channel.
    bool ReadCurrent(const std::vector<int>& fetch, TCServiceData& service) const;
    /// The same for every channel, in the order of the line-up.
    ServiceList ReadAll(const std::vector<int>& fetch) const;

    TSTvMode mode() const { return config()->tv_mode; }
    TvConfig::Source source() const { return config()->source; }

    /// The channel shown, {"serviceId", "name", "major", "minor"}, or null.
    Json::Value CurrentJson() const;

  private:
    class Navigation;
    class SourceControl;

    std::shared_ptr<const TvConfig> config() const;
    void OnTuned();

    EventProxyService& events_;
    const std::unique_ptr<Navigation> navigation_;
    const std::unique_ptr<SourceControl> source_control_;
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::shared_ptr<const TvConfig> config_;
    std::size_t current_ = 0;  ///< the place in the line-up, which may be empty
};

}  // namespace tv
