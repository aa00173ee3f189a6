#include "tvhost/check_commands.h"

#include <CLI/CLI.hpp>
#include <system_error>

#include "core/nearest.h"
#include "tvhost/interrupt.h"
#include "tvhost/plugin.h"

namespace host {
namespace {

constexpr int kLongestSeconds = 3600;

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
                     "The TV's SDK or image: libraries are looked for in its library folders first")
        ->type_name("DIR")
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

}  // namespace

CheckCommands::CheckCommands(CLI::App& app) : doctor_command_(AddDoctor(app, doctor_)) {}

std::optional<int> CheckCommands::Run(const std::string& plugin)
{
    const std::filesystem::path path = plugin.empty() ? DefaultPluginPath() : std::filesystem::path(plugin);
    try {
        if (doctor_command_->parsed()) {
            doctor_.plugin = path;
            return RunDoctor(doctor_);
        }
    } catch (const Interrupted&) {
        return 1;
    }
    return std::nullopt;
}

}  // namespace host
