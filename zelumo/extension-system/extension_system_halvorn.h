// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"

namespace pp {

/// The web runtime's extension interface for one plug-in instance. The runtime is asked for the interface
/// once in a process; when it has none, each operation gives the value of a failed call. Nothing is logged
/// or thrown, allocation failures aside. One object is used on one thread at a time; different objects may
/// be used on different threads.
class __attribute__((visibility("default"))) ExtensionSystemHalvorn {
  public:
    explicit ExtensionSystemHalvorn(const InstanceHandle& instance);

    /// The name of the runtime; empty without the interface or when the answer is not a string.
    std::string GetEmbedderName() const;
    /// As the runtime gave it; undefined without the interface.
    Var GetCurrentExtensionInfo();
    /// The result of the runtime's operation of that name; undefined when the call failed.
    Var GenericSyncCall(const Var& operation_name, const Var& operation_data);

  private:
    PP_Instance instance_;
};

}  // namespace pp
