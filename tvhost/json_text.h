#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

/// Text that is no JSON, or not within the limits; what() says why in one line.
class JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Limits of a page's message.
constexpr std::size_t kMaxMessageBytes = std::size_t{1024} * 1024;
constexpr int kMaxMessageDepth = 64;

/// Reads one JSON value, strictly. Throws JsonError; text nested deeper than `max_depth` is refused before
/// it is read.
Json::Value ParseJson(std::string_view text, int max_depth);

/// The value without extra blanks.
std::string WriteJson(const Json::Value& value);

/// An object whose members are written in the order given here.
using OrderedObject = std::vector<std::pair<std::string, Json::Value>>;
std::string WriteJson(const OrderedObject& object);

}  // namespace host
