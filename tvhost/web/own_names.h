// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// By which names a connection may reach its server: the address that was connected to, and `localhost`. A
/// request that names another one, or that a page from elsewhere sent, is none of the server's.
class OwnNames {
  public:
    OwnNames() = default;
    OwnNames(const std::string& address, std::uint16_t port);

    const std::string& first() const { return names_.front(); }
    /// As the header Host has it.
    bool IsHost(std::string_view host) const;
    /// As the header Origin has it.
    bool IsOrigin(std::string_view origin) const;

  private:
    std::vector<std::string> names_;
};

/// Why pages of that origin can't be allowed, in one line, or nothing: it must be spelt as a browser sends
/// it, `http://localhost:5173`, or it would never be met.
std::optional<std::string> CheckOrigin(const std::string& origin);

}  // namespace host
