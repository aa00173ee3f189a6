// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <set>

#include "tests/fresh_process.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tvhost/doctor/elf_file.h"
#include "tvhost/doctor/symbol_names.h"

namespace {

using test::Lines;

// That nothing else is exported, the doctor's tests see.
TEST(Library, ExportsTheFactoryAndTheExtensionClasses)
{
    const std::string file = test::ReadFile(test::PluginPath());
    std::set<std::string> exports;
    for (const host::ElfSymbol& symbol : host::ReadElf(file).symbols) {
        if (symbol.defined)
            exports.insert(host::Demangled(symbol.name));
    }
    for (const std::string operation : {
             "CreateModule()",
             "ExtensionSystemHalvorn::ExtensionSystemHalvorn(pp::InstanceHandle const&)",
             "ExtensionSystemHalvorn::GetEmbedderName[abi:cxx11]() const",
             "ExtensionSystemHalvorn::GetCurrentExtensionInfo()",
             "ExtensionSystemHalvorn::GenericSyncCall(pp::Var const&, pp::Var const&)",
             "ExtensionSystemHalvornOrvex::ExtensionSystemHalvornOrvex(pp::InstanceHandle const&)",
             "ExtensionSystemHalvornOrvex::CheckPrivilege(pp::Var const&)",
             "ExtensionSystemHalvornOrvex::SetIMERecommendedWords(pp::Var const&)",
             "ExtensionSystemHalvornOrvex::SetIMERecommendedWordsType(bool)",
             "ExtensionSystemHalvornOrvex::GetWindowId()",
             "ExtensionSystemHalvornWRT::ExtensionSystemHalvornWRT(pp::InstanceHandle const&)",
             "ExtensionSystemHalvornWRT::IsValid() const",
         })
        EXPECT_EQ(exports.count("pp::" + operation), 1U) << operation << " is not exported";
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
    // Each load registers with the tracing library once, and none stays in memory.
    test::InFreshProcess("", [] {
        test::Calls calls;
        const auto load = [&calls](int times) {
            for (int i = 0; i < times; ++i) {
                auto plugin = std::make_unique<host::Plugin>(test::PluginPath());
                ASSERT_EQ(calls.Take(), Lines{"ht_register_library [] -> null"});
                plugin.reset();
                ASSERT_EQ(calls.Take(), Lines{"ht_deregister_library [] -> null"});
            }
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
    });
}

}  // namespace
