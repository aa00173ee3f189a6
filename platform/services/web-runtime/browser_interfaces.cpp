#include <cstring>

#include "ppapi/c/ppb_extension_system_halvorn.h"
#include "ppapi/cpp/module.h"
#include "tv/tv.h"

namespace pp {

const void* Module::GetBrowserInterface(const char* interface_name)
{
    if (std::strcmp(interface_name, PPB_EXTENSIONSYSTEM_HALVORN_INTERFACE_0_1) == 0)
        return tv::Tv::Get().extension().LookUp();
    return nullptr;
}

}  // namespace pp
