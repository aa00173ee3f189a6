// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/symbol_names.h"

#include <cxxabi.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <utility>

namespace host {
namespace {

/// A longer name is none that somebody reads, and some take long to be made readable.
constexpr std::size_t kLongestName = 2000;

/// The beginnings of readable names, and which of TvLibraries they belong to; the first that fits counts.
constexpr std::array<std::pair<std::string_view, std::size_t>, 19> kBeginnings{{
    {"pp::ExtensionSystem", 9},  // the plug-in's own
    {"pp::SimpleThreadAwaitLoop", 1},
    {"PPBaseMessageHandler", 1},
    {"pp::", 0},
    {"FCAPI", 2},
    {"FCEMSProxy", 2},
    {"FIIPCConnection", 2},
    {"TVServiceAPI", 3},
    {"TCNavigationModeHelper", 3},
    {"TCCriteriaHelper", 3},
    {"TCServiceData", 3},
    {"Bms", 4},
    {"vconf_", 5},
    {"device_power_", 6},
    {"__dlog_", 7},
    {"ht_", 8},
    {"ht::", 8},
    {"TCScope", 8},
    {"TSCodeLocation", 8},
}};

bool BeginsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

}  // namespace

std::string Demangled(std::string_view name)
{
    std::string text(name);
    if (!BeginsWith(name, "_Z") || name.size() > kLongestName)
        return text;
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(text.c_str(), nullptr, nullptr, &status), &std::free);
    return readable ? readable.get() : text;
}

const std::vector<TvLibrary>& TvLibraries()
{
    static const std::vector<TvLibrary> libraries{
        {"the web runtime", "web_runtime"},
        {"the runtime's plug-in support", "plugin_support"},
        {"the content service", "content_service"},
        {"the TV service", "tv_service"},
        {"the player service", "player_service"},
        {"settings", "settings"},
        {"power", "power"},
        {"the log", "log"},
        {"scope tracing", "scope_tracing"},
    };
    return libraries;
}

const TvLibrary* TvLibraryOf(const std::string& readable)
{
    std::string_view name = readable;
    for (const std::string_view prefix : {"vtable for ", "typeinfo for ", "typeinfo name for "}) {
        if (BeginsWith(name, prefix))
            name.remove_prefix(prefix.size());
    }
    const auto found = std::find_if(kBeginnings.begin(), kBeginnings.end(),
                                    [&](const auto& entry) { return BeginsWith(name, entry.first); });
    return found == kBeginnings.end() || found->second >= TvLibraries().size()
               ? nullptr
               : &TvLibraries()[found->second];
}

bool IsEntryPoint(std::string_view name)
{
    return BeginsWith(name, "PPP_");
}

bool IsForExport(const std::string& readable)
{
    return readable == "pp::CreateModule()" || BeginsWith(readable, "pp::ExtensionSystemHalvorn::") ||
           BeginsWith(readable, "pp::ExtensionSystemHalvornOrvex::") ||
           BeginsWith(readable, "pp::ExtensionSystemHalvornWRT::") || IsEntryPoint(readable);
}

const std::vector<std::string>& RequiredExports()
{
    static const std::vector<std::string> required{
        "pp::CreateModule",
        "pp::ExtensionSystemHalvorn::ExtensionSystemHalvorn",
        "pp::ExtensionSystemHalvorn::GetEmbedderName",
        "pp::ExtensionSystemHalvorn::GetCurrentExtensionInfo",
        "pp::ExtensionSystemHalvorn::GenericSyncCall",
        "pp::ExtensionSystemHalvornOrvex::ExtensionSystemHalvornOrvex",
        "pp::ExtensionSystemHalvornOrvex::SetIMERecommendedWords",
        "pp::ExtensionSystemHalvornOrvex::SetIMERecommendedWordsType",
        "pp::ExtensionSystemHalvornOrvex::GetWindowId",
        "pp::ExtensionSystemHalvornOrvex::CheckPrivilege",
        "pp::ExtensionSystemHalvornWRT::ExtensionSystemHalvornWRT",
        "pp::ExtensionSystemHalvornWRT::IsValid",
    };
    return required;
}

bool IsNamed(const std::string& readable, const std::string& required)
{
    return BeginsWith(readable, required) &&
           (readable[required.size()] == '(' || readable[required.size()] == '[');
}

bool IsOfStandIns(std::string_view name)
{
    constexpr std::array<std::string_view, 5> kNamespace{"_ZN2tv", "_ZNK2tv", "_ZTVN2tv", "_ZTIN2tv",
                                                         "_ZGVZN2tv"};
    return std::any_of(kNamespace.begin(), kNamespace.end(),
                       [&](std::string_view beginning) { return BeginsWith(name, beginning); });
}

}  // namespace host
