// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/relay_address.h"

#include <sys/random.h>

#include <array>
#include <boost/asio/ip/address.hpp>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace host {
namespace {

constexpr std::size_t kSecretBytes = 16;

}  // namespace

std::string MakeSecret()
{
    std::array<unsigned char, kSecretBytes> bytes{};
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = getrandom(bytes.data() + done, bytes.size() - done, 0);
        if (count < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(),
                                    "no random numbers for the relay's address");
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    std::string hex;
    for (const unsigned char byte : bytes) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        hex += kDigits[byte >> 4U];
        hex += kDigits[byte & 15U];
    }
    return hex;
}

bool IsSecret(std::string_view guess, std::string_view secret)
{
    if (guess.size() != secret.size())
        return false;
    unsigned differing = 0;
    for (std::size_t i = 0; i < secret.size(); ++i)
        differing |= static_cast<unsigned char>(guess[i]) ^
                     static_cast<unsigned>(static_cast<unsigned char>(secret[i]));
    return differing == 0;
}

std::string ReadRelayAddress(const std::string& text, RelayAddress& read)
{
    std::string wrong =
        text.substr(0, 200) + " is no ADDRESS[:PORT]; write 192.168.1.5, 192.168.1.5:8048 or [fd00::5]:8048";
    std::string host = text;
    std::string port = "0";
    const std::size_t bracket = text.rfind(']');
    const std::size_t colon = text.rfind(':');
    // Without brackets an address with several colons has no port.
    const bool has_port = colon != std::string::npos &&
                          (bracket != std::string::npos ? colon > bracket : text.find(':') == colon);
    if (has_port) {
        host = text.substr(0, colon);
        port = text.substr(colon + 1);
    }
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos ||
        std::stoi(port) > 65535)
        return wrong;
    boost::system::error_code error;
    const auto parsed = boost::asio::ip::make_address(host == "localhost" ? "127.0.0.1" : host, error);
    if (error)
        return wrong;
    if (parsed.is_unspecified())
        return host + " is no address that a TV could open; write the one at which it reaches this machine";
    read = {parsed.to_string(), static_cast<std::uint16_t>(std::stoi(port))};
    return "";
}

}  // namespace host
