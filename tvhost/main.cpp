// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/clock.h"
#include "core/nearest.h"
#include "tv/tv.h"
#include "tv/tv_file.h"
#include "tvhost/check_commands.h"
#include "tvhost/interrupt.h"
#include "tvhost/plugin.h"
#include "tvhost/recording_marks.h"
#include "tvhost/scenario.h"
#include "tvhost/script.h"
#include "tvhost/trace_file.h"
#include "tvhost/web/files.h"
#include "tvhost/web/host.h"
#include "tvhost/web/own_names.h"
#include "tvhost/web/relay_address.h"

namespace {

/// The members of `object` that `usual` does not have, or has otherwise.
Json::Value Differing(const Json::Value& object, const Json::Value& usual)
{
    Json::Value differing(Json::objectValue);
    for (const std::string& name : object.getMemberNames()) {
        if (usual[name] != object[name])
            differing[name] = object[name];
    }
    return differing;
}

constexpr char kDateOfFile[] = "file";
constexpr char kSimulated[] = "simulated";
constexpr char kBrowser[] = "browser";

/// What is wrong with the text of --date, or "".
std::string RefuseNoDate(const std::string& date)
{
    if (date == kDateOfFile || tv::ParseDate(date))
        return "";
    return tv::Quoted(date) +
           " is no date; write it as 2026-01-01T20:00:00Z, from 1970 to 9999, or write file";
}

/// What is wrong with a number that is within no range, or "".
std::string RefuseNotANumber(const std::string& number)
{
    double value = 0;
    return CLI::detail::lexical_cast(number, value) && std::isnan(value) ? number + " is not a number" : "";
}

/// Keeps the place of a standard stream that is closed: else the next file that is opened would get its
/// number, and what is meant for the stream. Its use stays the error that it was.
void HoldClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0)
            continue;
        // What is opened gets the lowest number that is free: the stream's. It stays open.
        // cppcheck-suppress leakReturnValNotUsed
        static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

/// What an option may be given for.
const CLI::Validator kNotEmpty(
    [](const std::string& value) { return value.empty() ? "must not be empty" : ""; }, "");
const CLI::Validator kMedia(
    [](const std::string& value) {
        return value == kSimulated || value == kBrowser
                   ? ""
                   : tv::Quoted(value) + " is neither simulated nor browser";
    },
    "");
const CLI::Validator kRelay(
    [](const std::string& value) {
        host::RelayAddress unused;
        return host::ReadRelayAddress(value, unused);
    },
    "");
const CLI::Validator kOrigin([](const std::string& value) { return host::CheckOrigin(value).value_or(""); },
                             "");

/// What an argument that nobody takes may have been meant for: `; did you mean --record?`, or "".
std::string Meant(const CLI::App& app)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    std::vector<std::string> options;
    const auto add_options = [&options](const CLI::App& command) {
        for (const CLI::Option* option : command.get_options()) {
            for (const std::string& name : option->get_lnames())
                options.push_back("--" + name);
        }
    };
    add_options(app);
    for (const CLI::App* command : chosen)
        add_options(*command);
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        if (chosen.empty())
            commands.push_back(command->get_name());
    }
    for (const std::string& argument : app.remaining(true)) {
        const bool is_option = argument.rfind("--", 0) == 0;
        const std::optional<std::string> nearest =
            tv::Nearest(argument.substr(0, argument.find('=')), is_option ? options : commands);
        if (nearest)
            return "; did you mean " + *nearest + '?';
    }
    return "";
}

/// The two options must not name one file: the first of them is emptied.
void RefuseSameFile(const char* option, const std::string& file, const char* other_option,
                    const std::string& other)
{
    if (!file.empty() && !other.empty() && host::IsSameFile(file, other))
        throw std::runtime_error(std::string(option) + ' ' + file + " would overwrite the file of " +
                                 other_option);
}

struct CommonOptions {
    std::string plugin;
    std::string tv_file;
    std::string settings;
    std::string trace;
    bool end_with_input = false;
    std::string date;
    std::string scenario;
    std::string media = kSimulated;
    std::string relay;
};

/// Web mode. `usual_settings`: those that no database adds to. Returns the exit status. Throws as RunServe.
int Serve(const CommonOptions& common, host::ServeOptions& serve, const Json::Value& usual_settings)
{
    serve.kept_settings = Differing(tv::SettingsStore::Get().ValuesJson(), usual_settings);
    if (!common.date.empty())
        serve.date = common.date == kDateOfFile ? tv::TheClock().DateAsSet() : tv::ParseDate(common.date);
    const bool in_browser = common.media == kBrowser;
    if (!common.relay.empty()) {
        host::ReadRelayAddress(common.relay, serve.relay.emplace());
        serve.note = {std::string(host::kRecordingBegins) + ZELUMO_VERSION ". To compare:",
                      "zelumo-tv compare " + serve.record.string(), host::kRecordingRelayed};
        return host::RunServe(serve);
    }
    serve.note = {std::string(host::kRecordingBegins) + ZELUMO_VERSION ". To replay:",
                  "zelumo-tv " + (common.tv_file.empty() ? "" : "--tv " + common.tv_file + ' ') + "script " +
                      (in_browser ? "--media browser " : "") + "--check " + serve.record.string()};
    if (in_browser && !host::HasDashPlayer(serve.web))
        std::fputs("zelumo-tv: warning: DASH streams need shaka-player; ./setup media installs it\n", stderr);
    return host::RunServe(serve);
}

/// Web mode or script mode, of which the options of one count. Returns the exit status. Throws Interrupted,
/// and as Run.
int Play(const CommonOptions& common, bool is_serve, host::ServeOptions serve, host::ScriptOptions script)
{
    if (common.end_with_input)
        host::InterruptAtEndOfInput();
    if (!common.tv_file.empty()) {
        const std::optional<tv::TvConfig> read = tv::ReadTvFile(common.tv_file, host::InterruptDescriptor());
        if (!read)
            throw host::Interrupted();
        tv::LoadTv(*read);
    }
    tv::PlayerService::Get().SetMedia(common.media == kBrowser ? tv::MediaKind::Browser
                                                               : tv::MediaKind::Simulated);
    const Json::Value usual_settings = tv::SettingsStore::Get().ValuesJson();
    if (!common.settings.empty())
        tv::SettingsStore::Get().OpenDatabase(common.settings);
    if (!common.scenario.empty())
        serve.scenario = host::ReadScenario(common.scenario);
    script.plugin = common.plugin.empty() ? host::DefaultPluginPath() : std::filesystem::path(common.plugin);
    // Before the plug-in is loaded: its flag is on from the moment that it registers.
    std::optional<host::TraceFile> trace_file;
    if (!common.trace.empty())
        trace_file.emplace(common.trace);
    // Once it is certain that the program starts: a file that was there may be a running one's.
    const auto loaded = [&trace_file] {
        if (trace_file)
            trace_file->Begin();
    };
    script.loaded = loaded;
    serve.loaded = loaded;
    // After the files that are made where there are none, so that no link to them goes unseen.
    const std::string script_file = is_serve ? "" : script.file == "-" ? "/dev/stdin" : script.file;
    const std::string record = serve.record.string();
    for (const auto& [option, file] : {std::pair("--record", record), std::pair("--trace", common.trace)}) {
        RefuseSameFile(option, file, "--tv", common.tv_file);
        // What the database keeps beside itself is its own, too.
        for (const char* beside : {"", "-wal", "-shm", "-journal"})
            RefuseSameFile(option, file, "--settings",
                           common.settings.empty() ? "" : common.settings + beside);
        RefuseSameFile(option, file, "--plugin", script.plugin.string());
        RefuseSameFile(option, file, "the script", script_file);
        RefuseSameFile(option, file, "--scenario", common.scenario);
    }
    RefuseSameFile("--record", record, "--trace", common.trace);
    int status = 0;
    if (is_serve) {
        serve.plugin = script.plugin;
        status = Serve(common, serve, usual_settings);
    } else {
        status = host::RunScript(script);
    }
    if (trace_file)
        trace_file->Finish();
    return status;
}

/// Returns the exit status. Throws std::exception, whose what() is for the user.
int Run(int argc, char** argv)
{
    HoldClosedStreams();
    host::CatchInterrupts();
    CLI::App app("Runs the streaming-channel plug-in off the TV: plays its page and its TV.", "zelumo-tv");
    app.set_version_flag("--version", ZELUMO_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.failure_message([&app](const CLI::App*, const CLI::Error& error) {
        const std::string meant = Meant(app);
        return "zelumo-tv: " + tv::Shortened(error.what()) +
               (meant.empty() ? "; --help lists what there is" : meant) + '\n';
    });

    CommonOptions common;
    app.add_option("--plugin", common.plugin, "The plug-in; by default the libzelumo.so beside the program")
        ->type_name("PATH")
        ->check(kNotEmpty);

    app.add_option("--tv", common.tv_file, "The TV to stand in for; by default the sample TV")
        ->type_name("FILE")
        ->check(kNotEmpty);

    app.add_option("--settings", common.settings, "Keep the TV's settings in this SQLite file across runs")
        ->type_name("FILE")
        ->check(kNotEmpty);

    app.add_option("--trace", common.trace, "Trace the plug-in's scopes into FILE, for Perfetto")
        ->type_name("FILE")
        ->check(kNotEmpty);

    host::ScriptOptions script;
    CLI::App* const script_command =
        app.add_subcommand("script", "Play a script: JSON lines in, JSON lines out");
    script_command->add_option("FILE", script.file, "The script; - is standard input")
        ->check(kNotEmpty)
        ->capture_default_str();
    script_command->add_flag("--calls", script.calls, "Also print platform calls");
    script_command->add_flag("--log", script.log, "Also print platform log lines");
    script_command->add_flag("--check", script.check,
                             "FILE also holds the lines out that are expected; print what differs instead");
    script_command->add_flag("--echo", script.echo,
                             "Also print the lines in, so that the output is a script for --check");
    const CLI::App* const tv_command = app.add_subcommand("tv", "Print the sample TV as a file for --tv");

    host::ServeOptions serve;
    CLI::App* const serve_command =
        app.add_subcommand("serve", "Serve the TV to a page in a desktop browser");
    serve_command->add_option("--address", serve.address, "The address to serve on")->capture_default_str();
    serve_command->add_option("--port", serve.port, "The port; 0 takes a free one")
        ->type_name("N")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    serve_command->add_option("--app", serve.app, "The folder of a page of one's own")
        ->type_name("DIR")
        ->check(kNotEmpty);
    serve_command->add_option("--record", serve.record, "Write all that happens as a script for --check")
        ->type_name("FILE")
        ->check(kNotEmpty);
    serve_command->add_flag("--overwrite", serve.overwrite,
                            "Let --record replace a file that holds something");
    serve_command
        ->add_option("--allow-origin", serve.allow_origins,
                     "Pages of that origin may use this TV, too; may be given several times")
        ->type_name("ORIGIN")
        ->allow_extra_args(false)
        ->check(kOrigin);
    serve_command->add_flag("--end-with-input", common.end_with_input, "End when standard input ends");
    serve_command
        ->add_option("--speed", serve.speed, "How many times as fast playing time runs; 0: it stands still")
        ->check(CLI::Range(0.0, 100000.0) & CLI::Validator(RefuseNotANumber, ""))
        ->type_name("N")
        ->capture_default_str();
    serve_command
        ->add_option("--date", common.date,
                     "The TV's date at the start: ISO 8601, or file; by default the real one")
        ->type_name("WHEN")
        ->check(CLI::Validator(RefuseNoDate, ""));
    serve_command
        ->add_option("--scenario", common.scenario,
                     "What happens at the TV, and at which playing time: JSON lines")
        ->type_name("FILE")
        ->check(kNotEmpty);
    serve_command->add_option("--web", serve.web, "The web files; by default those beside the program")
        ->type_name("DIR")
        ->check(kNotEmpty);
    CLI::Option* const relay =
        serve_command
            ->add_option("--relay", common.relay, "Let a real TV take the place of plug-in and stand-ins")
            ->type_name("ADDRESS[:PORT]")
            ->check(kRelay);
    for (CLI::App* command : {script_command, serve_command}) {
        command
            ->add_option("--media", common.media,
                         "Who plays streams: simulated, or browser: the browser page does")
            ->type_name("ENGINE")
            ->check(kMedia)
            ->capture_default_str();
        command->footer(
            "The options of zelumo-tv itself (--plugin, --tv, --settings, --trace) may stand here, too.");
    }
    // What is of the plug-in or of the stand-ins alone would have no effect.
    for (const char* name : {"--plugin", "--tv", "--settings", "--trace"})
        relay->excludes(app.get_option(name));
    for (const char* name : {"--speed", "--date", "--scenario", "--media"})
        relay->excludes(serve_command->get_option(name));
    host::CheckCommands checks(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }

    if (app.get_subcommands().empty()) {
        std::fputs("zelumo-tv: a command is required; --help lists them\n", stderr);
        return 2;
    }
    if (tv_command->parsed()) {
        const std::string_view text = tv::SampleTvText();
        const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
        return written && std::fflush(stdout) == 0 ? 0 : 1;
    }

    if (const std::optional<int> status = checks.Run(common.plugin, common.tv_file))
        return *status;

    const bool is_serve = serve_command->parsed();
    if (is_serve && serve.web.empty())
        serve.web = host::DefaultWebPath();
    try {
        return Play(common, is_serve, serve, script);
    } catch (const host::Interrupted&) {
        return is_serve ? 0 : 1;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
        return 2;
    }
}
