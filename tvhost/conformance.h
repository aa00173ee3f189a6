// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct ConformanceOptions {
    std::filesystem::path plugin;
    std::string tv_file;                  ///< "": the sample TV
    std::filesystem::path scripts;        ///< a folder of one's own; "": those beside the program
    std::vector<std::string> names;       ///< of the scripts to play; none: all
    bool list = false;                    ///< say which there are, and play none
    std::chrono::seconds time_limit{60};  ///< for each script
};

/// Plays scripts that hold what they expect against a plug-in, each in a process of its own, and prints on
/// standard output a table, a row each, then the first differences of those that failed. What a script covers
/// is its first comment; a comment `# Options: …` before its first line holds the options of script mode that
/// it is played with. Returns the exit status: 0, 1 where one failed, 2 (and a line on standard error) where
/// there are no such scripts, or the plug-in can't be loaded. While this process has one thread only. Throws
/// PluginError where there is no such file, Interrupted, std::system_error.
int RunConformance(const ConformanceOptions& options);

}  // namespace host
