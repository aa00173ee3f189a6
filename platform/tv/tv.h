#pragma once

#include <atomic>
#include <cstddef>

#include "core/calls.h"
#include "core/clock.h"
#include "core/delivery.h"
#include "core/journal.h"
#include "services/content/content_service.h"
#include "services/content/event_proxy.h"
#include "services/player/player_service.h"
#include "services/power/power_service.h"
#include "services/scope-tracing/scope_tracer.h"
#include "services/scope-tracing/trace_libraries.h"
#include "services/settings/settings_store.h"
#include "services/tv/signal_service.h"
#include "services/tv/tv_service.h"
#include "services/web-runtime/extension_system.h"
#include "tv/tv_config.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The one TV of the process, which all stand-ins belong to. Any thread, unless a part says otherwise.
class PLATFORM_API Tv {
  public:
    /// Made by the first call, and never destroyed.
    static Tv& Get();

    Journal& journal() { return journal_; }
    Calls& calls() { return calls_; }
    Clock& clock() { return clock_; }
    Deliveries& deliveries() { return deliveries_; }
    TraceLibraries& trace_libraries() { return trace_libraries_; }
    ExtensionSystem& extension() { return extension_; }
    ScopeTracer& tracer() { return tracer_; }
    PowerService& power() { return power_; }
    EventProxyService& event_proxy() { return event_proxy_; }
    SignalService& signals() { return signals_; }
    SettingsStore& settings() { return settings_; }
    PlayerService& player() { return player_; }
    TvService& tv_service() { return tv_service_; }
    ContentService& content() { return content_; }

    /// Becomes that TV: its channels, date and first-use state are as they are at its start. At first it is
    /// the sample TV.
    void Load(const TvConfig& config);

    /// The TV as it stands: channel, players, settings, subscriptions, watches, scripted answers, `time` (its
    /// date) and `playingTime`, both in milliseconds.
    Json::Value StateJson() const;

    /// How many subscriptions, watches and registrations the services hold.
    std::size_t CountRegistrations() const;
    /// Drops those that an instance left behind when it was destroyed, so that nothing calls into it any
    /// more, and returns how many there were. A correct plug-in leaves none, unless scripted answers kept
    /// its calls from having effect.
    std::size_t DropLeftovers();
    /// How many DropLeftovers has dropped so far.
    std::size_t leftovers() const { return leftovers_; }

  private:
    Tv();

    std::atomic<std::size_t> leftovers_{0};
    Journal journal_;
    Calls calls_{journal_};
    Clock clock_;
    Deliveries deliveries_;
    TraceLibraries trace_libraries_;
    ExtensionSystem extension_;
    ScopeTracer tracer_{trace_libraries_};
    PowerService power_;
    EventProxyService event_proxy_{deliveries_};
    SignalService signals_;
    SettingsStore settings_{deliveries_};
    PlayerService player_{clock_, deliveries_};
    TvService tv_service_{event_proxy_};
    ContentService content_{clock_};
};

}  // namespace tv
