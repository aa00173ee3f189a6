#pragma once

#include <json/value.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "services/settings/settings_store.h"
#include "tv-service/TCServiceData.h"
#include "tv-service/TVServiceTypes.h"

/// A TV as its file describes it. All texts are UTF-8. Plain data: not changed any more once it is shared.
namespace tv {

/// What can be on.
struct ProgramText {
    std::string title;
    std::string synopsis;
    std::string genre;
    std::string identifier;  ///< where it is found on demand; empty: made from the programme's id
};

struct GuideEntry {
    ProgramText text;
    std::chrono::minutes length{30};
};

struct ChannelConfig {
    unsigned long long id = 0;
    TCServiceData service;  ///< the fields that the channel has; the service id is always there
    std::string name;
    std::string provider;
    std::string provider_service;  ///< the provider's name for the channel
    std::string logo;              ///< a URL; empty: one is drawn
    int channel_type = -1;
    int profile = -1;
    bool direct_tune = true;
    std::string genre;              ///< of the programmes that are on; empty: of any
    std::vector<GuideEntry> guide;  ///< runs round and round; empty: a schedule is made up
};

enum class StreamFault { None, Missing, Broken };

struct StreamConfig {
    std::string pattern;  ///< of addresses; * stands for any run of characters
    std::chrono::milliseconds duration{0};
    bool live = false;
    std::chrono::milliseconds buffer{0};
    StreamFault fault = StreamFault::None;
};

struct TvConfig {
    /// The date that the TV starts at, milliseconds since 1970-01-01T00:00:00Z.
    std::chrono::milliseconds date{0};
    std::vector<ChannelConfig> channels;
    std::optional<unsigned long long> current;  ///< the channel at the start; nothing: the first
    std::vector<ProgramText> programs;          ///< what schedules are made of; not empty
    TSTvMode tv_mode{1, 1};
    struct Source {
        int value = 0;
        int flag = 0;
    } source;
    struct ContentService {
        bool available = true;
        std::string version;
        std::string country;
    } content_service;
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
    std::map<std::string, SettingValue> settings;
    std::vector<StreamConfig> streams;  ///< the first one that fits an address counts
    struct Extension {
        std::string embedder_name;
        Json::Value extension_info;
        std::vector<std::string> privileges;
        int window_id = 0;
    } extension;
};

}  // namespace tv
