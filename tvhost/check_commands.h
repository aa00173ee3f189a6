// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>
#include <optional>

#include "tvhost/compare/compare.h"
#include "tvhost/conformance.h"
#include "tvhost/doctor/doctor.h"

namespace host {

/// The commands that check something and say what they found, on the command line.
class CheckCommands {
  public:
    /// Adds them to `app`, which outlives this object and has the options for all commands.
    explicit CheckCommands(CLI::App& app);
    CheckCommands(const CheckCommands&) = delete;
    CheckCommands& operator=(const CheckCommands&) = delete;

    /// Carries the chosen one out. `plugin` and `tv_file` are given for all commands; "": the usual one.
    /// Returns its exit status, or nothing where another command was chosen. Throws as RunDoctor,
    /// RunConformance and RunCompare, but for Interrupted.
    std::optional<int> Run(const std::string& plugin, const std::string& tv_file);

  private:
    DoctorOptions doctor_;
    CLI::App* const doctor_command_;
    ConformanceOptions conformance_;
    CLI::App* const conformance_command_;
    CompareOptions compare_;
    CLI::App* const compare_command_;
};

}  // namespace host
