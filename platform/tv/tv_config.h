#pragma once

#include <chrono>
#include <memory>

#include "services/content/content_service.h"
#include "services/player/streams.h"
#include "services/settings/settings_store.h"
#include "services/tv/line_up.h"
#include "services/web-runtime/extension_system.h"

namespace tv {

/// A TV as its file describes it: its date and what each service is told.
struct TvConfig {
    /// The date that the TV starts at, milliseconds since 1970-01-01T00:00:00Z.
    std::chrono::milliseconds date{0};
    std::shared_ptr<const LineUp> line_up = std::make_shared<const LineUp>();  ///< never null
    ContentConfig content;
    SettingsConfig settings;
    StreamsConfig streams;
    ExtensionConfig extension;
};

}  // namespace tv
