// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tvhost/doctor/elf_file.h"

namespace host {

/// How the names of the stand-ins' library begin.
constexpr char kStandIns[] = "libzelumo-platform.so";

/// A shared library on this machine.
struct Library {
    std::string name;  ///< that it is needed by
    std::filesystem::path path;
    std::unique_ptr<MappedFile> file;  ///< what `elf` was read from
    ElfFile elf;
};

/// The libraries that a shared object needs, and those that they need in turn.
struct NeededLibraries {
    struct Missing {
        std::string name;
        std::string needed_by;  ///< "": the shared object itself
    };
    std::vector<Library> found;  ///< those that it needs itself first
    std::vector<Missing> missing;
};

/// The folders in which a loader of that architecture looks by itself: those of the SDK or image that lies in
/// those of `sdk`, before this machine's own and this program's. Those that there are, once
/// each.
std::vector<std::filesystem::path> LibraryFolders(const ElfFile& like,
                                                  const std::vector<std::filesystem::path>& sdk);

/// Looks for them as the loader does: in the folders that the file names, then in `folders`. One of another
/// architecture, or a damaged one, counts as not there.
NeededLibraries FindNeeded(const ElfFile& file, const std::filesystem::path& path,
                           const std::vector<std::filesystem::path>& folders);

/// Which libraries in `folders` define one of `symbols`: of each symbol the first library, or nothing.
/// The stand-ins' does not count.
std::vector<std::string> WhoDefines(const std::vector<std::string>& symbols, const ElfFile& like,
                                    const std::vector<std::filesystem::path>& folders);

}  // namespace host
