#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/page.h"

namespace {

using Lines = std::vector<std::string>;

std::string Demangled(const char* name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
    return status == 0 ? text.get() : name;
}

/// A shared object as it lies on disk.
class SharedObject {
  public:
    explicit SharedObject(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        const auto header = At<ElfW(Ehdr)>(0);
        for (unsigned i = 0; i < header.e_shnum; ++i)
            sections_.push_back(At<ElfW(Shdr)>(header.e_shoff + i * sizeof(ElfW(Shdr))));
    }

    /// What the dynamic symbol table defines, demangled.
    std::set<std::string> Exports() const
    {
        std::set<std::string> names;
        for (const Symbol& symbol : Symbols(SHT_DYNSYM)) {
            if (symbol.entry.st_shndx != SHN_UNDEF)
                names.insert(Demangled(symbol.name));
        }
        return names;
    }

    /// The functions that a loader's list (SHT_INIT_ARRAY, SHT_FINI_ARRAY) holds, in order, demangled.
    std::vector<std::string> Functions(ElfW(Word) list_type) const
    {
        std::vector<std::string> names;
        for (const ElfW(Shdr) & list : Sections(list_type)) {
            for (ElfW(Addr) slot = list.sh_addr; slot < list.sh_addr + list.sh_size; slot += sizeof(slot))
                names.push_back(FunctionAt(Relocated(slot)));
        }
        return names;
    }

  private:
    struct Symbol {
        const char* name;
        ElfW(Sym) entry;
    };

    template <typename T>
    T At(std::size_t offset) const
    {
        T value{};
        if (offset + sizeof(T) > bytes_.size())
            throw std::out_of_range("not within the file");
        std::memcpy(&value, bytes_.data() + offset, sizeof(T));
        return value;
    }

    std::vector<ElfW(Shdr)> Sections(ElfW(Word) type) const
    {
        std::vector<ElfW(Shdr)> found;
        for (const ElfW(Shdr) & section : sections_) {
            if (section.sh_type == type)
                found.push_back(section);
        }
        return found;
    }

    std::vector<Symbol> Symbols(ElfW(Word) table_type) const
    {
        std::vector<Symbol> symbols;
        for (const ElfW(Shdr) & table : Sections(table_type)) {
            const char* names = bytes_.data() + sections_.at(table.sh_link).sh_offset;
            for (std::size_t at = 0; at < table.sh_size; at += sizeof(ElfW(Sym))) {
                const auto entry = At<ElfW(Sym)>(table.sh_offset + at);
                symbols.push_back({names + entry.st_name, entry});
            }
        }
        return symbols;
    }

    /// What the loader writes to that address, relative to where it puts the object.
    ElfW(Addr) Relocated(ElfW(Addr) slot) const
    {
        for (const ElfW(Shdr) & table : Sections(SHT_RELA)) {
            for (std::size_t at = 0; at < table.sh_size; at += sizeof(ElfW(Rela))) {
                const auto relocation = At<ElfW(Rela)>(table.sh_offset + at);
                if (relocation.r_offset == slot)
                    return static_cast<ElfW(Addr)>(relocation.r_addend);
            }
        }
        return 0;
    }

    std::string FunctionAt(ElfW(Addr) address) const
    {
        for (const Symbol& symbol : Symbols(SHT_SYMTAB)) {
            if ((symbol.entry.st_info & 0xF) == STT_FUNC && symbol.entry.st_value == address)
                return Demangled(symbol.name);
        }
        return "(nothing)";
    }

    std::string bytes_;
    std::vector<ElfW(Shdr)> sections_;
};

TEST(Library, ExportsTheFactoryAndTheExtensionClassesAlone)
{
    const std::set<std::string> exports = SharedObject(test::PluginPath()).Exports();
    for (const char* operation : {
             "pp::CreateModule()",
             "pp::ExtensionSystemHalvorn::ExtensionSystemHalvorn(pp::InstanceHandle const&)",
             "pp::ExtensionSystemHalvorn::GetEmbedderName[abi:cxx11]() const",
             "pp::ExtensionSystemHalvorn::GetCurrentExtensionInfo()",
             "pp::ExtensionSystemHalvorn::GenericSyncCall(pp::Var const&, pp::Var const&)",
             "pp::ExtensionSystemHalvornOrvex::ExtensionSystemHalvornOrvex(pp::InstanceHandle const&)",
             "pp::ExtensionSystemHalvornOrvex::CheckPrivilege(pp::Var const&)",
             "pp::ExtensionSystemHalvornOrvex::SetIMERecommendedWords(pp::Var const&)",
             "pp::ExtensionSystemHalvornOrvex::SetIMERecommendedWordsType(bool)",
             "pp::ExtensionSystemHalvornOrvex::GetWindowId()",
             "pp::ExtensionSystemHalvornWRT::ExtensionSystemHalvornWRT(pp::InstanceHandle const&)",
             "pp::ExtensionSystemHalvornWRT::IsValid() const",
         }) {
        EXPECT_EQ(exports.count(operation), 1U) << operation << " is not exported";
    }
    for (const std::string& name : exports) {
        const bool is_extension_class = name.rfind("pp::ExtensionSystemHalvorn::", 0) == 0 ||
                                        name.rfind("pp::ExtensionSystemHalvornOrvex::", 0) == 0 ||
                                        name.rfind("pp::ExtensionSystemHalvornWRT::", 0) == 0;
        EXPECT_TRUE(is_extension_class || name == "pp::CreateModule()") << name << " is exported";
    }
}

TEST(Library, HoldsEachLoadHookTwice)
{
    const SharedObject library(test::PluginPath());
    const std::vector<std::pair<const char*, ElfW(Word)>> hooks{{"HtLibHelperInit()", SHT_INIT_ARRAY},
                                                                {"HtLibHelperDeinit()", SHT_FINI_ARRAY}};
    for (const auto& [hook, list] : hooks) {
        int count = 0;
        for (const std::string& function : library.Functions(list)) {
            EXPECT_NE(function, "(nothing)") << "a hole in the list of " << hook;
            count += function.find(hook) != std::string::npos ? 1 : 0;
        }
        EXPECT_EQ(count, 2) << hook;
    }
}

TEST(Library, RegistersWithTheTracingLibraryOnceALoad)
{
    test::Calls calls;
    for (int round = 0; round < 3; ++round) {
        void* library = dlopen(test::PluginPath().c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        EXPECT_EQ(calls.Take(), Lines{"ht_register_library [] -> null"});
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_EQ(calls.Take(), Lines{"ht_deregister_library [] -> null"});
        // cppcheck-suppress leakReturnValNotUsed ; there is nothing to be closed when it is null
        EXPECT_EQ(dlopen(test::PluginPath().c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr)
            << "the library stays in memory";
    }
}

long ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST(Library, LoadsAndUnloadsAThousandTimesWithoutGrowth)
{
    const auto load = [](int times) {
        for (int i = 0; i < times; ++i)
            const host::Plugin plugin(test::PluginPath());
    };
    load(50);
    const long before = ResidentBytes();
    load(1000);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // The sanitizers keep records of their own of every load.
    static_cast<void>(before);
#else
    EXPECT_LT(ResidentBytes() - before, 128 * 1024);
#endif
}

}  // namespace
