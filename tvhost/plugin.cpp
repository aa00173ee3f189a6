// SPDX-License-Identifier: Apache-2.0
#include "tvhost/plugin.h"

#include <dlfcn.h>

#include <string>
#include <system_error>

#include "services/web-runtime/web_runtime.h"

namespace host {

std::filesystem::path DefaultPluginPath()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path folder = program.parent_path();
    std::filesystem::path beside = folder / "libzelumo.so";
    if (std::filesystem::exists(beside, error))
        return beside;
    return (folder / ZELUMO_PLUGIN_DIR_FROM_BINDIR / "libzelumo.so").lexically_normal();
}

void Plugin::Unload::operator()(void* library) const
{
    dlclose(library);
}

void RequireFile(const std::filesystem::path& plugin)
{
    const std::string name = "plug-in " + plugin.string();
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(plugin, error);
    if (!std::filesystem::exists(status))
        throw PluginError(name + ": no such file");
    if (std::filesystem::is_directory(status))
        throw PluginError(name + ": is a directory");
    if (!std::filesystem::is_regular_file(status))
        throw PluginError(name + ": is no file");
}

Plugin::Plugin(const std::filesystem::path& path)
{
    RequireFile(path);
    const std::string name = "plug-in " + path.string();
    // A name without a slash would be looked for in the system's library folders.
    library_.reset(dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!library_)
        throw PluginError(name + ": can't be loaded: " + dlerror());
    const auto factory = reinterpret_cast<PluginFactory>(dlsym(library_.get(), kFactorySymbol));
    if (factory == nullptr)
        throw PluginError(name + ": exports no module factory (pp::CreateModule)");
    module_.reset(factory());
    if (!module_)
        throw PluginError(name + ": made no module");
    tv::SetModule(module_.get());
    if (!module_->Init()) {
        tv::SetModule(nullptr);
        throw PluginError(name + ": its module did not initialise");
    }
}

Plugin::~Plugin()
{
    tv::SetModule(nullptr);
}

}  // namespace host
