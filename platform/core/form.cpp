// SPDX-License-Identifier: Apache-2.0
#include "core/form.h"

#include <charconv>

namespace tv {

std::optional<std::uint64_t> ParseDecimal(const std::string& text)
{
    std::uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || stop != end || error != std::errc())
        return std::nullopt;
    return value;
}

bool Form<bool>::Read(const Json::Value& json, bool& value)
{
    if (!json.isBool())
        return false;
    value = json.asBool();
    return true;
}

bool Form<int>::Read(const Json::Value& json, int& value)
{
    if (!json.isNumeric() || !json.isInt())
        return false;
    value = json.asInt();
    return true;
}

bool Form<unsigned short>::Read(const Json::Value& json, unsigned short& value)
{
    int number = 0;
    if (!FromJson(json, number) || number < 0 || number > 0xFFFF)
        return false;
    value = static_cast<unsigned short>(number);
    return true;
}

bool Form<std::int64_t>::Read(const Json::Value& json, std::int64_t& value)
{
    if (!json.isNumeric() || !json.isInt64())
        return false;
    value = json.asInt64();
    return true;
}

bool Form<DecimalId>::Read(const Json::Value& json, DecimalId& value)
{
    const std::optional<std::uint64_t> number =
        json.isString() ? ParseDecimal(json.asString()) : std::nullopt;
    if (!number)
        return false;
    value.value = *number;
    return true;
}

bool Form<std::string>::Read(const Json::Value& json, std::string& value)
{
    if (!json.isString())
        return false;
    value = json.asString();
    return true;
}

bool Form<std::optional<std::string>>::Read(const Json::Value& json, std::optional<std::string>& value)
{
    if (!json.isNull() && !json.isString())
        return false;
    value = json.isNull() ? std::nullopt : std::optional(json.asString());
    return true;
}

bool Form<Json::Value>::Read(const Json::Value& json, Json::Value& value)
{
    value = json;
    return true;
}

bool Form<Availability>::Read(const Json::Value& json, Availability& value)
{
    if (!json.isNull() && !(json.isBool() && json.asBool()))
        return false;
    value.available = json.isBool();
    return true;
}

}  // namespace tv
