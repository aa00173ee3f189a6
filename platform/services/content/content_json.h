#pragma once

#include <json/value.h>

#include "content-service/FCAPI.h"

namespace tv {

PLATFORM_API Json::Value ToJson(const ExtractedServiceInfomations& info);
/// Every member must be there; else false, and `info` is untouched.
PLATFORM_API bool FromJson(const Json::Value& json, ExtractedServiceInfomations& info);

}  // namespace tv
