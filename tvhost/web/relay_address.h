// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

/// Where a TV reaches the relay.
struct RelayAddress {
    std::string address;
    std::uint16_t port = 0;  ///< 0: a free one
};

/// Reads `ADDRESS[:PORT]`, an IPv6 address with a port in brackets. Returns what is wrong with it, or "".
std::string ReadRelayAddress(const std::string& text, RelayAddress& read);

/// 128 random bits, in hexadecimal digits. Throws std::system_error where the system has none.
std::string MakeSecret();

/// Takes as long wherever the two differ, so that no clock tells how much of a guess is right.
bool IsSecret(std::string_view guess, std::string_view secret);

}  // namespace host
