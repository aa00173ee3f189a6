// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "ppapi/cpp/module.h"

namespace host {

/// A plug-in could not be loaded; what() is one line that names the file and says why.
class PluginError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// pp::CreateModule() as the compiler names it, and its type.
constexpr char kFactorySymbol[] = "_ZN2pp12CreateModuleEv";
using PluginFactory = pp::Module* (*)();

/// The `libzelumo.so` in the program's own folder, else the one in the folder of plug-ins of the same build
/// or installation; it need not be there.
std::filesystem::path DefaultPluginPath();

/// Throws PluginError when there is no such file.
void RequireFile(const std::filesystem::path& plugin);

/// A loaded plug-in library and its module, reached as the TV's runtime reaches them: through the exported
/// module factory alone. One at a time in a process; made and destroyed on the plug-in thread, after all
/// instances of the module.
class Plugin {
  public:
    /// Throws PluginError.
    explicit Plugin(const std::filesystem::path& path);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    /// Valid as long as this object.
    pp::Module& module() { return *module_; }

  private:
    struct Unload {
        void operator()(void* library) const;
    };
    std::unique_ptr<void, Unload> library_;
    std::unique_ptr<pp::Module> module_;  // its code is in library_, so it goes first
};

}  // namespace host
