// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "services/web-runtime/web_runtime.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tvhost/plugin.h"

namespace {

/// Floor: a library with the plug-in's dependencies loaded and unloaded, and one thread started and joined,
/// as each instance does with its worker.
void LoadEmptyLibraryAndThread(benchmark::State& state)
{
    for (auto _ : state) {
        void* const library = dlopen(ZELUMO_EMPTY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        std::thread([] {}).join();
        dlclose(library);
    }
}
BENCHMARK(LoadEmptyLibraryAndThread)->UseRealTime();

void CreateAndDestroyAnInstance(benchmark::State& state)
{
    host::Plugin plugin(test::PluginPath());
    for (auto _ : state)
        const tv::EmbeddedInstance instance(plugin.module(), [](const pp::Var&) {});
}
BENCHMARK(CreateAndDestroyAnInstance)->UseRealTime();

/// "stripped_KiB" is the size of the plug-in as it ships.
void LoadCreateDestroyUnload(benchmark::State& state)
{
    for (auto _ : state) {
        host::Plugin plugin(test::PluginPath());
        const tv::EmbeddedInstance instance(plugin.module(), [](const pp::Var&) {});
    }
    const test::TemporaryFolder folder;
    const std::filesystem::path stripped = folder / "libzelumo.so";
    const std::string strip = "strip -o " + stripped.string() + " " + test::PluginPath().string();
    if (std::system(strip.c_str()) != 0)
        state.SkipWithError("strip failed");
    else
        state.counters["stripped_KiB"] = static_cast<double>(std::filesystem::file_size(stripped)) / 1024;
}
BENCHMARK(LoadCreateDestroyUnload)->UseRealTime();

}  // namespace
