// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// Small pictures as data URLs of SVG; they need no escaping in HTML or CSS. The same arguments give the same
/// picture. Texts are UTF-8. Any thread.
namespace tv {

/// A tile with the beginning of the channel's name.
std::string DrawLogo(unsigned long long channel, const std::string& name);

/// A landscape that belongs to the programme, with its title when it is a thumbnail.
std::string DrawThumbnail(const std::string& program_id, const std::string& title);
std::string DrawBackground(const std::string& program_id);

}  // namespace tv
