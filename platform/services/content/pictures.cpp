// SPDX-License-Identifier: Apache-2.0
#include "services/content/pictures.h"

#include <cstdint>
#include <string_view>

namespace tv {
namespace {

std::uint64_t Hash(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash;
}

std::string EscapeXml(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            default:
                // XML has no place for control characters.
                escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
    }
    return escaped;
}

std::string DataUrl(std::string_view svg)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    static constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/:=,;";
    std::string url = "data:image/svg+xml,";
    for (const char c : svg) {
        if (kPlain.find(c) != std::string_view::npos) {
            url += c;
        } else {
            url += '%';
            url += kDigits[static_cast<unsigned char>(c) >> 4];
            url += kDigits[static_cast<unsigned char>(c) & 15];
        }
    }
    return url;
}

std::string FirstCharacter(const std::string& name)
{
    std::size_t end = name.empty() ? 0 : 1;
    while (end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        ++end;
    return name.substr(0, end);
}

std::string Hue(std::uint64_t hash, unsigned turn, const char* rest)
{
    return "hsl(" + std::to_string((hash + turn) % 360) + rest;
}

std::string Sky(std::uint64_t hash)
{
    return "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 320 180'><defs>"
           "<linearGradient id='s' x2='0' y2='1'><stop stop-color='" +
           Hue(hash, 0, ",45%,22%)") + "'/><stop offset='1' stop-color='" + Hue(hash, 40, ",60%,48%)") +
           "'/></linearGradient></defs><rect width='320' height='180' fill='url(#s)'/><circle cx='" +
           std::to_string(40 + hash / 360 % 240) + "' cy='" + std::to_string(40 + hash / 86400 % 50) +
           "' r='22' fill='" + Hue(hash, 60, ",80%,80%)") + "'/>";
}

std::string Hills(std::uint64_t hash)
{
    std::string path = "<path d='M0 180";
    for (unsigned x = 0; x <= 320; x += 80)
        path += " L" + std::to_string(x) + ' ' + std::to_string(100 + (hash >> (x / 10)) % 50);
    return path + " L320 180 Z' fill='" + Hue(hash, 20, ",40%,16%)") + "'/>";
}

}  // namespace

std::string DrawLogo(unsigned long long channel, const std::string& name)
{
    const std::uint64_t hash = Hash(std::to_string(channel));
    return DataUrl(
        "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 64 64'><rect width='64' height='64' "
        "rx='14' fill='" +
        Hue(hash, 0, ",55%,38%)") + "'/><circle cx='50' cy='14' r='6' fill='" + Hue(hash, 150, ",70%,65%)") +
        "'/><text x='32' y='44' font-family='sans-serif' font-size='34' font-weight='700' "
        "text-anchor='middle' fill='white'>" +
        EscapeXml(FirstCharacter(name)) + "</text></svg>");
}

std::string DrawThumbnail(const std::string& program_id, const std::string& title)
{
    const std::uint64_t hash = Hash(program_id);
    return DataUrl(Sky(hash) + Hills(hash) +
                   "<text x='16' y='164' font-family='sans-serif' font-size='20' font-weight='700' "
                   "fill='white'>" +
                   EscapeXml(title) + "</text></svg>");
}

std::string DrawBackground(const std::string& program_id)
{
    const std::uint64_t hash = Hash(program_id);
    return DataUrl(Sky(hash) + Hills(hash) + "</svg>");
}

}  // namespace tv
