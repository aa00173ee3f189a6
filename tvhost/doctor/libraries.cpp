// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/libraries.h"

#include <elf.h>
#include <fnmatch.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace host {
namespace {

namespace fs = std::filesystem;

/// As the folders of that architecture's libraries are named; "": nobody knows.
std::string TripletOf(const ElfFile& file)
{
    switch (file.machine) {
        case EM_X86_64:
            return file.bits == 64 ? "x86_64-linux-gnu" : "x86_64-linux-gnux32";
        case EM_386:
            return "i386-linux-gnu";
        case EM_AARCH64:
            return "aarch64-linux-gnu";
        case EM_ARM:
            return (file.machine_flags & EF_ARM_ABI_FLOAT_SOFT) != 0 ? "arm-linux-gnueabi"
                                                                     : "arm-linux-gnueabihf";
        default:
            return "";
    }
}

bool IsLike(const ElfFile& one, const ElfFile& other)
{
    return one.machine == other.machine && one.bits == other.bits;
}

/// The folders that the loader's configuration names, with those that it includes.
void AddConfigured(const fs::path& configuration, std::vector<fs::path>& folders, int depth)
{
    std::ifstream file(configuration);
    for (std::string line; depth > 0 && std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string word;
        if (!(words >> word))
            continue;
        std::string pattern;
        if (word != "include") {
            folders.emplace_back(word);
        } else if (words >> pattern) {
            const fs::path included = configuration.parent_path() / pattern;
            std::error_code error;
            for (const fs::directory_entry& entry : fs::directory_iterator(included.parent_path(), error)) {
                if (fnmatch(included.filename().c_str(), entry.path().filename().c_str(), 0) == 0)
                    AddConfigured(entry.path(), folders, depth - 1);
            }
        }
    }
}

std::vector<std::string> SplitVariable(const char* name)
{
    std::vector<std::string> split;
    const char* const value = std::getenv(name);
    std::istringstream stream(value == nullptr ? "" : value);
    for (std::string folder; std::getline(stream, folder, ':');) {
        if (!folder.empty())
            split.push_back(folder);
    }
    return split;
}

/// Adds the folder of a library that this process has loaded.
int AddLoaded(dl_phdr_info* info, std::size_t, void* folders)
{
    const fs::path library = info->dlpi_name;
    if (library.is_absolute())
        static_cast<std::vector<fs::path>*>(folders)->push_back(library.parent_path());
    return 0;
}

/// With what stands for the folder of the file and for the system's library folder put in.
fs::path Expanded(std::string_view folder, const fs::path& origin)
{
    std::string text(folder);
    for (const auto& [name, value] : {std::pair<std::string, std::string>("$ORIGIN", origin.string()),
                                      {"${ORIGIN}", origin.string()},
                                      {"$LIB", "lib"},
                                      {"${LIB}", "lib"}}) {
        for (std::size_t at = text.find(name); at != std::string::npos;
             at = text.find(name, at + value.size()))
            text.replace(at, name.size(), value);
    }
    return text;
}

/// The library in that file, or nothing where there is none that would do.
std::optional<Library> Load(const std::string& name, const fs::path& path, const ElfFile& like)
{
    try {
        Library library{name, path, std::make_unique<MappedFile>(path), {}};
        library.elf = ReadElf(library.file->bytes());
        if (IsLike(library.elf, like))
            return library;
    } catch (const std::system_error&) {
        // Not there, or not to be read: the next folder may have it.
    } catch (const ElfError&) {
        // The loader passes over it as well, as over a linker's text of that name.
    }
    return std::nullopt;
}

/// A file whose needs are to be looked for.
struct Asking {
    std::string name;
    fs::path origin;
    std::vector<std::string_view> needed;
    std::vector<fs::path> inherited;  ///< DT_RPATH counts for those that are needed, too
    std::vector<fs::path> own;
};

Asking AskFor(const std::string& name, const fs::path& path, const ElfFile& file,
              const std::vector<fs::path>& inherited)
{
    Asking asking{name, fs::absolute(path).parent_path(), file.needed, inherited, {}};
    if (file.runpath.empty()) {
        for (const std::string_view folder : file.rpath)
            asking.inherited.push_back(Expanded(folder, asking.origin));
    }
    for (const std::string_view folder : file.runpath)
        asking.own.push_back(Expanded(folder, asking.origin));
    return asking;
}

/// But for the stand-ins'.
std::vector<fs::path> LibrariesIn(const fs::path& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name.find(".so") != std::string::npos && name.rfind(kStandIns, 0) != 0)
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<fs::path> LibraryFolders(const ElfFile& like, const std::vector<fs::path>& sdk)
{
    const std::string triplet = TripletOf(like);
    std::vector<fs::path> candidates;
    const auto add_root = [&](const fs::path& root) {
        for (const char* folder : {"lib", "usr/lib"}) {
            if (!triplet.empty())
                candidates.push_back(root / folder / triplet);
            if (like.bits == 64)
                candidates.push_back(root / (std::string(folder) + "64"));
            candidates.push_back(root / folder);
        }
    };
    for (const fs::path& root : sdk) {
        candidates.push_back(root);
        add_root(root);
        candidates.push_back(root / "usr/local/lib");
    }
    AddConfigured("/etc/ld.so.conf", candidates, 4);
    add_root("/");
    if (!triplet.empty())
        candidates.push_back(fs::path("/usr") / triplet / "lib");  // where cross compilers have them
    // This program has its own loaded already, wherever they lie.
    dl_iterate_phdr(AddLoaded, &candidates);

    std::vector<fs::path> folders;
    std::set<fs::path> seen;
    for (const fs::path& candidate : candidates) {
        std::error_code error;
        const fs::path real = fs::canonical(candidate, error);
        if (!error && fs::is_directory(real, error) && seen.insert(real).second)
            folders.push_back(candidate);
    }
    return folders;
}

NeededLibraries FindNeeded(const ElfFile& file, const fs::path& path, const std::vector<fs::path>& folders)
{
    NeededLibraries needed;
    std::set<std::string> known;
    std::deque<Asking> asking{AskFor("", path, file, {})};
    const std::vector<std::string> from_environment = SplitVariable("LD_LIBRARY_PATH");
    for (; !asking.empty(); asking.pop_front()) {
        const Asking& who = asking.front();
        std::vector<fs::path> places(who.inherited.rbegin(), who.inherited.rend());
        places.insert(places.end(), from_environment.begin(), from_environment.end());
        places.insert(places.end(), who.own.begin(), who.own.end());
        places.insert(places.end(), folders.begin(), folders.end());
        for (const std::string_view view : who.needed) {
            const std::string name(view);
            if (!known.insert(name).second)
                continue;
            std::optional<Library> library;
            if (name.find('/') != std::string::npos)
                library = Load(name, name, file);
            for (auto place = places.begin(); !library && place != places.end(); ++place)
                library = Load(name, *place / name, file);
            if (!library) {
                needed.missing.push_back({name, who.name});
                continue;
            }
            asking.push_back(AskFor(name, library->path, library->elf, who.inherited));
            needed.found.push_back(std::move(*library));
        }
    }
    return needed;
}

std::vector<std::string> WhoDefines(const std::vector<std::string>& symbols, const ElfFile& like,
                                    const std::vector<fs::path>& folders)
{
    std::vector<std::string> libraries(symbols.size());
    std::unordered_map<std::string_view, std::size_t> open;
    for (std::size_t i = 0; i < symbols.size(); ++i)
        open.emplace(symbols[i], i);
    for (const fs::path& folder : folders) {
        for (const fs::path& path : LibrariesIn(folder)) {
            const std::optional<Library> library = open.empty() ? std::nullopt : Load("", path, like);
            if (!library)
                continue;
            const std::string name =
                library->elf.soname.empty() ? path.filename().string() : std::string(library->elf.soname);
            for (const ElfSymbol& symbol : library->elf.symbols) {
                const auto found = symbol.defined ? open.find(symbol.name) : open.end();
                if (found == open.end())
                    continue;
                libraries[found->second] = name;
                open.erase(found);
            }
        }
    }
    return libraries;
}

}  // namespace host
