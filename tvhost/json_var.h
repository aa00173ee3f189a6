#pragma once

#include <json/value.h>

#include "ppapi/cpp/var.h"

namespace host {

/// The var that a page's engine would pass for a JSON value: a number becomes an int where it is whole and
/// fits 32 bits, else a double.
pp::Var ToVar(const Json::Value& json);
/// An undefined var becomes null.
Json::Value ToJson(const pp::Var& var);

}  // namespace host
