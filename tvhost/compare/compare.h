// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct CompareOptions {
    std::filesystem::path plugin;
    std::string tv_file;               ///< "": the sample TV
    std::string recording;             ///< "-": standard input
    std::vector<std::string> by_form;  ///< tables of one's own
    std::string learn;                 ///< the TV file to write; "": none
    bool overwrite = false;            ///< it may replace a file that holds something
};

/// Carries out what a recording's page and person did on the stand-ins, and prints on standard output how
/// what comes out differs from what was recorded: a block for each line, then a table, then a count. Writes
/// the TV that the recording tells of, if one is asked for. Returns the exit status: 0 where nothing differs,
/// 1 where something does, or standard output can't be written to, 2 (and a line on standard error) for files
/// that can't be used. Throws PluginError, TvFileError, TableError, FileError, Interrupted. On the plug-in
/// thread.
int RunCompare(const CompareOptions& options);

}  // namespace host
