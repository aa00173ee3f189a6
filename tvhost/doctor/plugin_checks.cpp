// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/plugin_checks.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tvhost/doctor/libraries.h"
#include "tvhost/doctor/symbol_names.h"

namespace host {
namespace {

namespace fs = std::filesystem;

/// So many symbols of one library that are not found are named.
constexpr std::size_t kMostMissing = 10;

constexpr char kLinkMap[] =
    "link it with -Wl,--version-script=zelumo/libzelumo.map, as zelumo/CMakeLists.txt does";
constexpr char kNoFolders[] =
    "link it without -rpath (LDFLAGS, CMAKE_INSTALL_RPATH), or build it with -DCMAKE_SKIP_RPATH=ON";
constexpr char kAgainstSdk[] = "build it against the SDK's package (-DCMAKE_PREFIX_PATH=/path/to/sdk)";

/// What linkers export of themselves where no map keeps them from it.
bool IsOfLinker(std::string_view name)
{
    constexpr std::array<std::string_view, 10> kNames{
        "_init",       "_fini",         "_edata",     "__bss_start", "_end",
        "__bss_end__", "__bss_start__", "_bss_end__", "__end__",     "end"};
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

bool Exports(const std::vector<std::string>& readable, const std::string& required)
{
    return std::any_of(readable.begin(), readable.end(),
                       [&](const std::string& name) { return IsNamed(name, required); });
}

/// Of the functions that have no class: those that no header has inline for its own use.
bool IsPlainFunction(const std::string& readable)
{
    return TvLibraryOf(readable) != nullptr && readable.find("::") == std::string::npos &&
           (readable.rfind("Bms", 0) == 0 || readable.rfind("vconf_", 0) == 0 ||
            readable.rfind("device_power_", 0) == 0);
}

/// The readable names of the TV's functions that the plug-in has itself, "seen" from outside or not.
std::vector<std::string> OwnTvFunctions(const ElfFile& file, bool seen)
{
    std::set<std::string> own;
    if (seen) {
        for (const ElfSymbol& symbol : file.symbols) {
            const std::string readable = Demangled(symbol.name);
            if (symbol.defined && !symbol.weak && TvLibraryOf(readable) != nullptr && !IsForExport(readable))
                own.insert(readable);
        }
    } else {
        for (const std::string_view name : file.own_names) {
            const std::string readable = Demangled(name);
            if (IsPlainFunction(readable))
                own.insert(readable);
        }
    }
    return {own.begin(), own.end()};
}

void CheckAskedServices(const Examined& plugin, Findings& findings)
{
    std::set<const TvLibrary*> asked;
    for (const ElfSymbol& symbol : plugin.elf.symbols) {
        if (!symbol.defined)
            asked.insert(TvLibraryOf(Demangled(symbol.name)));
    }
    asked.erase(nullptr);
    if (asked.empty())
        return findings.Fault("asks none of the TV's libraries for anything",
                              "it is another library, or something was linked in that stands in for them");
    std::vector<std::string> unasked;
    for (const TvLibrary& library : TvLibraries()) {
        if (asked.count(&library) == 0 && (plugin.traced || &library != &TvLibraries().back()))
            unasked.emplace_back(library.about);
    }
    if (!unasked.empty())
        findings.Note("asks nothing of " + FirstOf(unasked, unasked.size()) +
                      ": right only where the SDK's headers have that inline under other names");
}

bool IsUsualFolder(const fs::path& folder)
{
    const std::string text = folder.lexically_normal().string();
    return text == "/lib" || text == "/usr/lib" || text.rfind("/lib/", 0) == 0 ||
           (text.rfind("/usr/lib/", 0) == 0 && text.find("-linux-") != std::string::npos) ||
           text == "/lib64" || text == "/usr/lib64";
}

/// The undefined symbols that none of the libraries defines, as the compiler names them.
std::vector<std::string> Unresolved(const ElfFile& file, const NeededLibraries& needed)
{
    std::unordered_set<std::string_view> open;
    for (const ElfSymbol& symbol : file.symbols) {
        if (!symbol.defined && !symbol.weak)
            open.insert(symbol.name);
    }
    for (const Library& library : needed.found) {
        for (const ElfSymbol& symbol : library.elf.symbols) {
            if (symbol.defined)
                open.erase(symbol.name);
        }
    }
    std::vector<std::string> unresolved(open.begin(), open.end());
    std::sort(unresolved.begin(), unresolved.end());
    return unresolved;
}

/// Those that one library would define are told together.
void TellUnresolved(const Examined& plugin, const std::vector<std::string>& unresolved,
                    const std::vector<fs::path>& folders, Findings& findings)
{
    const std::vector<std::string> who = WhoDefines(unresolved, plugin.elf, folders);
    std::map<std::string, std::vector<std::string>> by_remedy;
    for (std::size_t i = 0; i < unresolved.size(); ++i) {
        const std::string readable = Demangled(unresolved[i]);
        const TvLibrary* const library = TvLibraryOf(readable);
        std::string remedy = "no library that was looked through has that";
        if (!who[i].empty())
            remedy = who[i] + " has that: link it with " + who[i];
        else if (library != nullptr)
            remedy = std::string("that is of ") + library->about +
                     ": link it with the SDK's library for it (" + library->library +
                     " in docs/integrating.md)";
        by_remedy[remedy].push_back(readable);
    }
    for (const auto& [remedy, symbols] : by_remedy)
        findings.Fault(
            "needs " + FirstOf(symbols, kMostMissing) + ", which no library that it is linked with defines",
            remedy);
}

/// "/sysroot and /sdk".
std::string Listed(const std::vector<fs::path>& folders)
{
    std::string listed;
    for (const fs::path& folder : folders)
        listed += (listed.empty() ? "" : " and ") + folder.string();
    return listed;
}

/// Tells of the libraries that are not there. Returns how many of them the plug-in itself needs.
std::size_t TellMissing(const Examined& plugin, const NeededLibraries& needed, Findings& findings)
{
    std::vector<std::string> direct;
    for (const auto& [name, needed_by] : needed.missing) {
        if (needed_by.empty())
            direct.push_back(name);
        else
            findings.Note(needed_by + " needs " + name + ", which was not found");
    }
    const bool unknown = plugin.is_foreign && plugin.sdk.empty();
    if (unknown && !direct.empty()) {
        findings.Note("the libraries that it needs are not on this machine (" + FirstOf(direct) +
                      "); with --sdk DIR, where the TV's lie, its symbols are looked for in them");
    } else {
        for (const std::string& name : direct)
            findings.Fault("needs " + name + ", which is in none of the folders that were looked in",
                           plugin.sdk.empty()
                               ? "install it, or give the folder of the TV's libraries with --sdk DIR"
                               : "the TV has to have it; is it in another folder than " + Listed(plugin.sdk) +
                                     "? Give that with another --sdk");
    }
    return direct.size();
}

/// Tells of the libraries that this machine lent for want of the TV's own.
void TellLent(const Examined& plugin, const NeededLibraries& needed, Findings& findings)
{
    const auto is_in_sdk = [&plugin](const fs::path& file) {
        return std::any_of(plugin.sdk.begin(), plugin.sdk.end(), [&file](const fs::path& folder) {
            std::error_code error;
            const std::string root = fs::canonical(folder, error).string() + '/';
            return fs::canonical(file, error).string().rfind(root, 0) == 0;
        });
    };
    std::vector<std::string> lent;
    for (const Library& library : needed.found) {
        const bool is_direct = std::find(plugin.elf.needed.begin(), plugin.elf.needed.end(), library.name) !=
                               plugin.elf.needed.end();
        if (is_direct && !is_in_sdk(library.path))
            lent.push_back(library.name);
    }
    if (!lent.empty())
        findings.Note("needs " + FirstOf(lent, lent.size()) + ", which " + Listed(plugin.sdk) +
                      " lacks, and this machine has; does the TV?");
}

}  // namespace

bool NeedsStandIns(const ElfFile& file)
{
    return std::any_of(file.needed.begin(), file.needed.end(),
                       [](std::string_view name) { return name.rfind(kStandIns, 0) == 0; });
}

void CheckExports(const Examined& plugin, Findings& findings)
{
    std::vector<std::string> exports;
    std::vector<std::string> more;
    for (const ElfSymbol& symbol : plugin.elf.symbols) {
        if (!symbol.defined)
            continue;
        exports.push_back(Demangled(symbol.name));
        if (!IsForExport(exports.back()) && !IsOfLinker(symbol.name))
            more.push_back(exports.back());
    }
    std::vector<std::string> absent;
    for (const std::string& required : RequiredExports()) {
        if (!Exports(exports, required))
            absent.push_back(required);
    }
    const bool has_factory = absent.empty() || absent.front() != RequiredExports().front();
    if (!has_factory) {
        findings.Fault(
            "does not export pp::CreateModule(), by which the runtime makes its module",
            "it is defined in zelumo/src/ZeLumoPluginHandlerModule.cpp, and zelumo/libzelumo.map exports it");
        absent.erase(absent.begin());
    }
    if (!absent.empty())
        findings.Fault("does not export of the extension classes: " + FirstOf(absent),
                       "zelumo/extension-system/ has to be built in, and zelumo/libzelumo.map exports it");
    if (!more.empty())
        findings.Fault("exports " + Counted(more.size(), "symbol") + " more than it should: " + FirstOf(more),
                       kLinkMap);
    std::set<std::string> hidden;
    for (const std::string_view name : plugin.elf.own_names) {
        if (IsEntryPoint(name) && std::find(exports.begin(), exports.end(), name) == exports.end())
            hidden.emplace(name);
    }
    if (!hidden.empty())
        findings.Fault(
            "has Pepper's C++ layer linked in, and hides the way into it: " +
                FirstOf({hidden.begin(), hidden.end()}),
            "name that under global in zelumo/libzelumo.map, or link the layer as a shared library");
    if (has_factory && absent.empty() && more.empty() && hidden.empty())
        findings.Fine("exports pp::CreateModule() and the extension classes, and nothing else");
}

void CheckStandIns(const Examined& plugin, Findings& findings)
{
    const int before = findings.faults() + findings.notes();
    const auto stand_ins = std::find_if(plugin.elf.needed.begin(), plugin.elf.needed.end(),
                                        [](std::string_view name) { return name.rfind(kStandIns, 0) == 0; });
    if (stand_ins != plugin.elf.needed.end()) {
        if (plugin.for_tv)
            findings.Fault("is linked with " + std::string(*stand_ins) + ", the stand-ins, which no TV has",
                           kAgainstSdk);
        else
            findings.Note("is linked with the stand-ins (" + std::string(*stand_ins) +
                          "), to be tried off the TV; for a TV, " + kAgainstSdk);
    }
    std::set<std::string> code;
    for (const std::string_view name : plugin.elf.own_names) {
        if (IsOfStandIns(name))
            code.insert(Demangled(name));
    }
    for (const ElfSymbol& symbol : plugin.elf.symbols) {
        if (symbol.defined && IsOfStandIns(symbol.name))
            code.insert(Demangled(symbol.name));
    }
    if (!code.empty())
        findings.Fault("holds code of the stand-ins: " + FirstOf({code.begin(), code.end()}, 3),
                       "leave their objects out of the link; " + std::string(kAgainstSdk));
    if (const std::vector<std::string> own = OwnTvFunctions(plugin.elf, true); !own.empty())
        findings.Fault("defines itself what the TV's libraries define: " + FirstOf(own),
                       "leave what stands in for them out of the link");
    else if (const std::vector<std::string> hidden = OwnTvFunctions(plugin.elf, false);
             !hidden.empty() && code.empty())
        findings.Note("has in it what the TV's libraries define: " + FirstOf(hidden) +
                      ": right only where the SDK's headers have that inline");
    CheckAskedServices(plugin, findings);
    if (findings.faults() + findings.notes() == before)
        findings.Fine("takes what it asks of the TV from the TV's libraries, with no stand-in");
}

void CheckFolders(const Examined& plugin, Findings& findings)
{
    std::vector<std::string_view> folders = plugin.elf.rpath;
    folders.insert(folders.end(), plugin.elf.runpath.begin(), plugin.elf.runpath.end());
    std::vector<std::string> wrong;
    for (const std::string_view folder : folders) {
        std::error_code error;
        const fs::path path(folder);
        if (folder.rfind("$ORIGIN", 0) == 0 || folder.rfind("${ORIGIN}", 0) == 0 || IsUsualFolder(path) ||
            (path.is_absolute() &&
             std::any_of(plugin.sdk.begin(), plugin.sdk.end(), [&](const fs::path& root) {
                 return fs::is_directory(root / path.relative_path(), error);
             })))
            continue;
        wrong.emplace_back(folder);
    }
    if (wrong.empty()) {
        findings.Fine(folders.empty() ? "names no folders in which libraries are looked for"
                                      : "names no folder of a build in which libraries are looked for");
    } else if (plugin.for_tv) {
        findings.Fault(
            "has libraries looked for in " + FirstOf(wrong) + " (DT_RPATH, DT_RUNPATH), folders of a build",
            kNoFolders);
    } else {
        findings.Note("has libraries looked for in " + FirstOf(wrong) + ", folders of a build; for a TV, " +
                      kNoFolders);
    }
    if (plugin.elf.text_relocations)
        findings.Fault("has text relocations, so that its code has to be written to when it is loaded",
                       "compile all of it, static libraries too, with -fPIC");
    else
        findings.Fine("its code can be loaded anywhere as it is");
    if (!plugin.elf.binds_now)
        findings.Note("is not linked with -Wl,-z,now; the runtime resolves all symbols at once all the same");
}

void CheckLoading(const Examined& plugin, Findings& findings)
{
    constexpr char kHooks[] = "zelumo/src/ZeLumoPluginHandlerLoad.cpp has the hooks, and has to be built in";
    if (!plugin.traced)
        return;
    std::vector<std::string> uncalled{"ht_register_library", "ht_deregister_library"};
    for (const ElfSymbol& symbol : plugin.elf.symbols) {
        const std::string readable = symbol.defined ? "" : Demangled(symbol.name);
        uncalled.erase(std::remove_if(uncalled.begin(), uncalled.end(),
                                      [&](const std::string& name) {
                                          return readable == name || readable.rfind(name + '(', 0) == 0;
                                      }),
                       uncalled.end());
    }
    std::vector<std::string> lists;
    if (!plugin.elf.load_hooks)
        lists.emplace_back("DT_INIT_ARRAY");
    if (!plugin.elf.unload_hooks)
        lists.emplace_back("DT_FINI_ARRAY");
    if (!lists.empty())
        findings.Fault("has nothing called when it is loaded or unloaded: no " + FirstOf(lists), kHooks);
    if (!uncalled.empty())
        findings.Fault(
            "does not call " + FirstOf(uncalled) + " of the tracing library: load hooks are missing",
            std::string(kHooks) + "; for a TV without scope tracing give --no-tracing");
    if (lists.empty() && uncalled.empty())
        findings.Fine("has load hooks, and calls the tracing library");
}

bool CheckSymbols(const Examined& plugin, Findings& findings)
{
    const std::vector<fs::path> folders = LibraryFolders(plugin.elf, plugin.sdk);
    const NeededLibraries needed = FindNeeded(plugin.elf, plugin.path, folders);
    const std::size_t missing = TellMissing(plugin, needed, findings);
    if (!plugin.sdk.empty())
        TellLent(plugin, needed, findings);
    const std::vector<std::string> unresolved = Unresolved(plugin.elf, needed);
    if (missing == 0)
        TellUnresolved(plugin, unresolved, folders, findings);
    else if (!unresolved.empty())
        findings.Note(Counted(unresolved.size(), "symbol") +
                      " can't be looked for, since those libraries may have them");
    if (missing == 0 && unresolved.empty())
        findings.Fine("every library that it needs was found, and in them every symbol");
    if (plugin.is_foreign || missing != 0 || !unresolved.empty())
        return false;
    if (plugin.sdk.empty())
        return needed.missing.empty();
    const NeededLibraries here = FindNeeded(plugin.elf, plugin.path, LibraryFolders(plugin.elf, {}));
    return here.missing.empty() && Unresolved(plugin.elf, here).empty();
}

}  // namespace host
