#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace {

using test::Lines;

/// What the library's dynamic symbol table defines, demangled.
std::set<std::string> Exports()
{
    std::FILE* const listing = popen(("nm -DC --defined-only " + test::PluginPath().string()).c_str(), "r");
    std::string text;
    for (int c = std::fgetc(listing); c != EOF; c = std::fgetc(listing))
        text += static_cast<char>(c);
    EXPECT_EQ(pclose(listing), 0);
    std::set<std::string> names;
    for (const std::string& line : test::LinesOf(text))
        names.insert(line.substr(line.find(' ') + 3));  // behind the address and the type
    return names;
}

TEST(Library, ExportsTheFactoryAndTheExtensionClassesAlone)
{
    const std::set<std::string> exports = Exports();
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
    void* const library = dlopen(test::PluginPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    link_map* map = nullptr;
    ASSERT_EQ(dlinfo(library, RTLD_DI_LINKMAP, &map), 0) << dlerror();
    std::map<ElfW(Sxword), ElfW(Xword)> entries;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry)
        entries[entry->d_tag] = entry->d_un.d_val;
    for (const auto& [list, size] :
         {std::pair(DT_INIT_ARRAY, DT_INIT_ARRAYSZ), {DT_FINI_ARRAY, DT_FINI_ARRAYSZ}}) {
        const auto* const functions = reinterpret_cast<const ElfW(Addr)*>(map->l_addr + entries[list]);
        std::map<ElfW(Addr), int> times;
        int twice = 0;
        for (std::size_t i = 0; i < entries[size] / sizeof(*functions); ++i)
            twice += ++times[functions[i]] == 2 ? 1 : 0;
        EXPECT_EQ(times.count(0), 0U) << "a hole in list " << list;
        EXPECT_EQ(twice, 1) << "in list " << list;
    }
    dlclose(library);
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
