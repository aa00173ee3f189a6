// SPDX-License-Identifier: Apache-2.0
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>

#include "tests/plugins/faulty.h"
#include "tests/support/host_process.h"
#include "tvhost/doctor/elf_file.h"

namespace {

using test::Faulty;
using test::PluginPath;

/// Runs the doctor. What it found of one kind ("fault: "), a line each, without the kind.
struct Diagnosis {
    explicit Diagnosis(const std::string& arguments) : result(test::RunHost("doctor " + arguments)) {}
    std::vector<std::string> Of(const std::string& kind) const
    {
        std::vector<std::string> found;
        for (const std::string& line : test::LinesOf(result.out)) {
            if (line.rfind(kind + ": ", 0) == 0)
                found.push_back(line.substr(kind.size() + 2));
        }
        return found;
    }
    /// Each text stands in a line of that kind, one after the other.
    bool Says(const std::string& kind, const std::vector<std::string>& texts) const
    {
        const std::vector<std::string> lines = Of(kind);
        auto line = lines.begin();
        for (const std::string& text : texts) {
            line = std::find_if(line, lines.end(),
                                [&](const std::string& l) { return l.find(text) != std::string::npos; });
            if (line == lines.end())
                return false;
            ++line;
        }
        return true;
    }
    test::HostResult result;
};

/// The faults are exactly these, in this order; each is told by a part of it.
void ExpectFaults(const std::string& arguments, const std::vector<std::string>& faults)
{
    const Diagnosis diagnosis(arguments);
    EXPECT_EQ(diagnosis.result.status, faults.empty() ? 0 : 1) << arguments;
    EXPECT_EQ(diagnosis.Of("fault").size(), faults.size()) << arguments << '\n' << diagnosis.result.out;
    EXPECT_TRUE(diagnosis.Says("fault", faults)) << arguments << '\n' << diagnosis.result.out;
    EXPECT_EQ(diagnosis.result.err, "") << arguments;
}

TEST(Doctor, APluginIsInOrderAsFarAsItGoes)
{
    ExpectFaults("", {});  // the real one
    ExpectFaults("--plugin " + PluginPath("good"), {});
    const Diagnosis real("");
    EXPECT_TRUE(real.Says(
        "ok", {"shared object for", "extension classes, and nothing else", "every symbol", "load hooks",
               "registers with", "an instance", "GetVersion: 1.00", "deregisters with", "loaded again"}))
        << real.result.out;
    EXPECT_EQ(real.result.out.find("asks nothing of"), std::string::npos) << real.result.out;
    EXPECT_TRUE(real.Says("note", {"the stand-ins (libzelumo-platform.so"})) << real.result.out;
}

TEST(Doctor, WhatIsWrongWithTheFileIsSaidInPlainWords)
{
    struct Case {
        std::string arguments;
        std::vector<std::string> faults;
    };
    const test::TemporaryFolder folder;
    const std::string sdk = std::string(ZELUMO_WRONG_PLUGINS) + "/sdk";
    const std::string novelty = sdk + "/lib/libnovelty.so";
    const std::string text = folder.Write("plugin.so", "#!/bin/sh\n");
    const std::string empty = folder.Write("empty.so", "");
    const std::string archive = folder.Write("libzelumo.a", "!<arch>\n");
    const Case cases[] = {
        {"--plugin " + PluginPath("no-factory"), {"does not export pp::CreateModule()"}},
        {"--plugin " + PluginPath("no-map"),
         {"BmsPlay(int)", "code of the stand-ins: tv::PlayerService::Play(int)", "defines itself"}},
        {"--plugin " + PluginPath("stand-in"),
         {"hides the way into it: PPP_InitializeModule",
          "code of the stand-ins: tv::PlayerService::Play(int)"}},
        {"--plugin " + PluginPath("no-hooks"),
         {"does not call ht_register_library, ht_deregister", "never when it is"}},
        {"--no-tracing --plugin " + PluginPath("no-hooks"), {}},
        {"--plugin " + PluginPath("bereft"), {}},
        {"--sdk " + sdk + " --plugin " + PluginPath("good"),
         {"the stand-ins, which no TV has", "folders of a build"}},
        {"--sdk " + sdk + " --plugin " + PluginPath("unlinked"),
         {"needs Novelty(int), which no library that it is linked with defines; libnovelty.so has that",
          "of scope tracing", "of settings", "of the runtime's plug-in support", "of the web runtime"}},
        {"--plugin " + novelty,
         {"does not export pp::CreateModule", "does not export of the extension classes",
          "exports 1 symbol more", "asks none of the TV's libraries", "does not call ht_register_library",
          "never when it is loaded"}},
        {"--plugin " + test::HostPath().string(), {"it is a program"}},
        {"--plugin " + text, {"it is a script"}},
        {"--plugin " + empty, {"it is empty"}},
        {"--plugin " + archive, {"it is a static library"}},
        {"--plugin /proc/self/cmdline", {"it is empty"}},
    };
    for (const auto& [arguments, faults] : cases)
        ExpectFaults(arguments, faults);
    for (const std::string& arguments :
         {std::string("--plugin /nowhere/libzelumo.so"), "--plugin " + sdk, std::string("--plugin /dev/null"),
          std::string("--target z80"), std::string("--sdk /nowhere"), std::string("--time-limit 0")}) {
        const Diagnosis diagnosis(arguments);
        EXPECT_EQ(diagnosis.result.status, 2) << arguments;
        EXPECT_EQ(diagnosis.result.out, "") << arguments;
        EXPECT_EQ(test::LinesOf(diagnosis.result.err).size(), 1U) << diagnosis.result.err;
    }
}

TEST(Doctor, ALibraryThatIsGoneIsNamedAndTheRestIsStillRead)
{
    const test::TemporaryFolder folder;
    std::string bytes = test::ReadFile(PluginPath("bereft"));
    // Its name stands once among those that the loader reads, and it gets another one there.
    const std::string name = "libnovelty.so";
    bytes.replace(bytes.find(name), 3, "lob");
    const std::string plugin = folder.Write("plugin.so", bytes);
    ExpectFaults("--plugin " + plugin, {"needs lobnovelty.so, which is in none of the folders"});
    const Diagnosis diagnosis("--plugin " + plugin);
    EXPECT_TRUE(diagnosis.Says("note", {"1 symbol can't be looked for", "read and not loaded"}))
        << diagnosis.result.out;
}

TEST(Doctor, AnotherArchitectureIsReadNotLoaded)
{
    const test::TemporaryFolder folder;
    std::string bytes = test::ReadFile(PluginPath("good"));
    const Elf64_Half machine = EM_S390;
    std::memcpy(&bytes[offsetof(Elf64_Ehdr, e_machine)], &machine, sizeof machine);
    ExpectFaults("--plugin " + folder.Write("other.so", bytes), {"another architecture: machine 22"});
    // Whichever of the two this machine is, the other one is foreign.
    for (const auto& [number, name] :
         {std::pair<Elf64_Half, std::string>(EM_AARCH64, "arm64"), {EM_X86_64, "x86-64"}}) {
        std::memcpy(&bytes[offsetof(Elf64_Ehdr, e_machine)], &number, sizeof number);
        const std::string plugin = folder.Write(name + ".so", bytes);
        const Diagnosis diagnosis("--plugin " + plugin + " --target " +
                                  (number == EM_AARCH64 ? "aarch64" : "amd64"));
        EXPECT_TRUE(diagnosis.Says("ok", {"is a shared object for " + name, "nothing else", "load hooks"}))
            << diagnosis.result.out;
        EXPECT_TRUE(diagnosis.Says("fault", {"the stand-ins, which no TV has"})) << diagnosis.result.out;
        if (bytes == test::ReadFile(PluginPath("good")))
            continue;
        EXPECT_TRUE(diagnosis.Says("note", {"was read and not loaded"})) << diagnosis.result.out;
        ExpectFaults("--plugin " + plugin, {"another architecture: " + name});
    }
}

TEST(Doctor, HoweverAPluginBehavesWhenItIsTriedItIsSaid)
{
    struct Case {
        const char* fault;
        const char* said;
    };
    const Case cases[] = {
        {"constructor crashes", "crashes with SIGABRT (Aborted), while it was loaded"},
        {"constructor hangs", "hangs: no end within 1 s, while it was loaded"},
        {"constructor exits", "ends the process, with status 3, while it was loaded"},
        {"factory crashes", "SIGABRT (Aborted), while pp::CreateModule made its module"},
        {"factory throws", "throws: this is what it throws, while pp::CreateModule"},
        {"no module", "pp::CreateModule makes no module"},
        {"init fails", "its module does not initialise"},
        {"instance throws", "throws: this is what it throws, while its module made an instance"},
        {"message throws", "throws: this is what it throws, while it answered GetVersion"},
        {"message hangs", "hangs: no end within 1 s, while it answered GetVersion"},
        {"no handler", "does not answer the page"},
        {"no answer", "does not answer the page"},
        {"wrong answer", "answers GetVersion with {\"code\":9"},
        {"leaves a watch", "leaves 1 subscription with the TV"},
        {"destructor crashes", "SIGABRT (Aborted), while it was unloaded"},
        {"no register", "calls ht_register_library never when it is loaded"},
        {"registers twice", "calls ht_register_library 2 times"},
        {"no deregister", "calls ht_deregister_library never when it is unloaded"},
    };
    for (const auto& [fault, said] : cases) {
        SCOPED_TRACE(fault);
        const Faulty faulty(fault);
        ExpectFaults("--time-limit 1 --plugin " + PluginPath("good"), {said});
    }
}

/// Reads it, as often as it may be damaged. Everything that it was read to say lies within its bytes.
bool IsReadable(const std::vector<char>& bytes)
{
    const auto within = [&](std::string_view text) {
        return text.empty() ||
               (text.data() >= bytes.data() && text.data() + text.size() <= bytes.data() + bytes.size());
    };
    try {
        const host::ElfFile file = host::ReadElf({bytes.data(), bytes.size()});
        EXPECT_TRUE(std::all_of(file.needed.begin(), file.needed.end(), within));
        EXPECT_TRUE(std::all_of(file.own_names.begin(), file.own_names.end(), within));
        EXPECT_TRUE(std::all_of(file.symbols.begin(), file.symbols.end(),
                                [&](const host::ElfSymbol& symbol) { return within(symbol.name); }));
        return true;
    } catch (const host::ElfError& error) {
        EXPECT_STRNE(error.what(), "");
        return false;
    }
}

TEST(Doctor, ADamagedFileIsNeverReadBeyondItsEnd)
{
    const std::string whole = test::ReadFile(PluginPath("good"));
    const std::vector<char> bytes(whole.begin(), whole.end());
    ASSERT_TRUE(IsReadable(bytes));
    // Cut off anywhere, it has lost its list of sections at least.
    std::minstd_rand random(7);
    for (int i = 0; i < 300; ++i) {
        const auto size =
            static_cast<std::ptrdiff_t>(i < 100 ? static_cast<std::size_t>(i) : random() % bytes.size());
        EXPECT_FALSE(IsReadable({bytes.begin(), bytes.begin() + size})) << size;
    }
    // Where numbers that are followed stand: the header, the lists of segments and sections, what is said of
    // the linking, and the tables by which symbols are counted.
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof header);
    std::vector<std::pair<std::size_t, std::size_t>> parts{
        {0, sizeof header},
        {header.e_phoff, sizeof(Elf64_Phdr) * header.e_phnum},
        {header.e_shoff, sizeof(Elf64_Shdr) * header.e_shnum}};
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        Elf64_Shdr section;
        std::memcpy(&section, &bytes[header.e_shoff + i * sizeof section], sizeof section);
        const std::set<unsigned> followed{SHT_DYNAMIC, SHT_GNU_HASH, SHT_HASH, SHT_DYNSYM, SHT_SYMTAB};
        if (followed.count(section.sh_type) != 0 && section.sh_size != 0)
            parts.emplace_back(section.sh_offset, section.sh_size);
    }
    int read = 0;
    for (int i = 0; i < 4000; ++i) {
        std::vector<char> damaged = bytes;
        // Every other time the sections that tell how many symbols there are have gone.
        if (i % 2 == 1)
            std::memset(&damaged[offsetof(Elf64_Ehdr, e_shnum)], 0, 2);
        for (unsigned change = 1 + random() % 4; change != 0; --change) {
            const auto& [begin, size] = parts[random() % parts.size()];
            const char values[] = {0, 1, 127, -1, static_cast<char>(random())};
            damaged[begin + random() % size] = values[random() % 5];
        }
        read += IsReadable(damaged) ? 1 : 0;
    }
    // Neither is all of it refused.
    EXPECT_GT(read, 100);
    EXPECT_LT(read, 3900);
}

/// A 32-bit shared object for ARM, laid out as it is loaded, without sections.
struct Image32 {
    Elf32_Ehdr header{};
    Elf32_Phdr segments[2]{};
    Elf32_Dyn dynamic[8]{};
    Elf32_Sym symbols[3]{};
    Elf32_Word hash[2]{1, 3};
    char names[80] = "\0_ZN2pp12CreateModuleEv\0BmsPlay\0libplayer.so.3\0/opt/build/lib:$ORIGIN";

    Image32()
    {
        std::memcpy(header.e_ident, ELFMAG, SELFMAG);
        header.e_ident[EI_CLASS] = ELFCLASS32;
        header.e_ident[EI_DATA] = ELFDATA2LSB;
        header.e_type = ET_DYN;
        header.e_machine = EM_ARM;
        header.e_flags = EF_ARM_EABI_VER5 | EF_ARM_ABI_FLOAT_HARD;
        header.e_phoff = offsetof(Image32, segments);
        header.e_phentsize = sizeof(Elf32_Phdr);
        header.e_phnum = 2;
        segments[0].p_type = PT_LOAD;
        segments[0].p_vaddr = 0x10000;
        segments[0].p_filesz = sizeof *this;
        segments[1].p_type = PT_DYNAMIC;
        segments[1].p_offset = offsetof(Image32, dynamic);
        segments[1].p_filesz = sizeof dynamic;
        constexpr Elf32_Word kAt = 0x10000;
        const std::pair<Elf32_Sword, Elf32_Word> entries[] = {{DT_STRTAB, kAt + offsetof(Image32, names)},
                                                              {DT_STRSZ, sizeof names},
                                                              {DT_SYMTAB, kAt + offsetof(Image32, symbols)},
                                                              {DT_HASH, kAt + offsetof(Image32, hash)},
                                                              {DT_NEEDED, 32},
                                                              {DT_RPATH, 47},
                                                              {DT_TEXTREL, 0}};
        for (std::size_t i = 0; i < std::size(entries); ++i) {
            dynamic[i].d_tag = entries[i].first;
            dynamic[i].d_un.d_val = entries[i].second;
        }
        symbols[1] = {1, 0x10, 4, ELF32_ST_INFO(STB_GLOBAL, STT_FUNC), 0, 1};
        symbols[2] = {24, 0, 0, ELF32_ST_INFO(STB_GLOBAL, STT_FUNC), 0, SHN_UNDEF};
    }
    std::string bytes() const { return {reinterpret_cast<const char*>(this), sizeof *this}; }
};

TEST(Doctor, APluginForA32BitTvIsExaminedOnADesktop)
{
    const test::TemporaryFolder folder;
    const std::string plugin = folder.Write("libzelumo.so", Image32().bytes());
    const std::string options = "--no-tracing --plugin " + plugin;
    // Its libraries are nowhere to be found, which is a fault once it was said where they are.
    ExpectFaults(options + " --target armhf",
                 {"of the extension classes", "looked for in /opt/build/lib (", "text relocations"});
    ExpectFaults(options + " --sdk /tmp --target armv7l",
                 {"of the extension classes", "needs libplayer.so.3, which is in none", "/opt/build/lib",
                  "text reloc"});
    ExpectFaults(options + " --target armel",
                 {"another architecture: armhf, not armel", "of the extension classes", "/opt/build/lib",
                  "text relocations"});
    const Diagnosis diagnosis(options + " --target armhf");
    EXPECT_TRUE(diagnosis.Says("ok", {"shared object for armhf"})) << diagnosis.result.out;
    EXPECT_TRUE(
        diagnosis.Says("note", {"asks nothing of", "not on this machine (libplayer.so.3)", "1 symbol can't"}))
        << diagnosis.result.out;
    std::minstd_rand random(11);
    const std::string whole = Image32().bytes();
    for (int i = 0; i < 2000; ++i) {
        std::vector<char> damaged(whole.begin(), whole.end());
        for (unsigned change = 1 + random() % 4; change != 0; --change)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        IsReadable(damaged);
    }
}

TEST(Doctor, TheSymbolsAreCountedWithoutSectionsToo)
{
    std::string bytes = test::ReadFile(PluginPath("good"));
    const std::size_t with = host::ReadElf(bytes).symbols.size();
    std::memset(&bytes[offsetof(Elf64_Ehdr, e_shoff)], 0, sizeof(Elf64_Off));
    std::memset(&bytes[offsetof(Elf64_Ehdr, e_shnum)], 0, 2 * sizeof(Elf64_Half));
    EXPECT_EQ(host::ReadElf(bytes).symbols.size(), with);
    EXPECT_GT(with, 12U);
}

}  // namespace
