// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct DoctorOptions {
    std::filesystem::path plugin;
    std::string target;  ///< the architecture of the TV, as TargetName gives it; "": this program's own
    std::vector<std::filesystem::path>
        sdk;                              ///< where the TV's libraries lie; none: nowhere but on this machine
    bool traced = true;                   ///< false: the TV has no scope tracing
    std::chrono::seconds time_limit{10};  ///< for trying it
};

/// How an architecture is called here, of which there are several spellings ("aarch64" is "arm64"); "": it
/// is unknown. KnownTargets lists those that count, for people.
std::string TargetName(const std::string& written);
std::string KnownTargets();

/// Says on standard output what of a built plug-in is in order and what is not, a line each: "ok: …",
/// "note: …", "fault: …". What can be read from the file comes first; then the plug-in is tried, where it can
/// be. Returns the exit status: 0, 1 where there is a fault, 2 (and a line on standard error) for a file that
/// can't be read. While this process has one thread only. Throws PluginError where there is no such file,
/// Interrupted, std::system_error.
int RunDoctor(const DoctorOptions& options);

}  // namespace host
