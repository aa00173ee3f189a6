// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "ppapi/c/ppb_extension_system_halvorn.h"
#include "ppapi/cpp/module.h"
#include "services/web-runtime/extension_system.h"

namespace pp {

const void* Module::GetBrowserInterface(const char* interface_name)
{
    if (std::strcmp(interface_name, PPB_EXTENSIONSYSTEM_HALVORN_INTERFACE_0_1) == 0)
        return tv::ExtensionSystem::Get().LookUp();
    return nullptr;
}

}  // namespace pp
