// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "tvhost/web/host.h"

namespace test {

/// Web mode on a thread of its own, at a free port. The TV's clock stands still.
class Web {
  public:
    /// Of the options, plug-in, port and speed are the fixture's, and the web files unless there is a
    /// folder. Throws what WebHost throws.
    explicit Web(host::ServeOptions options = {});
    /// Stops it.
    ~Web();
    Web(const Web&) = delete;
    Web& operator=(const Web&) = delete;

    std::uint16_t port() const { return port_; }
    /// Opens a page. Its address, to which "await", "post", "close" and "messages" are added: "/page/7/".
    std::string OpenPage() const;

  private:
    std::unique_ptr<host::WebHost> host_;
    std::thread thread_;
    std::uint16_t port_ = 0;
};

}  // namespace test
