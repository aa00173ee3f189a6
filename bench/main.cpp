// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tvhost/json_text.h"

namespace {

enum class Kind {
    Time,        ///< real time as a ratio of the floor's
    Rows,        ///< one command's ratio to its floor, against another one's
    Cpu,         ///< CPU time as a ratio: the thread's own, or the process's where the benchmark says so
    Difference,  ///< nanoseconds more than the floor
    Counter,     ///< a counter of the benchmark, as a ratio of the floor's
    Limit,       ///< a counter by itself, or without a counter the real time
};

/// A benchmark and what it is held against, measured in the same run. A name that ends with '*' stands for
/// all benchmarks that begin so, each against the floor of the same ending: the worst of them is shown.
struct Row {
    const char* what = nullptr;
    const char* benchmark = nullptr;
    const char* floor = nullptr;  ///< null with Kind::Limit alone
    double goal = 0;              ///< the greatest that holds
    Kind kind = Kind::Time;
    const char* counter = "";
};

// clang-format off
const Row kRows[] = {
    {"GetVersion, page to reply",             "GetVersion",                     "HandOverAndBack",            1.15},
    {"dispatcher alone, worst command",       "Dispatch/*",                     "DispatchFloor/*",            2, Kind::Cpu},
    {"dispatcher alone, last row to first",   "SetPreviousService",             "GetVersion",                 1.3, Kind::Rows},
    {"GetCurrentChannelInfo alone",           "CurrentChannelInfoAlone",     "CurrentChannelInfoFloor", 1.3, Kind::Cpu},
    {"GetZELumoServices, 10",                 "ServicesAlone/services:10",   "ServicesFloor/services:10", 1.15, Kind::Cpu},
    {"GetZELumoServices, 100",                "ServicesAlone/services:100",  "ServicesFloor/services:100", 1.15, Kind::Cpu},
    {"GetZELumoServices, 1,000",              "ServicesAlone/services:1000", "ServicesFloor/services:1000", 1.15, Kind::Cpu},
    {"GetZELumoServices, 10,000",             "ServicesAlone/services:10000", "ServicesFloor/services:10000", 1.15, Kind::Cpu},
    {"GetZELumoServices, 10,000, peak bytes", "ServicesAlone/services:10000", "ServicesFloor/services:10000", 1.2, Kind::Counter, "peak_bytes"},
    {"content event to message, 1,000",           "ContentEvent",                   "PostTheEventsMessage",       1.5},
    {"player report to message",              "ReportToMessage",                "MessagePostedDirectly",      1.5},
    {"settings change to message, 1,000",           "SettingsChange",                 "PostTheSettingsMessage",     1.5},
    {"trace point while tracing is off",      "TracePointOff",                  "NoTracePoint",               3, Kind::Difference},
    {"platform call that nobody watches",     "PlatformCallUnwatched",          "NoPlatformCall",             3, Kind::Difference},
    {"1,000,000 messages, growth in KiB",     "MessagesInARow",                 nullptr,                      256, Kind::Limit, "grown_KiB"},
    {"1,000,000 events, growth in KiB",       "EventsInARow",                   nullptr,                      256, Kind::Limit, "grown_KiB"},
    {"load, create, destroy, unload",         "LoadCreateDestroyUnload",        "LoadEmptyLibraryAndThread",  2},
    {"libzelumo.so, stripped, in KiB",        "LoadCreateDestroyUnload",        nullptr,                      300, Kind::Limit, "stripped_KiB"},
    {"blocking message over HTTP",            "AwaitOverHttp/0",                "EchoOverHttp/0",             1.5},
    {"the same, to an echo by two threads",   "AwaitOverHttp/0",                "EchoByAnotherThread/0",      1.15},
    {"blocking message over HTTP, 10 kB",     "AwaitOverHttp/10000",            "EchoOverHttp/10000",         1.3},
    {"blocking message in a browser",         "AwaitInBrowser",                 "EchoInBrowser",              1.2},
    {"messages to 1 WebSocket, 1,000",    "PostToListeners/1",              "WriteToListeners/1",         1 / 0.7},
    {"the same, CPU time",                    "PostToListeners/1",              "WriteToListeners/1",         1.2, Kind::Cpu},
    {"messages to 50 WebSockets, 1,000",  "PostToListeners/50",             "WriteToListeners/50",        1 / 0.7},
    {"start of web mode to first reply",      "StartToFirstReply",              nullptr,                      300e6, Kind::Limit},
};
// clang-format on

/// Of one benchmark: the fastest of its repetitions, since whatever else the machine does only adds.
struct Measured {
    double real = 0;  ///< nanoseconds
    double cpu = 0;   ///< nanoseconds
    std::map<std::string, double> counters;
};

/// Prints nothing while the benchmarks run; keeps what was measured.
class Keeper : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::cerr << run.benchmark_name() << ": " << run.error_message << '\n';
                failed_ = true;
            } else if (run.run_type == Run::RT_Iteration) {
                Keep(run);
            }
        }
    }

    bool failed() const { return failed_; }
    const std::map<std::string, Measured>& measured() const { return measured_; }
    const Measured* Find(const std::string& name) const
    {
        const auto found = measured_.find(name);
        return found == measured_.end() ? nullptr : &found->second;
    }

  private:
    void Keep(const Run& run)
    {
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty())
            name += '/' + run.run_name.args;
        const double nanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        const double real = run.GetAdjustedRealTime() * nanoseconds;
        const double cpu = run.GetAdjustedCPUTime() * nanoseconds;
        const auto [kept, is_new] = measured_.try_emplace(name, Measured{real, cpu, {}});
        kept->second.real = std::min(kept->second.real, real);
        kept->second.cpu = std::min(kept->second.cpu, cpu);
        for (const auto& [counter, value] : run.counters) {
            double& best = kept->second.counters.try_emplace(counter, value.value).first->second;
            best = std::min(best, value.value);
        }
    }

    bool failed_ = false;
    std::map<std::string, Measured> measured_;
};

/// A row's figures.
struct Figures {
    double value;
    double floor;
    double compared;  ///< what is held against the goal
};

std::optional<Figures> Compare(const Row& row, const Measured* measured, const Measured* floor)
{
    if (measured == nullptr || (row.kind != Kind::Limit && floor == nullptr))
        return std::nullopt;
    const auto counter = [&row](const Measured& from) {
        const auto found = from.counters.find(row.counter);
        return found == from.counters.end() ? 0 : found->second;
    };
    switch (row.kind) {
        case Kind::Time:
            return Figures{measured->real, floor->real, measured->real / floor->real};
        case Kind::Cpu:
            return Figures{measured->cpu, floor->cpu, measured->cpu / floor->cpu};
        case Kind::Rows:
            break;  // of four benchmarks: see Find
        case Kind::Difference:
            return Figures{measured->real, floor->real, measured->real - floor->real};
        case Kind::Counter:
            return Figures{counter(*measured), counter(*floor), counter(*measured) / counter(*floor)};
        case Kind::Limit:
            return *row.counter == '\0' ? Figures{measured->real, 0, measured->real}
                                        : Figures{counter(*measured), 0, counter(*measured)};
    }
    return std::nullopt;
}

/// The row's figures, and which benchmark they are of; nothing when it was not run.
std::optional<std::pair<Figures, std::string>> Find(const Row& row, const Keeper& kept)
{
    const std::string name = row.benchmark;
    if (row.kind == Kind::Rows) {
        const auto ratio = [&kept](const std::string& command) {
            const Measured* const measured = kept.Find("Dispatch/" + command);
            const Measured* const floor = kept.Find("DispatchFloor/" + command);
            return measured != nullptr && floor != nullptr ? measured->cpu / floor->cpu : 0;
        };
        const double last = ratio(name);
        const double first = ratio(row.floor);
        if (last == 0 || first == 0)
            return std::nullopt;
        return std::pair(Figures{last, first, last / first}, std::string());
    }
    if (name.back() != '*') {
        const std::optional<Figures> figures =
            Compare(row, kept.Find(name), row.floor == nullptr ? nullptr : kept.Find(row.floor));
        return figures ? std::optional(std::pair(*figures, std::string())) : std::nullopt;
    }
    const std::string start = name.substr(0, name.size() - 1);
    const std::string floor_start = std::string(row.floor).substr(0, std::string(row.floor).size() - 1);
    std::optional<std::pair<Figures, std::string>> worst;
    for (const auto& [one, measured] : kept.measured()) {
        if (one.compare(0, start.size(), start) != 0)
            continue;
        const std::string ending = one.substr(start.size());
        const std::optional<Figures> figures = Compare(row, &measured, kept.Find(floor_start + ending));
        if (figures && (!worst || figures->compared > worst->first.compared))
            worst = std::pair(*figures, ending);
    }
    return worst;
}

std::string Time(double nanoseconds)
{
    char text[32];
    if (std::abs(nanoseconds) < 1e3)
        std::snprintf(text, sizeof text, "%.2f ns", nanoseconds);
    else if (nanoseconds < 1e6)
        std::snprintf(text, sizeof text, "%.2f us", nanoseconds / 1e3);
    else
        std::snprintf(text, sizeof text, "%.2f ms", nanoseconds / 1e6);
    return text;
}

std::string Plain(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value >= 1000 ? "%.0f" : "%.2f", value);
    return text;
}

bool IsTime(const Row& row)
{
    return row.kind != Kind::Rows && *row.counter == '\0';
}

bool Holds(const Row& row, const Figures& figures)
{
    return figures.compared <= row.goal;
}

/// `worst` is the benchmark that the figures are of, where the row stands for several.
void PrintRow(const Row& row, const Figures& figures, const std::string& worst)
{
    const auto shown = [&](double value) { return IsTime(row) ? Time(value) : Plain(value); };
    const auto compared = [&](double value) {
        if (row.kind == Kind::Difference)
            return (value < 0 ? "" : "+") + Time(value);
        return row.kind == Kind::Limit ? shown(value) : Plain(value);
    };
    std::printf("%-38s %12s %12s %10s %10s  %s%s%s\n", row.what, shown(figures.value).c_str(),
                row.floor == nullptr ? "" : shown(figures.floor).c_str(),
                row.kind == Kind::Limit ? "" : compared(figures.compared).c_str(), compared(row.goal).c_str(),
                Holds(row, figures) ? "yes" : "no", worst.empty() ? "" : ", ", worst.c_str());
}

Json::Value ToJson(const Row& row, const Figures& figures, const std::string& worst)
{
    Json::Value line;
    line["what"] = row.what;
    if (!worst.empty())
        line["worst"] = worst;
    line[IsTime(row) ? "nanoseconds" : "value"] = figures.value;
    if (row.floor != nullptr)
        line["floor"] = figures.floor;
    if (row.kind != Kind::Limit)
        line[row.kind == Kind::Difference ? "difference" : "ratio"] = figures.compared;
    line["goal"] = row.goal;
    line["held"] = Holds(row, figures);
    return line;
}

Json::Value PrintTable(const Keeper& kept)
{
    Json::Value table(Json::arrayValue);
    std::printf("%-38s %12s %12s %10s %10s  %s\n", "what", "measured", "floor", "ratio", "goal", "held");
    for (const Row& row : kRows) {
        if (const auto found = Find(row, kept)) {
            PrintRow(row, found->first, found->second);
            table.append(ToJson(row, found->first, found->second));
        }
    }
    return table;
}

}  // namespace

/// Runs the benchmarks several times and prints one table of ratios. `--json FILE` keeps it; other options
/// are those of the benchmark library. With `--plain` that library prints as usual.
int main(int argc, char** argv)
{
    std::vector<std::string> arguments{argv[0], "--benchmark_repetitions=5", "--benchmark_min_time=0.1",
                                       "--benchmark_enable_random_interleaving=true"};
    std::string json_file;
    bool plain = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--json" && i + 1 < argc)
            json_file = argv[++i];
        else if (argument == "--plain")
            plain = true;
        else
            arguments.push_back(argument);
    }
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 2;
    if (plain)
        return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
    Keeper kept;
    benchmark::RunSpecifiedBenchmarks(&kept);
    const Json::Value table = PrintTable(kept);
    if (!json_file.empty()) {
        std::ofstream file(json_file);
        file << host::WriteJson(table) << '\n';
        if (!file.flush()) {
            std::fprintf(stderr, "can't write %s\n", json_file.c_str());
            return 2;
        }
    }
    return kept.failed() ? 1 : 0;
}
