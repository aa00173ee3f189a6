// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <string>

#include "ZeLumoPluginHandler.h"
#include "tv/tv.h"

/// The first byte says how long the name is; the rest is field 110.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static pp::Instance instance{PP_Instance{1}};
    static auto& handler = *new CZeLumoPluginHandler(&instance);
    if (size == 0)
        return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t name = std::min<std::size_t>(std::size_t{data[0]} * 8, text.size());
    TCServiceData service;
    tv::ServiceRecord::Set(service, ESERVICE_FIELD_NAME, text.substr(0, name));
    tv::ServiceRecord::Set(service, ESERVICE_FIELD_EXTRA, text.substr(name));
    handler.t_GetChannelInfo(&service);
    // As JSON text, whose units are told byte by byte.
    std::string units;
    for (const char byte : text)
        units += std::string(1, '\0') + byte;
    tv::ServiceRecord::Set(service, ESERVICE_FIELD_EXTRA, units);
    handler.t_GetChannelInfo(&service);
    return 0;
}
