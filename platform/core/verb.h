// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/json_node.h"
#include "zelumo-platform/export.h"

namespace tv {

/// What a verb gives back, in the order in which it is to be written.
using VerbResults = std::vector<std::pair<std::string, Json::Value>>;

/// What a verb that was read does, now or later, and once. Fails by JsonMistake for what can only be known
/// then, nothing done. Returns when the callbacks that it sets off have returned. One thread at a time, and
/// not inside a callback.
using VerbAction = std::function<VerbResults()>;

/// Something that somebody at the TV, or one of its services, does when it is told to: `{"tv": NAME, …}`.
struct Verb {
    const char* name;
    /// Asks for all fields, calls End, and gives what is to be done; fails by JsonMistake. The action holds
    /// nothing of the fields. Any thread.
    VerbAction (*read)(JsonObject& fields);
};

/// True for `"user": null`, which passes null user data to callbacks; any other value is a mistake.
ZELUMO_PLATFORM_API bool ReadNullUser(JsonObject& fields);

/// What callbacks returned: `"delivered"` and `"results"`.
ZELUMO_PLATFORM_API VerbResults Delivered(const std::vector<int>& results);

}  // namespace tv
