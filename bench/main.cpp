#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "tvhost/json_text.h"

namespace {

/// A benchmark and what it is held against: the time of its floor, measured in the same run.
struct Row {
    const char* what;
    const char* benchmark;
    const char* floor;
    double goal;  ///< the greatest ratio, or with `difference` the greatest number of nanoseconds more
    bool difference = false;
};

// clang-format off
const Row kRows[] = {
    {"GetVersion, page to reply",              "GetVersion",                    "HandOverAndBack",          1.15},
    {"GetCurrentChannelInfo alone",            "BM_CurrentChannelInfoAlone",    "BM_CurrentChannelInfoFloor", 1.3},
    {"GetZELumoServices, 10",                  "BM_ServicesAlone/services:10",  "BM_ServicesFloor/services:10", 1.15},
    {"GetZELumoServices, 100",                 "BM_ServicesAlone/services:100", "BM_ServicesFloor/services:100", 1.15},
    {"GetZELumoServices, 1,000",               "BM_ServicesAlone/services:1000", "BM_ServicesFloor/services:1000", 1.15},
    {"GetZELumoServices, 10,000",              "BM_ServicesAlone/services:10000", "BM_ServicesFloor/services:10000", 1.15},
    {"content event to message",               "ContentEvent",                  "PostTheEventsMessage",     1.5},
    {"player report to message",               "ReportToMessage",               "MessagePostedDirectly",    1.5},
    {"settings change to message",             "SettingsChange",                "PostTheSettingsMessage",   1.5},
    {"trace point while tracing is off",       "TracePointOff",                 "NoTracePoint",             3, true},
    {"load, create, destroy, unload",          "LoadCreateDestroyUnload",       "LoadEmptyLibraryAndThread", 2},
    {"blocking message over HTTP",             "AwaitOverHttp/0",               "EchoOverHttp/0",           1.25},
    {"blocking message over HTTP, 10 kB",      "AwaitOverHttp/10000",           "EchoOverHttp/10000",       1.25},
    {"events to 1 WebSocket, a thousand",      "PostToListeners/1",             "WriteToListeners/1",       1.43},
    {"events to 50 WebSockets, a thousand",    "PostToListeners/50",            "WriteToListeners/50",      1.43},
    {"start of web mode to first reply",       "StartToFirstReply",             "StartOfTheProgram",        300e6, true},
};
// clang-format on

/// Prints nothing while the benchmarks run but their names; keeps the median of each.
class MedianKeeper : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::cerr << run.benchmark_name() << ": " << run.error_message << '\n';
                failed_ = true;
            } else if (run.aggregate_name == "median") {
                std::string name = run.run_name.function_name;
                if (!run.run_name.args.empty())
                    name += '/' + run.run_name.args;
                const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
                medians_[name] = run.GetAdjustedRealTime() / unit * 1e9;
                for (const auto& [counter, value] : run.counters)
                    counters_[name + " " + counter] = value.value;
                std::cerr << "measured " << name << '\n';
            }
        }
    }

    bool failed() const { return failed_; }
    const std::map<std::string, double>& medians() const { return medians_; }
    const std::map<std::string, double>& counters() const { return counters_; }

  private:
    bool failed_ = false;
    std::map<std::string, double> medians_;   ///< nanoseconds
    std::map<std::string, double> counters_;  ///< "benchmark counter"
};

std::string Time(double nanoseconds)
{
    char text[32];
    if (nanoseconds < 1e3)
        std::snprintf(text, sizeof text, "%.2f ns", nanoseconds);
    else if (nanoseconds < 1e6)
        std::snprintf(text, sizeof text, "%.2f us", nanoseconds / 1e3);
    else
        std::snprintf(text, sizeof text, "%.2f ms", nanoseconds / 1e6);
    return text;
}

Json::Value PrintTable(const MedianKeeper& kept)
{
    Json::Value table(Json::arrayValue);
    std::printf("%-36s %12s %12s %10s %10s  %s\n", "what", "time", "floor", "ratio", "goal", "held");
    for (const Row& row : kRows) {
        const auto time = kept.medians().find(row.benchmark);
        const auto floor = kept.medians().find(row.floor);
        if (time == kept.medians().end() || floor == kept.medians().end())
            continue;
        const double measured = row.difference ? time->second - floor->second : time->second / floor->second;
        const bool held = measured <= row.goal;
        const auto figure = [&row](double value) {
            char text[32];
            std::snprintf(text, sizeof text, "%.2f", value);
            return row.difference ? Time(value) : std::string(text);
        };
        std::printf("%-36s %12s %12s %10s %10s  %s\n", row.what, Time(time->second).c_str(),
                    Time(floor->second).c_str(), figure(measured).c_str(), figure(row.goal).c_str(),
                    held ? "yes" : "no");
        Json::Value line;
        line["what"] = row.what;
        line["nanoseconds"] = time->second;
        line["floor"] = floor->second;
        line[row.difference ? "difference" : "ratio"] = measured;
        line["goal"] = row.goal;
        line["held"] = held;
        table.append(line);
    }
    for (const auto& [name, value] : kept.counters()) {
        if (name.find("_per_second") == std::string::npos)
            std::printf("%-60s %g\n", name.c_str(), value);
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
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 2;
    if (plain)
        return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
    MedianKeeper kept;
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
