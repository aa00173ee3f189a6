// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "content-service/FCAPI.h"
#include "core/form.h"
#include "zelumo-platform/export.h"

namespace tv {

template <>
struct ZELUMO_PLATFORM_API Form<ExtractedServiceInfomations> {
    static Json::Value Write(const ExtractedServiceInfomations& info);
    /// Every member must be there.
    static bool Read(const Json::Value& json, ExtractedServiceInfomations& info);
    static constexpr char kWhat[] = "an object with the members of a service description";
};

}  // namespace tv
