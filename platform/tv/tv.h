// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <vector>

#include "core/calls.h"
#include "core/clock.h"
#include "core/delivery.h"
#include "core/journal.h"
#include "services/content/content_service.h"
#include "services/content/event_proxy.h"
#include "services/player/player_service.h"
#include "services/power/power_service.h"
#include "services/remote-control/remote_control.h"
#include "services/scope-tracing/scope_tracer.h"
#include "services/settings/settings_store.h"
#include "services/tv/signal_service.h"
#include "services/tv/tv_service.h"
#include "services/web-runtime/extension_system.h"
#include "tv/tv_config.h"
#include "zelumo-platform/export.h"

/// The TV that all stand-ins belong to: one in a process, there from the moment that its library is loaded,
/// and at first the sample TV. Any thread, unless something else is said.
namespace tv {

/// The services, in the order in which they are asked and their calls are listed.
ZELUMO_PLATFORM_API const std::vector<Service*>& Services();

/// The TV becomes that one: its channels, date and first-use state are as they are at its start.
ZELUMO_PLATFORM_API void LoadTv(const TvConfig& config);

/// The TV as it stands: channel, players, settings, subscriptions, watches, scripted answers, scheduled
/// verbs, `speed`, `time` (its date) and `playingTime`, both in milliseconds.
ZELUMO_PLATFORM_API Json::Value StateJson();

/// How many subscriptions, watches and registrations the services hold.
ZELUMO_PLATFORM_API std::size_t CountRegistrations();
/// Drops those that an instance left behind when it was destroyed, so that nothing calls into it any more,
/// and returns how many there were. A correct plug-in leaves none, unless scripted answers kept its calls
/// from having effect. Not inside a callback.
ZELUMO_PLATFORM_API std::size_t DropLeftovers();
/// How many DropLeftovers has dropped so far.
ZELUMO_PLATFORM_API std::size_t CountDroppedLeftovers();

}  // namespace tv
