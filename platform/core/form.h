// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zelumo-platform/export.h"

/// How values stand in JSON: in the journal, in scripted answers, in verbs and in TV files. Any thread.
namespace tv {

/// The form of a type. Each type that crosses has a specialisation, beside the type or, for those of the SDK,
/// in the room of their service:
///
///     static Json::Value Write(const T& value);
///     static bool Read(const Json::Value& json, T& value);  // false, the value untouched, for another form
///     static constexpr char kWhat[] = "…";                  // what is read, for messages
///
/// Types that are only written have the first alone.
template <typename T>
struct Form;

template <typename T>
Json::Value ToJson(const T& value)
{
    return Form<T>::Write(value);
}

template <typename T>
bool FromJson(const Json::Value& json, T& value)
{
    return Form<T>::Read(json, value);
}

/// A 64-bit number that is written as a decimal string.
struct DecimalId {
    std::uint64_t value = 0;
};

/// Digits only, no sign or blanks, at most 18446744073709551615.
ZELUMO_PLATFORM_API std::optional<std::uint64_t> ParseDecimal(const std::string& text);

/// Whether a call gives its interface: written as true, or null.
struct Availability {
    bool available = false;
};

template <>
struct ZELUMO_PLATFORM_API Form<bool> {
    static Json::Value Write(bool value) { return value; }
    static bool Read(const Json::Value& json, bool& value);
    static constexpr char kWhat[] = "true or false";
};

template <>
struct ZELUMO_PLATFORM_API Form<int> {
    static Json::Value Write(int value) { return value; }
    static bool Read(const Json::Value& json, int& value);
    static constexpr char kWhat[] = "a whole number of 32 bits";
};

template <>
struct ZELUMO_PLATFORM_API Form<unsigned short> {
    static Json::Value Write(unsigned short value) { return value; }
    static bool Read(const Json::Value& json, unsigned short& value);
    static constexpr char kWhat[] = "a whole number from 0 to 65535";
};

template <>
struct ZELUMO_PLATFORM_API Form<std::int64_t> {
    static Json::Value Write(std::int64_t value) { return static_cast<Json::Int64>(value); }
    static bool Read(const Json::Value& json, std::int64_t& value);
    static constexpr char kWhat[] = "a whole number";
};

template <>
struct ZELUMO_PLATFORM_API Form<DecimalId> {
    static Json::Value Write(DecimalId value) { return std::to_string(value.value); }
    static bool Read(const Json::Value& json, DecimalId& value);
    static constexpr char kWhat[] = "a string of decimal digits, of 64 bits";
};

template <>
struct ZELUMO_PLATFORM_API Form<std::string> {
    static Json::Value Write(const std::string& value) { return value; }
    static bool Read(const Json::Value& json, std::string& value);
    static constexpr char kWhat[] = "a string";
};

template <>
struct ZELUMO_PLATFORM_API Form<std::optional<std::string>> {
    static Json::Value Write(const std::optional<std::string>& value)
    {
        return value ? Json::Value(*value) : Json::Value();
    }
    static bool Read(const Json::Value& json, std::optional<std::string>& value);
    static constexpr char kWhat[] = "a string or null";
};

template <>
struct ZELUMO_PLATFORM_API Form<const char*> {
    static Json::Value Write(const char* value)
    {
        return value == nullptr ? Json::Value() : Json::Value(value);
    }
};

template <>
struct ZELUMO_PLATFORM_API Form<Json::Value> {
    static Json::Value Write(const Json::Value& value) { return value; }
    static bool Read(const Json::Value& json, Json::Value& value);
    static constexpr char kWhat[] = "a value";
};

template <>
struct ZELUMO_PLATFORM_API Form<Availability> {
    static Json::Value Write(Availability value)
    {
        return value.available ? Json::Value(true) : Json::Value();
    }
    static bool Read(const Json::Value& json, Availability& value);
    static constexpr char kWhat[] = "true or null";
};

template <typename T>
struct Form<std::vector<T>> {
    static Json::Value Write(const std::vector<T>& values)
    {
        Json::Value list(Json::arrayValue);
        for (const T& value : values)
            list.append(ToJson(value));
        return list;
    }
};

}  // namespace tv
