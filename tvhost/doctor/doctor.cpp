// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/doctor.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "tvhost/doctor/elf_file.h"
#include "tvhost/doctor/plugin_checks.h"
#include "tvhost/doctor/trial.h"
#include "tvhost/findings.h"
#include "tvhost/plugin.h"

namespace host {
namespace {

/// How architectures are written, and how they are called here. Of several spellings the first is for people.
constexpr std::array<std::pair<std::string_view, std::string_view>, 11> kTargets{{
    {"x86-64", "x86-64"},
    {"x86_64", "x86-64"},
    {"amd64", "x86-64"},
    {"i386", "i386"},
    {"i686", "i386"},
    {"arm64", "arm64"},
    {"aarch64", "arm64"},
    {"armhf", "armhf"},
    {"armel", "armel"},
    {"arm", "arm"},
    {"armv7l", "arm"},
}};

/// Whether a plug-in of that architecture is one for the target. What a 32-bit ARM file leaves untold fits.
bool Fits(const std::string& architecture, const std::string& target)
{
    const auto is_arm = [](const std::string& name) {
        return name == "arm" || name == "armhf" || name == "armel";
    };
    return architecture == target ||
           (is_arm(architecture) && is_arm(target) && (architecture == "arm" || target == "arm"));
}

std::string OwnArchitecture()
{
    const MappedFile program("/proc/self/exe");
    return ArchitectureOf(ReadElf(program.bytes()));
}

/// What the file is, if it is no shared object.
std::optional<std::string> NoSharedObject(const ElfFile& elf)
{
    switch (elf.kind) {
        case ElfFile::Kind::Object:
            return "it is an object file, which is not linked yet";
        case ElfFile::Kind::Program:
            return "it is a program";
        case ElfFile::Kind::Other:
            return "it is an ELF file of another kind";
        case ElfFile::Kind::SharedObject:
            break;
    }
    if (!elf.is_dynamic)
        return "it does not say how it is to be linked when it is loaded, which debug information alone does "
               "not";
    return std::nullopt;
}

void Try(const Examined& plugin, const DoctorOptions& options, Findings& findings)
{
    const Trial trial = TryPlugin(plugin.path, plugin.traced, options.time_limit);
    for (const std::string& text : trial.fine)
        findings.Fine(text);
    for (const std::string& text : trial.faults)
        findings.Fault(text, "");
}

/// Everything that is looked for in a file that is an ELF file.
void Examine(const ElfFile& elf, const DoctorOptions& options, Findings& findings)
{
    if (const std::optional<std::string> other = NoSharedObject(elf))
        return findings.Fault("no shared object: " + *other, "give the libzelumo.so that the build has made");
    const std::string own = OwnArchitecture();
    const std::string architecture = ArchitectureOf(elf);
    const std::string& wanted = options.target.empty() ? own : options.target;
    const bool is_foreign = !Fits(architecture, own);
    if (Fits(architecture, wanted))
        findings.Fine("is a shared object for " + architecture);
    else
        findings.Fault("is for another architecture: " + architecture + ", not " + wanted,
                       options.target.empty() ? "if that is the TV's, say so: --target " + architecture
                                              : "build it with the toolchain of the TV");
    const bool for_tv = !options.target.empty() || !options.sdk.empty() || !NeedsStandIns(elf);
    const Examined plugin{options.plugin, elf, options.sdk, is_foreign, for_tv, options.traced};
    CheckExports(plugin, findings);
    CheckStandIns(plugin, findings);
    const bool can_be_loaded = CheckSymbols(plugin, findings);
    CheckFolders(plugin, findings);
    CheckLoading(plugin, findings);
    if (can_be_loaded)
        Try(plugin, options, findings);
    else
        findings.Note(is_foreign ? "was read and not loaded: this program is for " + own
                                 : "was read and not loaded: this machine lacks what it needs");
}

}  // namespace

std::string TargetName(const std::string& written)
{
    for (const auto& [spelling, name] : kTargets) {
        if (spelling == written)
            return std::string(name);
    }
    return "";
}

std::string KnownTargets()
{
    std::string known;
    for (const auto& [spelling, name] : kTargets) {
        if (spelling == name)
            known += (known.empty() ? "" : ", ") + std::string(name);
    }
    return known;
}

int RunDoctor(const DoctorOptions& options)
{
    RequireFile(options.plugin);
    std::unique_ptr<MappedFile> file;
    try {
        file = std::make_unique<MappedFile>(options.plugin);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: plug-in %s: %s\n", options.plugin.c_str(),
                     error.code().message().c_str());
        return 2;
    }
    Findings findings;
    try {
        Examine(ReadElf(file->bytes()), options, findings);
    } catch (const ElfError& error) {
        findings.Fault(std::string("no shared object that can be read: ") + error.what(),
                       "give the libzelumo.so that the build has made, or build it anew");
    }
    const auto faults = static_cast<std::size_t>(findings.faults());
    std::printf("%s: %s\n", options.plugin.c_str(),
                faults == 0 ? "in order" : Counted(faults, "fault").c_str());
    return faults == 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace host
