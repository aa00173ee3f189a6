#pragma once

#include <CLI/App.hpp>
#include <optional>

#include "tvhost/doctor.h"

namespace host {

/// The commands with which an integrator checks a plug-in, on the command line.
class CheckCommands {
  public:
    /// Adds them to `app`, which outlives this object.
    explicit CheckCommands(CLI::App& app);
    CheckCommands(const CheckCommands&) = delete;
    CheckCommands& operator=(const CheckCommands&) = delete;

    /// Carries the chosen one out. `plugin` is given for all commands; "": the usual one. Returns its exit
    /// status, or nothing where another command was chosen. Throws as RunDoctor, but for Interrupted.
    std::optional<int> Run(const std::string& plugin);

  private:
    DoctorOptions doctor_;
    CLI::App* const doctor_command_;
};

}  // namespace host
