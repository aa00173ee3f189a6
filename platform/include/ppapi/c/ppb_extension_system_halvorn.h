// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_stdint.h"
#include "ppapi/c/pp_var.h"

#define PPB_EXTENSIONSYSTEM_HALVORN_INTERFACE_0_1 "PPB_ExtensionSystem_Halvorn;0.1"

/// What the web runtime offers beside the ordinary Pepper interfaces. Any thread. Arguments are lent; a var
/// that comes back carries one reference, which the caller owns.
struct PPB_ExtensionSystem_Halvorn_0_1 {
    /// A string var: the name of the runtime that embeds the instance.
    PP_Var (*GetEmbedderName)(PP_Instance instance);
    /// What the runtime says about the extension that runs.
    PP_Var (*GetCurrentExtensionInfo)(PP_Instance instance);
    /// Calls the runtime's operation `operation_name`. PP_OK: `*result` was written. Any other status is a
    /// failure, and `*result` holds no reference.
    int32_t (*GenericSyncCall)(PP_Instance instance, PP_Var operation_name, PP_Var operation_data,
                               PP_Var* result);
};
