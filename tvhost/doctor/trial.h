// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// What was found when a plug-in was tried.
struct Trial {
    std::vector<std::string> fine;
    std::vector<std::string> faults;
};

/// Loads the plug-in twice as the TV's runtime does, each time with one page that sends one message, and
/// unloads it, in a process of its own, which may come to any end. `traced`: it has to register with the
/// tracing library. While this process has one thread only. Throws std::system_error, and Interrupted.
Trial TryPlugin(const std::filesystem::path& plugin, bool traced, std::chrono::milliseconds limit);

}  // namespace host
