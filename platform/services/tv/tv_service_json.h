#pragma once

#include <json/value.h>

#include <list>
#include <memory>
#include <string>

#include "tv-service/TVServiceAPI.h"

/// The forms in which the TV service's records stand in the journal, in answers and in TV files. Reading
/// gives false, the target untouched, when the JSON value has another form. Any thread.
namespace tv {

PLATFORM_API Json::Value ToJson(const TSTvMode& mode);
PLATFORM_API bool FromJson(const Json::Value& json, TSTvMode& mode);

/// {"mode", "sort" or "value", "fetch"}: the first two only once a navigation mode filled the criteria.
PLATFORM_API Json::Value ToJson(const TCCriteriaHelper& criteria);

/// An object from field identifier to value. The service id is a decimal string, texts are strings or
/// {"hex": bytes}, other fields are whole numbers.
PLATFORM_API Json::Value ToJson(const TCServiceData& service);
PLATFORM_API bool FromJson(const Json::Value& json, TCServiceData& service);

/// An array of services.
using ServiceList = std::list<std::unique_ptr<TCServiceData>>;
PLATFORM_API Json::Value ToJson(const ServiceList& services);
PLATFORM_API bool FromJson(const Json::Value& json, ServiceList& services);

/// UTF-8 to 16-bit units in big-endian byte order; what is no UTF-8 becomes U+FFFD.
PLATFORM_API std::string EncodeUnits(const std::string& utf8);
/// The way back; what is no UTF-16, and an odd last byte, is left out.
PLATFORM_API std::string DecodeUnits(const std::string& bytes);

}  // namespace tv
