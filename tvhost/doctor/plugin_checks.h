// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tvhost/doctor/elf_file.h"
#include "tvhost/findings.h"

namespace host {

/// A plug-in as it was read from its file, and what it is for.
struct Examined {
    std::filesystem::path path;
    const ElfFile& elf;
    std::vector<std::filesystem::path> sdk;  ///< the TV's libraries; none: nowhere but on this machine
    bool is_foreign = false;                 ///< of another architecture than this program's
    bool for_tv = false;  ///< certainly meant for a TV, so that it must not need the stand-ins
    bool traced = true;   ///< the TV has scope tracing
};

/// Whether it is linked with the stand-ins' library.
bool NeedsStandIns(const ElfFile& file);

void CheckExports(const Examined& plugin, Findings& findings);
void CheckStandIns(const Examined& plugin, Findings& findings);
void CheckFolders(const Examined& plugin, Findings& findings);
void CheckLoading(const Examined& plugin, Findings& findings);
/// The libraries that it needs and the symbols that they are to define. Returns whether a loader on this
/// machine would find all of both.
bool CheckSymbols(const Examined& plugin, Findings& findings);

}  // namespace host
