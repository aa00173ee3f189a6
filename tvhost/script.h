// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace host {

struct ScriptOptions {
    std::filesystem::path plugin;
    std::string file = "-";  ///< "-": standard input
    bool calls = false;
    bool log = false;
    bool check = false;
    bool echo = false;  ///< also print the lines in, so that what is printed is a script for `check`
    std::function<void()> loaded = [] {};  ///< called once the plug-in is there
};

/// Script mode: reads lines in from the file, prints lines out on standard output. Returns the exit status:
/// 0, 1 when a line was in error or (with `check`) something differed, 2 for a file that can't be read.
/// Throws PluginError, and what `loaded` throws. On the plug-in thread.
int RunScript(const ScriptOptions& options);

}  // namespace host
