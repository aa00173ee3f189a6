#include "services/tv/tv_service_json.h"

#include <boost/locale/encoding_utf.hpp>
#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "core/values.h"

namespace tv {
namespace {

bool IsTextField(int field)
{
    return field == ESERVICE_FIELD_NAME || field == ESERVICE_FIELD_EXTRA;
}

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

std::optional<std::string> TextFromJson(const Json::Value& json)
{
    if (json.isString())
        return EncodeUnits(json.asString());
    if (json.isObject() && json.size() == 1 && json["hex"].isString())
        return Unhex(json["hex"].asString());
    return std::nullopt;
}

std::optional<unsigned long long> NumberFromJson(const Json::Value& json, int field)
{
    switch (field) {
        case ESERVICE_FIELD_SERVICE_ID: {
            DecimalId id;
            if (!FromJson(json, id))
                return std::nullopt;
            return id.value;
        }
        case ESERVICE_FIELD_TYPE:
        case ESERVICE_FIELD_FREQUENCY:
        case ESERVICE_FIELD_TUNE_MODE:
            if (!IsInt32(json))
                return std::nullopt;
            break;
        case ESERVICE_FIELD_MAJOR:
        case ESERVICE_FIELD_MINOR:
        case ESERVICE_FIELD_PTC:
        case ESERVICE_FIELD_LOCK:
        case ESERVICE_FIELD_PROGRAM_NUMBER:
        case ESERVICE_FIELD_SOURCE_ID:
        case ESERVICE_FIELD_ORIGINAL_NETWORK_ID:
        case ESERVICE_FIELD_TRANSPORT_STREAM_ID:
            if (!IsUint16(json))
                return std::nullopt;
            break;
        default:
            if (!json.isNumeric() || !json.isInt64())
                return std::nullopt;
    }
    return static_cast<unsigned long long>(json.asInt64());
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

Json::Value ToJson(const TSTvMode& mode)
{
    Json::Value json;
    json["antennaMode"] = mode.antennaMode;
    json["serviceMode"] = mode.serviceMode;
    return json;
}

bool FromJson(const Json::Value& json, TSTvMode& mode)
{
    if (!json.isObject() || !IsInt32(json["antennaMode"]) || !IsInt32(json["serviceMode"]))
        return false;
    mode.antennaMode = json["antennaMode"].asInt();
    mode.serviceMode = json["serviceMode"].asInt();
    return true;
}

Json::Value ToJson(const TCCriteriaHelper& criteria)
{
    Json::Value json(Json::objectValue);
    if (criteria.mode())
        json["mode"] = static_cast<int>(*criteria.mode());
    if (criteria.sort())
        json["sort"] = static_cast<int>(*criteria.sort());
    if (criteria.value())
        json["value"] = ToJson(DecimalId{*criteria.value()});
    json["fetch"] = Json::Value(Json::arrayValue);
    for (const int field : criteria.fetch())
        json["fetch"].append(field);
    return json;
}

Json::Value ToJson(const TCServiceData& service)
{
    Json::Value json(Json::objectValue);
    for (const auto& [field, value] : service.fields()) {
        Json::Value& member = json[std::to_string(field)];
        if (const std::string* text = std::get_if<std::string>(&value))
            member = TextJson(*text);
        else if (field == ESERVICE_FIELD_SERVICE_ID)
            member = ToJson(DecimalId{std::get<unsigned long long>(value)});
        else
            member = static_cast<Json::Int64>(std::get<unsigned long long>(value));
    }
    return json;
}

bool FromJson(const Json::Value& json, TCServiceData& service)
{
    if (!json.isObject())
        return false;
    TCServiceData read;
    for (const std::string& name : json.getMemberNames()) {
        const std::optional<std::uint64_t> field = ParseDecimal(name);
        if (!field || *field > 0x7FFFFFFF)
            return false;
        const int id = static_cast<int>(*field);
        if (IsTextField(id)) {
            const std::optional<std::string> text = TextFromJson(json[name]);
            if (!text)
                return false;
            read.Set(id, *text);
        } else {
            const std::optional<unsigned long long> number = NumberFromJson(json[name], id);
            if (!number)
                return false;
            read.Set(id, *number);
        }
    }
    service = std::move(read);
    return true;
}

Json::Value ToJson(const ServiceList& services)
{
    Json::Value json(Json::arrayValue);
    for (const std::unique_ptr<TCServiceData>& service : services)
        json.append(ToJson(*service));
    return json;
}

bool FromJson(const Json::Value& json, ServiceList& services)
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
