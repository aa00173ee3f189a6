#include "tvhost/web/own_names.h"

#include <strings.h>

#include <algorithm>

namespace host {

OwnNames::OwnNames(const std::string& address, std::uint16_t port)
{
    const std::string ending = ':' + std::to_string(port);
    names_ = {address + ending, "localhost" + ending};
    if (port == 80) {
        names_.push_back(address);
        names_.emplace_back("localhost");
    }
}

bool OwnNames::IsHost(std::string_view host) const
{
    return std::any_of(names_.begin(), names_.end(), [&](const std::string& own) {
        return own.size() == host.size() && strncasecmp(own.data(), host.data(), own.size()) == 0;
    });
}

bool OwnNames::IsOrigin(std::string_view origin) const
{
    constexpr std::string_view kScheme = "http://";
    return origin.substr(0, kScheme.size()) == kScheme && IsHost(origin.substr(kScheme.size()));
}

}  // namespace host
