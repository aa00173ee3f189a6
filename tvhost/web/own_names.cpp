// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/own_names.h"

#include <strings.h>

#include <algorithm>

namespace host {
namespace {

constexpr std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kDigits = "0123456789";

bool IsMadeOf(std::string_view text, std::string_view first, std::string_view second, std::string_view third)
{
    return std::all_of(text.begin(), text.end(), [&](char c) {
        return first.find(c) != std::string_view::npos || second.find(c) != std::string_view::npos ||
               third.find(c) != std::string_view::npos;
    });
}

bool IsHostName(std::string_view host)
{
    if (host.substr(0, 1) == "[")
        return host.size() > 3 && host.back() == ']' &&
               IsMadeOf(host.substr(1, host.size() - 2), "abcdef", kDigits, ":");
    return !host.empty() && host.front() != '.' && IsMadeOf(host, kLower, kDigits, "-._");
}

bool IsPort(std::string_view port)
{
    return !port.empty() && port.size() <= 5 && port.front() != '0' && IsMadeOf(port, kDigits, "", "") &&
           std::stoi(std::string(port)) <= 65535;
}

}  // namespace

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

std::optional<std::string> CheckOrigin(const std::string& origin)
{
    if (origin == "*")
        return "* would let every page use this TV; name one origin, such as http://localhost:5173";
    if (origin == "null")
        return "null is the origin of pages that hide theirs; serve the page from an address of its own";
    const auto no = [&origin](const std::string& why) { return origin.substr(0, 200) + ": " + why; };
    const std::size_t colons = origin.find("://");
    const std::string_view scheme = std::string_view(origin).substr(0, std::min(colons, origin.size()));
    if (colons == std::string::npos || scheme.empty() || !IsMadeOf(scheme, kLower, kDigits, "+-."))
        return no("not an origin; write scheme://host:port in small letters, such as http://localhost:5173");
    std::string_view host = std::string_view(origin).substr(colons + 3);
    if (host.find_first_of("/?#") != std::string_view::npos)
        return no("an origin has no path and no slash at its end; write " +
                  origin.substr(0, std::min<std::size_t>(origin.find_first_of("/?#", colons + 3), 200)));
    const std::size_t colon = host.find(':', host.substr(0, 1) == "[" ? host.find(']') : 0);
    if (colon != std::string_view::npos) {
        const std::string_view port = host.substr(colon + 1);
        if (!IsPort(port))
            return no("the port is a number from 1 to 65535");
        if ((scheme == "http" && port == "80") || (scheme == "https" && port == "443"))
            return no("a browser leaves that port out; write " + origin.substr(0, colons + 3 + colon));
        host = host.substr(0, colon);
    }
    if (!IsHostName(host))
        return no(
            "not a host as a browser sends it: small letters, digits, dots, or an IPv6 address in brackets");
    return std::nullopt;
}

}  // namespace host
