// SPDX-License-Identifier: Apache-2.0
#include "tvhost/check_commands.h"

#include <CLI/CLI.hpp>
#include <system_error>

#include "core/nearest.h"
#include "tvhost/interrupt.h"
#include "tvhost/plugin.h"

namespace host {
namespace {

constexpr int kLongestSeconds = 3600;

const CLI::Validator kNotEmpty(
    [](const std::string& value) { return value.empty() ? "must not be empty" : ""; }, "");

const CLI::Validator kIsFolder(
    [](const std::string& path) {
        std::error_code error;
        return std::filesystem::is_directory(path, error) ? "" : tv::Quoted(path) + " is no folder";
    },
    "");

CLI::Option* AddTimeLimit(CLI::App& command, std::chrono::seconds& limit, const char* about)
{
    return command
        .add_option_function<int>(
            "--time-limit", [&limit](int seconds) { limit = std::chrono::seconds(seconds); }, about)
        ->check(CLI::Range(1, kLongestSeconds).description(""))
        ->type_name("SECONDS")
        ->default_str(std::to_string(limit.count()));
}

CLI::App* AddDoctor(CLI::App& app, DoctorOptions& options)
{
    CLI::App* const command =
        app.add_subcommand("doctor", "Say what is wrong with a built plug-in, and what to do");
    command
        ->add_option_function<std::string>(
            "--target", [&options](const std::string& target) { options.target = TargetName(target); },
            "The architecture of the TV that it is for: " + KnownTargets())
        ->type_name("ARCH")
        ->check(CLI::Validator(
            [](const std::string& target) {
                return TargetName(target).empty() ? tv::Quoted(target) + " is none of " + KnownTargets() : "";
            },
            ""));
    command
        ->add_option("--sdk", options.sdk,
                     "The TV's SDK or image: libraries are looked for in its library folders first; may be "
                     "given several times")
        ->type_name("DIR")
        ->allow_extra_args(false)
        ->check(kIsFolder);
    command->add_flag_callback(
        "--no-tracing", [&options] { options.traced = false; },
        "The TV has no scope tracing: look for no load hooks");
    AddTimeLimit(*command, options.time_limit, "How long loading and unloading it may take");
    command->footer(
        "--plugin names the plug-in. Status 0: in order; 1: there are faults; 2: no such file, or wrong "
        "usage.");
    return command;
}

CLI::App* AddConformance(CLI::App& app, ConformanceOptions& options)
{
    CLI::App* const command =
        app.add_subcommand("conformance", "Play the scripts that hold what they expect against a plug-in");
    command->add_option("NAME", options.names, "The scripts to play; by default all");
    command->add_flag("--list", options.list, "Say which scripts there are, and play none");
    command->add_option("--scripts", options.scripts, "A folder with scripts of one's own (.jsonl)")
        ->type_name("DIR")
        ->check(kIsFolder);
    AddTimeLimit(*command, options.time_limit, "How long each script may take");
    command->footer(
        "--plugin names the plug-in, which has to be linked with the stand-ins, and --tv a TV for one's own "
        "scripts.\nStatus 0: all passed; 1: some failed; 2: no such file, or wrong usage.");
    return command;
}

CLI::App* AddCompare(CLI::App& app, CompareOptions& options)
{
    CLI::App* const command =
        app.add_subcommand("compare", "Replay a recording on the stand-ins, and say what differs");
    command->add_option("RECORDING", options.recording, "The recording, a FILE; - is standard input")
        ->required()
        ->check(kNotEmpty);
    command
        ->add_option("--by-form", options.by_form,
                     "A table of more that differs by nature, as compare.json; may be given several times")
        ->type_name("FILE")
        ->allow_extra_args(false)
        ->check(kNotEmpty);
    CLI::Option* const learn =
        command
            ->add_option("--learn", options.learn,
                         "Write the TV that the recording tells of, as a file for --tv")
            ->type_name("FILE")
            ->check(kNotEmpty);
    command->add_flag("--overwrite", options.overwrite, "Let --learn replace a file that holds something")
        ->needs(learn);
    command->footer(
        "--tv names the TV to compare with.\nStatus 0: nothing differs; 1: something does; 2: no such file, "
        "or "
        "wrong usage.");
    return command;
}

}  // namespace

CheckCommands::CheckCommands(CLI::App& app)
    : doctor_command_(AddDoctor(app, doctor_)),
      conformance_command_(AddConformance(app, conformance_)),
      compare_command_(AddCompare(app, compare_))
{
    // They run on settings of their own.
    for (CLI::App* command : {doctor_command_, conformance_command_, compare_command_}) {
        for (const char* name : {"--settings", "--trace"})
            command->excludes(app.get_option(name));
    }
    doctor_command_->excludes(app.get_option("--tv"));
}

std::optional<int> CheckCommands::Run(const std::string& plugin, const std::string& tv_file)
{
    const std::filesystem::path path = plugin.empty() ? DefaultPluginPath() : std::filesystem::path(plugin);
    try {
        if (doctor_command_->parsed()) {
            doctor_.plugin = path;
            return RunDoctor(doctor_);
        }
        if (conformance_command_->parsed()) {
            conformance_.plugin = path;
            conformance_.tv_file = tv_file;
            return RunConformance(conformance_);
        }
        if (compare_command_->parsed()) {
            compare_.plugin = path;
            compare_.tv_file = tv_file;
            return RunCompare(compare_);
        }
    } catch (const Interrupted&) {
        return 1;
    }
    return std::nullopt;
}

}  // namespace host
