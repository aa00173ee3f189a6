// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>
#include <optional>

#include "tvhost/conformance.h"
#include "tvhost/doctor.h"

namespace host {

/// The commands with which an integrator checks a plug-in, on the command line.
class CheckCommands {
  public:
    /// Adds them to `app`, which outlives this object.
    explicit CheckCommands(CLI::App& app);
    CheckCommands(const CheckCommands&) = delete;
    CheckCommands& operator=(const CheckCommands&) = delete;

    /// Carries the chosen one out. `plugin` and `tv_file` are given for all commands;
    /// "": the usual one. Returns its exit
    /// status, or nothing where another command was chosen. Throws as RunDoctor and RunConformance, but for
    /// Interrupted.
    std::optional<int> Run(const std::string& plugin, const std::string& tv_file);

  private:
    DoctorOptions doctor_;
    CLI::App* const doctor_command_;
    ConformanceOptions conformance_;
    CLI::App* const conformance_command_;
};

}  // namespace host
