// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "services/content/content_service.h"
#include "services/player/player_service.h"
#include "services/player/streams.h"
#include "services/remote-control/remote_control.h"
#include "services/settings/settings_store.h"
#include "services/tv/line_up.h"
#include "services/tv/tv_service.h"
#include "services/web-runtime/extension_system.h"

namespace tv {

/// A TV as its file describes it: its date and what each service is told.
struct TvConfig {
    /// The date that the TV starts at, milliseconds since 1970-01-01T00:00:00Z.
    std::chrono::milliseconds date{0};
    LineUp line_up;
    ContentConfig content;
    SettingsConfig settings;
    StreamsConfig streams;
    ExtensionConfig extension;
    RemoteControlConfig remote_control;

    /// Calls `ask(section, service)` for each section and the service that it is for, in the order of
    /// reading.
    template <typename Config, typename Ask>
    static void ForEachSection(Config& config, Ask ask)
    {
        ask(config.line_up, TvService::Get());
        ask(config.content, ContentService::Get());
        ask(config.settings, SettingsStore::Get());
        ask(config.streams, PlayerService::Get());
        ask(config.extension, ExtensionSystem::Get());
        ask(config.remote_control, RemoteControl::Get());
    }
};

}  // namespace tv
