// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>
#include <utility>
#include <vector>

#include "tvhost/compare/likeness_table.h"

namespace host {

/// A member that two values don't share, or share with other values.
struct JsonDifference {
    std::string path;  ///< "data.programs[2].title"; "" is the whole
    /// Where it differs, as JSON; "nothing" where there is no such member. With the form where that is
    /// compared.
    std::string recorded;
    std::string replayed;
};

/// A value as it is told: its JSON, shortened.
std::string Shown(const Json::Value& value);

/// Where two replies or messages of that name differ, in the order of their members.
std::vector<JsonDifference> Differences(const std::string& name, const Json::Value& recorded,
                                        const Json::Value& replayed, const LikenessTable& table);

/// A text that two values share just if they differ nowhere.
std::string Canonical(const std::string& name, const Json::Value& value, const LikenessTable& table);

/// Texts that a page hands back to the TV: those of the recording with those that stand in their places now.
std::vector<std::pair<std::string, std::string>> Carried(const std::string& name, const Json::Value& recorded,
                                                         const Json::Value& replayed,
                                                         const LikenessTable& table);

}  // namespace host
