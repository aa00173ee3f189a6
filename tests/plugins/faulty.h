// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>

namespace test {

/// One of the plug-ins that are made beside this file.
inline std::string PluginPath(const std::string& name)
{
    return std::string(ZELUMO_WRONG_PLUGINS) + "/libplugin-" + name + ".so";
}

/// While it lives, those plug-ins are wrong in that way in every program that is started; plugin.cpp says in
/// which ways they can be. While there is one thread only.
class Faulty {
  public:
    explicit Faulty(const char* fault)
    {
        setenv(kVariable, fault, 1);  // NOLINT(concurrency-mt-unsafe)
    }
    ~Faulty()
    {
        unsetenv(kVariable);  // NOLINT(concurrency-mt-unsafe)
    }
    Faulty(const Faulty&) = delete;
    Faulty& operator=(const Faulty&) = delete;

  private:
    static constexpr char kVariable[] = "PLUGIN_FAULT";
};

}  // namespace test
