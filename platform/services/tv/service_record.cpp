// SPDX-License-Identifier: Apache-2.0
#include "services/tv/service_record.h"

#include <boost/locale/encoding_utf.hpp>
#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace tv {
namespace {

/// The units of a text in the host's byte order.
std::u16string UnitsOf(const std::string& bytes)
{
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) << 8 |
                                              static_cast<unsigned char>(bytes[i + 1])));
    return units;
}

std::string Hex(const std::string& bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        hex.push_back(kDigits[static_cast<unsigned char>(byte) >> 4]);
        hex.push_back(kDigits[static_cast<unsigned char>(byte) & 15]);
    }
    return hex;
}

std::optional<std::string> Unhex(const std::string& hex)
{
    if (hex.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned byte = 0;
        const auto [stop, error] = std::from_chars(&hex[i], &hex[i] + 2, byte, 16);
        if (error != std::errc() || stop != &hex[i] + 2)
            return std::nullopt;
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

Json::Value TextJson(const std::string& bytes)
{
    // A string only where it says all: it must come back as the same bytes.
    const std::string utf8 = DecodeUnits(bytes);
    if (EncodeUnits(utf8) == bytes)
        return utf8;
    Json::Value raw;
    raw["hex"] = Hex(bytes);
    return raw;
}

std::optional<ServiceRecord::Value> TextFromJson(const Json::Value& json)
{
    if (json.isString())
        return EncodeUnits(json.asString());
    if (json.isObject() && json.size() == 1 && json["hex"].isString())
        return Unhex(json["hex"].asString());
    return std::nullopt;
}

template <typename T>
std::optional<ServiceRecord::Value> ReadNumber(const Json::Value& json)
{
    T number{};
    if (!FromJson(json, number))
        return std::nullopt;
    return static_cast<unsigned long long>(number);
}

}  // namespace

std::string EncodeUnits(const std::string& utf8)
{
    std::string bytes;
    const auto append = [&bytes](char16_t unit) {
        bytes.push_back(static_cast<char>(unit >> 8));
        bytes.push_back(static_cast<char>(unit & 0xFF));
    };
    using Utf8 = boost::locale::utf::utf_traits<char>;
    using Utf16 = boost::locale::utf::utf_traits<char16_t>;
    for (auto next = utf8.begin(); next != utf8.end();) {
        boost::locale::utf::code_point point = Utf8::decode(next, utf8.end());
        if (!boost::locale::utf::is_valid_codepoint(point))
            point = 0xFFFD;
        std::u16string units;
        Utf16::encode(point, std::back_inserter(units));
        for (const char16_t unit : units)
            append(unit);
    }
    return bytes;
}

std::string DecodeUnits(const std::string& bytes)
{
    return boost::locale::conv::utf_to_utf<char>(UnitsOf(bytes));
}

const std::vector<ServiceField>& ServiceFields()
{
    // clang-format off
    static const std::vector<ServiceField> fields{
        {"id",                ESERVICE_FIELD_SERVICE_ID,          FieldKind::Id},
        {"name",              ESERVICE_FIELD_NAME,                FieldKind::Text},
        {"major",             ESERVICE_FIELD_MAJOR,               FieldKind::Uint16},
        {"minor",             ESERVICE_FIELD_MINOR,               FieldKind::Uint16},
        {"type",              ESERVICE_FIELD_TYPE,                FieldKind::Int32},
        {"lock",              ESERVICE_FIELD_LOCK,                FieldKind::Uint16},
        {"ptc",               ESERVICE_FIELD_PTC,                 FieldKind::Uint16},
        {"frequency",         ESERVICE_FIELD_FREQUENCY,           FieldKind::Int32},
        {"tuneMode",          ESERVICE_FIELD_TUNE_MODE,           FieldKind::Int32},
        {"programNumber",     ESERVICE_FIELD_PROGRAM_NUMBER,      FieldKind::Uint16},
        {"sourceId",          ESERVICE_FIELD_SOURCE_ID,           FieldKind::Uint16},
        {"originalNetworkId", ESERVICE_FIELD_ORIGINAL_NETWORK_ID, FieldKind::Uint16},
        {"transportStreamId", ESERVICE_FIELD_TRANSPORT_STREAM_ID, FieldKind::Uint16},
        {"extra",             ESERVICE_FIELD_EXTRA,               FieldKind::Extra},
    };
    // clang-format on
    return fields;
}

FieldKind KindOf(int field)
{
    for (const ServiceField& row : ServiceFields()) {
        if (row.id == field)
            return row.kind;
    }
    return FieldKind::Number;
}

const char* WhatIs(FieldKind kind)
{
    switch (kind) {
        case FieldKind::Id:
            return Form<DecimalId>::kWhat;
        case FieldKind::Text:
            return "a string, or {\"hex\": its units in hexadecimal}";
        case FieldKind::Extra:
            return "an object or a string, or {\"hex\": its units in hexadecimal}";
        case FieldKind::Int32:
            return Form<int>::kWhat;
        case FieldKind::Uint16:
            return Form<unsigned short>::kWhat;
        case FieldKind::Number:
            return Form<std::int64_t>::kWhat;
    }
    return "";
}

std::optional<ServiceRecord::Value> ReadField(FieldKind kind, const Json::Value& json)
{
    switch (kind) {
        case FieldKind::Id: {
            DecimalId id;
            return FromJson(json, id) ? std::optional<ServiceRecord::Value>(id.value) : std::nullopt;
        }
        case FieldKind::Text:
        case FieldKind::Extra:
            return TextFromJson(json);
        case FieldKind::Int32:
            return ReadNumber<int>(json);
        case FieldKind::Uint16:
            return ReadNumber<unsigned short>(json);
        case FieldKind::Number:
            return ReadNumber<std::int64_t>(json);
    }
    return std::nullopt;
}

Json::Value Form<TSTvMode>::Write(const TSTvMode& mode)
{
    Json::Value json;
    json["antennaMode"] = mode.antennaMode;
    json["serviceMode"] = mode.serviceMode;
    return json;
}

bool Form<TSTvMode>::Read(const Json::Value& json, TSTvMode& mode)
{
    TSTvMode read;
    if (!json.isObject() || !FromJson(json["antennaMode"], read.antennaMode) ||
        !FromJson(json["serviceMode"], read.serviceMode))
        return false;
    mode = read;
    return true;
}

Json::Value ServiceRecord::Write(const TCCriteriaHelper& criteria)
{
    Json::Value json(Json::objectValue);
    if (criteria.mode_)
        json["mode"] = static_cast<int>(*criteria.mode_);
    if (criteria.sort_)
        json["sort"] = static_cast<int>(*criteria.sort_);
    if (criteria.value_)
        json["value"] = ToJson(DecimalId{*criteria.value_});
    json["fetch"] = ToJson(criteria.fetch_);
    return json;
}

Json::Value ServiceRecord::Write(const TCServiceData& service)
{
    Json::Value json(Json::objectValue);
    for (const auto& [field, value] : service.fields_) {
        Json::Value& member = json[std::to_string(field)];
        if (const std::string* text = std::get_if<std::string>(&value))
            member = TextJson(*text);
        else if (KindOf(field) == FieldKind::Id)
            member = ToJson(DecimalId{std::get<unsigned long long>(value)});
        else
            member = static_cast<Json::Int64>(std::get<unsigned long long>(value));
    }
    return json;
}

bool Form<TCServiceData>::Read(const Json::Value& json, TCServiceData& service)
{
    if (!json.isObject())
        return false;
    TCServiceData read;
    for (const std::string& name : json.getMemberNames()) {
        const std::optional<std::uint64_t> number = ParseDecimal(name);
        if (!number || *number > 0x7FFFFFFF)
            return false;
        const int field = static_cast<int>(*number);
        std::optional<ServiceRecord::Value> value = ReadField(KindOf(field), json[name]);
        if (!value)
            return false;
        ServiceRecord::Set(read, field, *std::move(value));
    }
    service = std::move(read);
    return true;
}

Json::Value Form<ServiceList>::Write(const ServiceList& services)
{
    Json::Value json(Json::arrayValue);
    for (const std::unique_ptr<TCServiceData>& service : services)
        json.append(ToJson(*service));
    return json;
}

bool Form<ServiceList>::Read(const Json::Value& json, ServiceList& services)
{
    if (!json.isArray())
        return false;
    ServiceList read;
    for (const Json::Value& one : json) {
        read.push_back(std::make_unique<TCServiceData>());
        if (!FromJson(one, *read.back()))
            return false;
    }
    services = std::move(read);
    return true;
}

}  // namespace tv
