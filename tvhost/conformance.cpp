// SPDX-License-Identifier: Apache-2.0
#include "tvhost/conformance.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

#include "core/nearest.h"
#include "tvhost/child.h"
#include "tvhost/findings.h"
#include "tvhost/interrupt.h"
#include "tvhost/json_text.h"
#include "tvhost/plugin.h"
#include "tvhost/script_file.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr char kOptions[] = "Options: ";
constexpr char kPluginFault[] = "zelumo-tv: plug-in ";
constexpr std::size_t kMaxOutput = std::size_t{4} * 1024 * 1024;
/// So many lines are told of what a script that failed has printed.
constexpr std::size_t kMaxTold = 8;

struct Script {
    fs::path path;
    std::string name;
    std::string covers;
    std::vector<std::string> options;
    std::size_t lines_in = 0;
};

/// A script that failed, and why: a line that says it, and what it has printed.
struct Failure {
    std::string name;
    std::string why;
    std::string printed;
};

fs::path DefaultScripts()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / ZELUMO_DATADIR_FROM_BINDIR / "zelumo" / "conformance").lexically_normal();
}

bool IsLineIn(const std::string& line)
{
    try {
        return !IsLineOut(ParseJson(line, kMaxMessageDepth * 2));
    } catch (const JsonError&) {
        return true;  // whose error is expected
    }
}

/// Throws std::system_error.
Script ReadScript(const fs::path& path)
{
    std::ifstream file(path);
    if (!file)
        throw std::system_error(errno, std::generic_category(), path.string());
    Script script{path, path.stem().string(), {}, {}, 0};
    for (std::string line; std::getline(file, line);) {
        const std::string comment = line.rfind("# ", 0) == 0 ? line.substr(2) : "";
        if (script.lines_in == 0 && comment.rfind(kOptions, 0) == 0) {
            std::istringstream words(comment.substr(sizeof kOptions - 1));
            for (std::string word; words >> word;)
                script.options.push_back(word);
        } else if (script.lines_in == 0 && script.covers.empty()) {
            script.covers = comment;
        }
        if (line.find_first_not_of(" \t") != std::string::npos && line.front() != '#' && IsLineIn(line))
            ++script.lines_in;
    }
    return script;
}

/// Those in the folder, by name. Throws std::system_error.
std::vector<Script> ReadScripts(const fs::path& folder)
{
    std::vector<Script> scripts;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".jsonl")
            scripts.push_back(ReadScript(entry.path()));
    }
    std::sort(scripts.begin(), scripts.end(),
              [](const Script& a, const Script& b) { return a.name < b.name; });
    return scripts;
}

/// Keeps of the scripts those that are named. Returns the name that none of them has, or nothing.
std::optional<std::string> Choose(const std::vector<std::string>& names, std::vector<Script>& scripts)
{
    std::vector<Script> chosen;
    for (const std::string& name : names) {
        const auto found = std::find_if(scripts.begin(), scripts.end(),
                                        [&](const Script& script) { return script.name == name; });
        if (found == scripts.end())
            return name;
        chosen.push_back(*found);
    }
    if (!names.empty())
        scripts = chosen;
    return std::nullopt;
}

std::vector<std::string> NamesOf(const std::vector<Script>& scripts)
{
    std::vector<std::string> names;
    std::transform(scripts.begin(), scripts.end(), std::back_inserter(names),
                   [](const Script& script) { return script.name; });
    return names;
}

ChildEnd Play(const Script& script, const ConformanceOptions& options)
{
    std::vector<std::string> arguments{"zelumo-tv", "--plugin", options.plugin.string()};
    if (!options.tv_file.empty())
        arguments.insert(arguments.end(), {"--tv", options.tv_file});
    arguments.emplace_back("script");
    arguments.insert(arguments.end(), script.options.begin(), script.options.end());
    arguments.insert(arguments.end(), {"--check", script.path.string()});
    std::vector<char*> pointers(arguments.size() + 1, nullptr);
    std::transform(arguments.begin(), arguments.end(), pointers.begin(),
                   [](std::string& argument) { return argument.data(); });
    const auto become = [&pointers](int descriptor) {
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(descriptor, STDOUT_FILENO);
        dup2(descriptor, STDERR_FILENO);
        execv("/proc/self/exe", pointers.data());
        return 127;
    };
    return RunChild(become, options.time_limit, kMaxOutput);
}

/// Why the script that came to that end has failed; nothing: it has passed.
std::optional<std::string> FailureOf(const ChildEnd& end, const ConformanceOptions& options)
{
    switch (end.how) {
        case ChildEnd::How::Signalled:
            return "crashed with " + SignalName(end.status);
        case ChildEnd::How::TimedOut:
            return "no end within " + std::to_string(options.time_limit.count()) + " s";
        case ChildEnd::How::Interrupted:
            throw Interrupted();
        case ChildEnd::How::Exited:
            break;
    }
    if (end.status == 0)
        return std::nullopt;
    return end.status == 1 ? "other lines came out than it expects"
                           : "ended with status " + std::to_string(end.status);
}

int WidthOf(const std::vector<Script>& scripts)
{
    std::size_t width = sizeof "script" - 1;
    for (const Script& script : scripts)
        width = std::max(width, script.name.size());
    return static_cast<int>(width);
}

void PrintFailure(const Failure& failure)
{
    std::printf("\n%s: %s\n", failure.name.c_str(), failure.why.c_str());
    std::istringstream lines(failure.printed);
    std::string line;
    for (std::size_t told = 0; std::getline(lines, line); ++told) {
        if (told == kMaxTold) {
            std::printf("  … zelumo-tv script --check prints all of it\n");
            return;
        }
        std::printf("  %s\n", line.c_str());
    }
}

int Refuse(const std::string& why)
{
    std::fprintf(stderr, "zelumo-tv: %s\n", why.c_str());
    return 2;
}

void List(const std::vector<Script>& scripts)
{
    const int width = WidthOf(scripts);
    std::printf("%-*s  %8s  %s\n", width, "script", "lines in", "what it covers");
    for (const Script& script : scripts)
        std::printf("%-*s  %8zu  %s\n", width, script.name.c_str(), script.lines_in, script.covers.c_str());
}

}  // namespace

int RunConformance(const ConformanceOptions& options)
{
    const fs::path folder = options.scripts.empty() ? DefaultScripts() : options.scripts;
    std::vector<Script> scripts;
    try {
        scripts = ReadScripts(folder);
    } catch (const std::system_error& error) {
        return Refuse("the scripts in " + folder.string() + " can't be read: " + error.code().message());
    }
    if (scripts.empty())
        return Refuse("there are no scripts in " + folder.string());
    const std::vector<std::string> known = NamesOf(scripts);
    if (const std::optional<std::string> unknown = Choose(options.names, scripts))
        return Refuse("there is no script " + tv::Quoted(*unknown) + " in " + folder.string() +
                      tv::DidYouMean(*unknown, known));
    if (options.list) {
        List(scripts);
        return 0;
    }
    RequireFile(options.plugin);
    const int width = WidthOf(scripts);
    std::printf("%-*s  %8s  %-6s  %7s  %s\n", width, "script", "lines in", "result", "time",
                "what it covers");
    std::fflush(stdout);
    std::vector<Failure> failures;
    for (const Script& script : scripts) {
        const ChildEnd end = Play(script, options);
        const std::optional<std::string> why = FailureOf(end, options);
        if (why && end.out.rfind(kPluginFault, 0) == 0)
            return Refuse(
                end.out.substr(sizeof "zelumo-tv: " - 1, end.out.find('\n') - (sizeof "zelumo-tv: " - 1)) +
                "; zelumo-tv doctor says more");
        std::printf("%-*s  %8zu  %-6s  %5.2f s  %s\n", width, script.name.c_str(), script.lines_in,
                    why ? "failed" : "passed", static_cast<double>(end.took.count()) / 1000,
                    script.covers.c_str());
        std::fflush(stdout);
        if (why)
            failures.push_back({script.name, *why, end.out});
    }
    std::for_each(failures.begin(), failures.end(), PrintFailure);
    std::printf("\n%s: %s passed", options.plugin.c_str(),
                Counted(scripts.size() - failures.size(), "script").c_str());
    if (!failures.empty())
        std::printf(", %zu failed", failures.size());
    std::printf("\n");
    return failures.empty() && std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace host
