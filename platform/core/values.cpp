#include "core/values.h"

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

Json::Value ToJson(const Json::Value& value)
{
    return value;
}

Json::Value ToJson(bool value)
{
    return value;
}

Json::Value ToJson(int value)
{
    return value;
}

Json::Value ToJson(DecimalId value)
{
    return std::to_string(value.value);
}

Json::Value ToJson(const std::string& value)
{
    return value;
}

Json::Value ToJson(const char* value)
{
    return value == nullptr ? Json::Value() : Json::Value(value);
}

Json::Value ToJson(const std::optional<std::string>& value)
{
    return value ? Json::Value(*value) : Json::Value();
}

bool IsInt32(const Json::Value& json)
{
    return json.isNumeric() && json.isInt();
}

bool IsUint16(const Json::Value& json)
{
    return IsInt32(json) && json.asInt() >= 0 && json.asInt() <= 0xFFFF;
}

bool FromJson(const Json::Value& json, Json::Value& value)
{
    value = json;
    return true;
}

bool FromJson(const Json::Value& json, bool& value)
{
    if (!json.isBool())
        return false;
    value = json.asBool();
    return true;
}

bool FromJson(const Json::Value& json, int& value)
{
    if (!IsInt32(json))
        return false;
    value = json.asInt();
    return true;
}

bool FromJson(const Json::Value& json, DecimalId& value)
{
    if (!json.isString())
        return false;
    const std::optional<std::uint64_t> number = ParseDecimal(json.asString());
    if (!number)
        return false;
    value.value = *number;
    return true;
}

bool FromJson(const Json::Value& json, std::string& value)
{
    if (!json.isString())
        return false;
    value = json.asString();
    return true;
}

bool FromJson(const Json::Value& json, std::optional<std::string>& value)
{
    if (json.isNull()) {
        value.reset();
        return true;
    }
    if (!json.isString())
        return false;
    value = json.asString();
    return true;
}

}  // namespace tv
