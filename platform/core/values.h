#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>

#include "zelumo-platform/export.h"

/// How the arguments and results of platform calls are written in the journal and read from answers.
/// ToJson writes a value; FromJson reads one and gives false, leaving it untouched, when the JSON value has
/// another shape or does not fit. Any thread. Services add overloads for their own records beside their
/// stand-ins.
namespace tv {

/// A 64-bit number that is written as a decimal string.
struct DecimalId {
    std::uint64_t value = 0;
};

/// Digits only, no sign or blanks, at most 18446744073709551615.
PLATFORM_API std::optional<std::uint64_t> ParseDecimal(const std::string& text);

PLATFORM_API Json::Value ToJson(const Json::Value& value);
PLATFORM_API Json::Value ToJson(bool value);
PLATFORM_API Json::Value ToJson(int value);
PLATFORM_API Json::Value ToJson(DecimalId value);
PLATFORM_API Json::Value ToJson(const std::string& value);
PLATFORM_API Json::Value ToJson(const char* value);
PLATFORM_API Json::Value ToJson(const std::optional<std::string>& value);

PLATFORM_API bool FromJson(const Json::Value& json, Json::Value& value);
PLATFORM_API bool FromJson(const Json::Value& json, bool& value);
PLATFORM_API bool FromJson(const Json::Value& json, int& value);
PLATFORM_API bool FromJson(const Json::Value& json, DecimalId& value);
PLATFORM_API bool FromJson(const Json::Value& json, std::string& value);
PLATFORM_API bool FromJson(const Json::Value& json, std::optional<std::string>& value);

/// Whole numbers that fit the range of their type.
PLATFORM_API bool IsInt32(const Json::Value& json);
PLATFORM_API bool IsUint16(const Json::Value& json);

}  // namespace tv
