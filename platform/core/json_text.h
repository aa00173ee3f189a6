#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {

/// Text that is no JSON, or not within the limits; what() says why in one line.
class PLATFORM_API JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads one JSON value, strictly. Throws JsonError; text nested deeper than `max_depth` is refused before
/// it is read.
PLATFORM_API Json::Value ParseJson(std::string_view text, int max_depth);

/// The value without extra blanks.
PLATFORM_API std::string WriteJson(const Json::Value& value);

/// An object whose members are written in the order given here.
using OrderedObject = std::vector<std::pair<std::string, Json::Value>>;
PLATFORM_API std::string WriteJson(const OrderedObject& object);

}  // namespace tv
