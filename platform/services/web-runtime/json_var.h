// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The var that a page's engine would pass for a JSON value: a number becomes an int where it is whole and
/// fits 32 bits, else a double. A zero with a sign is a double, since no int is like it.
ZELUMO_PLATFORM_API pp::Var ToVar(const Json::Value& json);
/// An undefined var becomes null. Both follow the nesting by recursion: a var must not contain itself.
ZELUMO_PLATFORM_API Json::Value ToJson(const pp::Var& var);

/// The text of ToJson's value, as WriteJson writes it, without making the value.
ZELUMO_PLATFORM_API std::string ToJsonText(const pp::Var& var);

}  // namespace tv
