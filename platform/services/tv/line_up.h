// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/json_node.h"
#include "services/tv/service_record.h"
#include "zelumo-platform/export.h"

/// The TV's channels and what is on them, as a TV file describes them. All texts are UTF-8. Plain data: not
/// changed any more once it is shared.
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

/// The sections "channels", "current", "programs", "tvMode" and "source" of a TV file.
struct ZELUMO_PLATFORM_API LineUp {
    std::vector<ChannelConfig> channels;
    std::optional<unsigned long long> current;  ///< the channel at the start; nothing: the first
    std::vector<ProgramText> programs;          ///< what schedules are made of; not empty
    TSTvMode tv_mode{1, 1};
    struct Source {
        int value = 0;
        int flag = 0;
    } source;

    /// Where in `channels` that channel stands, if it does.
    std::optional<std::size_t> PlaceOf(unsigned long long id) const;

    void Read(JsonObject& file);
    /// What holds of the sections together only.
    void Check(const JsonNode& file) const;
};

}  // namespace tv
