// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>

#include "core/calls.h"
#include "core/mutex.h"
#include "core/service.h"
#include "services/content/event_proxy.h"
#include "services/tv/line_up.h"
#include "tv-service/TVServiceAPI.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The TV's line-up and which of its channels it shows. Any thread.
class ZELUMO_PLATFORM_API TvService : public Service {
  public:
    /// The one of the process, never destroyed.
    static TvService& Get();

    /// `events` outlives this object.
    explicit TvService(EventProxyService& events);
    ~TvService() override;

    /// Takes over the line-up and shows the channel that it names, or its first, without any event. Before
    /// the first one there are no channels.
    void Load(const LineUp& line_up) EXCLUDES(mutex_);
    /// What was loaded last; not null.
    std::shared_ptr<const LineUp> line_up() const EXCLUDES(mutex_);

    // The interfaces, valid as long as this object.
    IServiceNavigation* navigation();
    ISourceControl* source_control();

    /// Leaves the channel that is shown, loads and enters the new one, and tells so by events. False, and
    /// nothing happens, when the line-up has no such channel.
    bool Tune(unsigned long long service_id) EXCLUDES(mutex_);
    /// Tunes `by` places on in the line-up, which has no end. False when it has no channels.
    bool Step(int by) EXCLUDES(mutex_);

    /// The fields that `criteria` ask for and the channel shown has. False when there is no channel.
    bool ReadCurrent(const TCCriteriaHelper& criteria, TCServiceData& service) const EXCLUDES(mutex_);
    /// The same for every channel, in the order of the line-up.
    ServiceList ReadAll(const TCCriteriaHelper& criteria) const EXCLUDES(mutex_);

    const CallTable* calls() const override;
    void AddState(Json::Value& state) const override EXCLUDES(mutex_);

    /// The channel shown, {"serviceId", "name", "major", "minor"}, or null.
    Json::Value CurrentJson() const EXCLUDES(mutex_);

  private:
    class Navigation;
    class SourceControl;

    void OnTuned();

    EventProxyService& events_;
    const std::unique_ptr<Navigation> navigation_;
    const std::unique_ptr<SourceControl> source_control_;
    mutable Mutex mutex_{LockLevel::Service};
    std::shared_ptr<const LineUp> line_up_ GUARDED_BY(mutex_);
    std::size_t current_ GUARDED_BY(mutex_) = 0;  ///< the place in the line-up, which may be empty
};

}  // namespace tv
