// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <random>
#include <string>

#include "soak/kills.h"
#include "soak/rounds.h"
#include "tv/tv.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr char kBuild[] = "AddressSanitizer";
constexpr int kPatience = 60;
#elif defined(__SANITIZE_THREAD__)
constexpr char kBuild[] = "ThreadSanitizer";
constexpr int kPatience = 60;
#else
constexpr char kBuild[] = "plain";
constexpr int kPatience = 30;
#endif

/// Returns the exit status.
int Run(int argc, char** argv)
{
    CLI::App app(
        "Drives one host with pages that open and close, commands, events, faults and delays, and kills it "
        "between settings writes; ends with status 1 when anything was lost, answered twice or left over.",
        "zelumo-soak");
    double seconds = 60;
    app.add_option("SECONDS", seconds, "How long")->check(CLI::Range(1.0, 1e6))->capture_default_str();
    std::uint64_t seed = std::random_device()();
    app.add_option("--seed", seed, "What all choices follow from; by default another one each time")
        ->type_name("N");
    std::string only;
    app.add_option("--only", only, "One part alone, for all of the time")
        ->type_name("PART")
        ->check(CLI::IsMember({"in-process", "web", "kills"}));
    CLI11_PARSE(app, argc, argv);

    std::printf("soak: seed %llu, %.0f s, %s\n", static_cast<unsigned long long>(seed), seconds, kBuild);
    std::fflush(stdout);
    soak::Findings findings;
    try {
        soak::Watchdog watchdog{std::chrono::seconds(kPatience)};
        const soak::Run run{seed, findings, watchdog};
        struct Part {
            const char* name;
            double share;  ///< of the time
            std::function<void(std::uint64_t, std::chrono::duration<double>)> play;
        };
        const Part parts[] = {
            {"in-process", 0.35,
             [&](auto number, auto time) {
                 soak::RunPages(
                     run, number, "in process", [] { return std::make_unique<soak::EmbeddedHost>(); }, time);
             }},
            {"web", 0.45,
             [&](auto number, auto time) {
                 soak::RunPages(
                     run, number, "web mode", [&] { return std::make_unique<soak::WebHost>(findings); },
                     time);
             }},
            {"kills", 0.2, [&](auto number, auto time) { soak::RunKills(run, number, time); }},
        };
        std::uint64_t number = 0;
        for (const Part& part : parts) {
            ++number;
            if (!findings.any() && (only.empty() || only == part.name))
                part.play(number,
                          std::chrono::duration<double>(only.empty() ? part.share * seconds : seconds));
        }
    } catch (const std::exception& error) {
        findings.Add(error.what());
    }
    if (findings.any())
        return 1;
    std::puts("soak: nothing lost, nothing answered twice, nothing left over");
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelumo-soak: %s\n", error.what());
        return 1;
    }
}
