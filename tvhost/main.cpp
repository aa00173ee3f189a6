#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>
#include <optional>

#include "core/clock.h"
#include "core/nearest.h"
#include "tv/tv.h"
#include "tv/tv_file.h"
#include "tvhost/interrupt.h"
#include "tvhost/plugin.h"
#include "tvhost/recording_marks.h"
#include "tvhost/script.h"
#include "tvhost/trace_file.h"
#include "tvhost/web/files.h"
#include "tvhost/web/host.h"

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

/// Returns the exit status. Throws std::exception, whose what() is for the user.
int Run(int argc, char** argv)
{
    HoldClosedStreams();
    CLI::App app("Runs the streaming-channel plug-in off the TV: plays its page and its TV.", "zelumo-tv");
    app.set_version_flag("--version", ZELUMO_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("zelumo-tv: ") + error.what() + "; --help lists what there is\n";
    });

    std::string plugin;
    app.add_option("--plugin", plugin, "The plug-in; by default the libzelumo.so beside the program")
        ->type_name("PATH");

    std::string tv_file;
    app.add_option("--tv", tv_file, "The TV to stand in for; by default the sample TV")->type_name("FILE");

    std::string settings;
    app.add_option("--settings", settings, "Keep the TV's settings in this SQLite file across runs")
        ->type_name("FILE");

    std::string trace;
    app.add_option("--trace", trace, "Trace the plug-in's scopes into FILE, for Perfetto")->type_name("FILE");

    host::ScriptOptions script;
    CLI::App* const script_command =
        app.add_subcommand("script", "Play a script: JSON lines in, JSON lines out");
    script_command->add_option("FILE", script.file, "The script; - is standard input")->capture_default_str();
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
    serve_command->add_option("--app", serve.app, "The folder of a page of one's own")->type_name("DIR");
    serve_command->add_option("--record", serve.record, "Write all that happens as a script for --check")
        ->type_name("FILE");
    serve_command
        ->add_option("--speed", serve.speed, "How many times as fast playing time runs; 0: it stands still")
        ->check(CLI::Range(0.0, 100000.0) & CLI::Validator(RefuseNotANumber, ""))
        ->type_name("N")
        ->capture_default_str();
    std::string date;
    serve_command
        ->add_option("--date", date, "The TV's date at the start: ISO 8601, or file; by default the real one")
        ->type_name("WHEN")
        ->check(CLI::Validator(RefuseNoDate, ""));
    serve_command->add_option("--web", serve.web, "The web files; by default those beside the program")
        ->type_name("DIR");
    for (CLI::App* command : {script_command, serve_command})
        command->footer(
            "The options of zelumo-tv itself (--plugin, --tv, --settings, --trace) may stand here, too.");
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

    host::CatchInterrupts();
    if (!tv_file.empty())
        tv::LoadTv(tv::ReadTvFile(tv_file));
    const Json::Value usual_settings = tv::SettingsStore::Get().ValuesJson();
    if (!settings.empty())
        tv::SettingsStore::Get().OpenDatabase(settings);
    script.plugin = plugin.empty() ? host::DefaultPluginPath() : std::filesystem::path(plugin);
    // Before the plug-in is loaded: its flag is on from the moment that it registers.
    std::optional<host::TraceFile> trace_file;
    if (!trace.empty())
        trace_file.emplace(trace);
    int status = 0;
    if (serve_command->parsed()) {
        serve.plugin = script.plugin;
        if (!date.empty())
            serve.date = date == kDateOfFile ? tv::TheClock().DateAsSet() : tv::ParseDate(date);
        if (serve.web.empty())
            serve.web = host::DefaultWebPath();
        serve.kept_settings = Differing(tv::SettingsStore::Get().ValuesJson(), usual_settings);
        const std::string tv_option = tv_file.empty() ? "" : "--tv " + tv_file + ' ';
        serve.note = {std::string(host::kRecordingBegins) + ZELUMO_VERSION ". To replay:",
                      "zelumo-tv " + tv_option + "script --check " + serve.record.string()};
        status = host::RunServe(serve);
    } else {
        status = host::RunScript(script);
    }
    if (trace_file)
        trace_file->Finish();
    return status;
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
