// SPDX-License-Identifier: Apache-2.0
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>

#include "tests/plugins/faulty.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tvhost/doctor/elf_file.h"

namespace test {
namespace {

/// Each text stands in a line of that kind, one after the other.
bool Says(const Lines& lines, const std::string& kind, const Lines& texts)
{
    auto line = lines.begin();
    for (const std::string& text : texts) {
        line = std::find_if(line, lines.end(), [&](const std::string& l) {
            return l.rfind(kind, 0) == 0 && l.find(text) != std::string::npos;
        });
        if (line == lines.end())
            return false;
        ++line;
    }
    return true;
}

/// Runs the doctor. The faults are exactly these, in this order; each is told by a part of it, and so are
/// some of what is in order and of the notes.
void ExpectFaults(const std::string& arguments, const Lines& faults, const Lines& fine = {},
                  const Lines& notes = {})
{
    const HostResult result = RunHost("doctor " + arguments);
    const Lines lines = LinesOf(result.out);
    EXPECT_EQ(result.status, faults.empty() ? 0 : 1) << arguments;
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line) { return line.rfind("fault: ", 0) == 0; }),
              static_cast<std::ptrdiff_t>(faults.size()))
        << arguments << '\n'
        << result.out;
    EXPECT_TRUE(Says(lines, "fault: ", faults) && Says(lines, "ok: ", fine) && Says(lines, "note: ", notes))
        << arguments << '\n'
        << result.out;
    EXPECT_EQ(result.err, "") << arguments;
}

TEST(Doctor, APluginIsInOrderAsFarAsItGoes)
{
    ExpectFaults("--plugin " + PluginPath("good"), {});
    // The real one.
    ExpectFaults("", {},
                 {"shared object for", "extension classes, and nothing else", "every symbol", "load hooks",
                  "registers with", "an instance", "GetVersion: 1.00", "deregisters with", "loaded again"},
                 {"the stand-ins (libzelumo-platform.so"});
    EXPECT_EQ(RunHost("doctor").out.find("asks nothing of"), std::string::npos);
}

TEST(Doctor, WhatIsWrongWithTheFileIsSaidInPlainWords)
{
    const TemporaryFolder folder;
    const std::string novelties = std::string(ZELUMO_WRONG_PLUGINS) + "/sdk";
    const std::string sdk = "--sdk " + novelties + ' ';
    const auto made = [](const char* name) { return "--plugin " + PluginPath(name); };
    const auto beginning = [&](const char* text) { return "--plugin " + folder.Write("libzelumo.so", text); };
    const std::pair<std::string, Lines> cases[] = {
        {made("no-factory"), {"does not export pp::CreateModule()"}},
        {made("no-map"),
         {"BmsPlay(int)", "code of the stand-ins: tv::PlayerService::Play(int)", "defines itself"}},
        {made("stand-in"),
         {"hides the way into it: PPP_InitializeModule",
          "code of the stand-ins: tv::PlayerService::Play(int)"}},
        {made("no-hooks"), {"does not call ht_register_library, ht_deregister", "never when it is"}},
        {"--no-tracing " + made("no-hooks"), {}},
        {made("bereft"), {}},
        {sdk + made("good"), {"the stand-ins, which no TV has", "folders of a build"}},
        {sdk + made("unlinked"),
         {"needs Novelty(int), which no library that it is linked with defines; libnovelty.so has that",
          "of scope tracing", "of settings", "of the runtime's plug-in support", "of the web runtime"}},
        {"--plugin " + novelties + "/lib/libnovelty.so",
         {"does not export pp::CreateModule", "does not export of the extension classes",
          "exports 1 symbol more", "asks none of the TV's libraries", "does not call ht_register_library",
          "never when it is loaded"}},
        {"--plugin " + HostPath().string(), {"it is a program"}},
    };
    for (const auto& [arguments, faults] : cases)
        ExpectFaults(arguments, faults);
    ExpectFaults(beginning("#!/bin/sh\n"), {"it is a script"});
    ExpectFaults(beginning(""), {"it is empty"});
    ExpectFaults(beginning("!<arch>\n"), {"it is a static library"});
    for (const std::string& arguments :
         {std::string("--plugin /nowhere/libzelumo.so"), "--plugin " + novelties,
          std::string("--plugin /dev/null"), std::string("--target z80"), std::string("--sdk /nowhere"),
          std::string("--time-limit 0")})
        EXPECT_EQ(RefusalFault("doctor " + arguments, "zelumo-tv: "), "") << arguments;
}

TEST(Doctor, ALibraryThatIsGoneIsNamedAndTheRestIsStillRead)
{
    const TemporaryFolder folder;
    std::string bytes = ReadFile(PluginPath("bereft"));
    // Its name stands once among those that the loader reads, and it gets another one there.
    bytes.replace(bytes.find("libnovelty.so"), 3, "lob");
    ExpectFaults("--plugin " + folder.Write("plugin.so", bytes),
                 {"needs lobnovelty.so, which is in none of the folders"}, {},
                 {"1 symbol can't be looked for", "read and not loaded"});
}

TEST(Doctor, AnotherArchitectureIsReadNotLoaded)
{
    const TemporaryFolder folder;
    std::string bytes = ReadFile(PluginPath("good"));
    const Elf64_Half machine = EM_S390;
    std::memcpy(&bytes[offsetof(Elf64_Ehdr, e_machine)], &machine, sizeof machine);
    ExpectFaults("--plugin " + folder.Write("other.so", bytes), {"another architecture: machine 22"});
    // Whichever of the two this machine is, the other one is foreign.
    for (const auto& [number, name] :
         {std::pair<Elf64_Half, std::string>(EM_AARCH64, "arm64"), {EM_X86_64, "x86-64"}}) {
        std::memcpy(&bytes[offsetof(Elf64_Ehdr, e_machine)], &number, sizeof number);
        const std::string plugin = "--plugin " + folder.Write(name + ".so", bytes);
        const bool is_own = bytes == ReadFile(PluginPath("good"));
        ExpectFaults(plugin + " --target " + (number == EM_AARCH64 ? "aarch64" : "amd64"),
                     {"the stand-ins, which no TV has", "folders of a build"},
                     {"is a shared object for " + name, "nothing else", "load hooks"},
                     is_own ? Lines{} : Lines{"was read and not loaded"});
        if (!is_own)
            ExpectFaults(plugin, {"another architecture: " + name});
    }
}

TEST(Doctor, HoweverAPluginBehavesWhenItIsTriedItIsSaid)
{
    const std::pair<const char*, const char*> cases[] = {
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
    const std::string whole = ReadFile(PluginPath("good"));
    const std::vector<char> bytes(whole.begin(), whole.end());
    ASSERT_TRUE(IsReadable(bytes));
    // Its symbols are counted without sections, too.
    std::string bare = whole;
    std::memset(&bare[offsetof(Elf64_Ehdr, e_shoff)], 0, sizeof(Elf64_Off));
    std::memset(&bare[offsetof(Elf64_Ehdr, e_shnum)], 0, 2 * sizeof(Elf64_Half));
    EXPECT_EQ(host::ReadElf(bare).symbols.size(), host::ReadElf(whole).symbols.size());
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
    static constexpr Elf32_Addr kAt = 0x10000;
    Elf32_Ehdr header{};
    Elf32_Phdr segments[2]{{PT_LOAD, 0, kAt, 0, sizeof(Image32), 0, 0, 0},
                           {PT_DYNAMIC, offsetof(Image32, dynamic), 0, 0, sizeof dynamic, 0, 0, 0}};
    Elf32_Dyn dynamic[8]{{DT_STRTAB, {kAt + offsetof(Image32, names)}},
                         {DT_STRSZ, {sizeof names}},
                         {DT_SYMTAB, {kAt + offsetof(Image32, symbols)}},
                         {DT_HASH, {kAt + offsetof(Image32, hash)}},
                         {DT_NEEDED, {32}},
                         {DT_RPATH, {47}},
                         {DT_TEXTREL, {0}},
                         {DT_NULL, {0}}};
    Elf32_Sym symbols[3]{{},
                         {1, 0x10, 4, ELF32_ST_INFO(STB_GLOBAL, STT_FUNC), 0, 1},
                         {24, 0, 0, ELF32_ST_INFO(STB_GLOBAL, STT_FUNC), 0, SHN_UNDEF}};
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
    }
    std::string bytes() const { return {reinterpret_cast<const char*>(this), sizeof *this}; }
};

TEST(Doctor, APluginForA32BitTvIsExaminedOnADesktop)
{
    const TemporaryFolder folder;
    const std::string plugin = folder.Write("libzelumo.so", Image32().bytes());
    const std::string options = "--no-tracing --plugin " + plugin;
    // Its libraries are nowhere to be found, which is a fault once it was said where they are.
    ExpectFaults(options + " --target armhf",
                 {"of the extension classes", "looked for in /opt/build/lib (", "text relocations"},
                 {"shared object for armhf"},
                 {"asks nothing of", "not on this machine (libplayer.so.3)", "1 symbol can't"});
    ExpectFaults(options + " --sdk /tmp --target armv7l",
                 {"of the extension classes", "needs libplayer.so.3, which is in none", "/opt/build/lib",
                  "text reloc"});
    ExpectFaults(options + " --target armel",
                 {"another architecture: armhf, not armel", "of the extension classes", "/opt/build/lib",
                  "text relocations"});
    std::minstd_rand random(11);
    const std::string whole = Image32().bytes();
    for (int i = 0; i < 2000; ++i) {
        std::vector<char> damaged(whole.begin(), whole.end());
        for (unsigned change = 1 + random() % 4; change != 0; --change)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        IsReadable(damaged);
    }
}

}  // namespace
}  // namespace test
