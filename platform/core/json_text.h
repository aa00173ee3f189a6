// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {

/// Text that is no JSON, or not within the limits; what() says why in one line.
class ZELUMO_PLATFORM_API JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

ZELUMO_PLATFORM_API bool IsUtf8(std::string_view text);

/// Reads one JSON value, strictly, as a page's engine would: no numbers such as 01 or +1, no control
/// characters in strings, no comments, nothing behind it. A number too large for a double is refused; -0 is
/// the double that -0.0 is. Of two members of one name the last one counts, and half a surrogate pair becomes
/// U+FFFD. Throws JsonError; text nested deeper than `max_depth` is refused before it is read.
ZELUMO_PLATFORM_API Json::Value ParseJson(std::string_view text, int max_depth);

/// The same for a file that a person wrote: two members of one name are a mistake, and the whole is an object
/// or an array. what() begins with the place: "line 3, column 5: …" or "the file: …".
ZELUMO_PLATFORM_API Json::Value ParseJsonFile(std::string_view text, int max_depth);

/// The object that a text is, or nothing; of two members of one name the last one counts.
ZELUMO_PLATFORM_API std::optional<Json::Value> ParseJsonObject(std::string_view text);

/// The value without extra blanks; what is no UTF-8 becomes U+FFFD.
ZELUMO_PLATFORM_API std::string WriteJson(const Json::Value& value);

/// The same, with all bytes of texts as they are.
ZELUMO_PLATFORM_API std::string WriteJsonBytes(const Json::Value& value);

/// An object whose members are written in the order given here.
using OrderedObject = std::vector<std::pair<std::string, Json::Value>>;
ZELUMO_PLATFORM_API std::string WriteJson(const OrderedObject& object);

}  // namespace tv
