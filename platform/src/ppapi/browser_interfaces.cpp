#include "ppapi/cpp/module.h"

namespace pp {

const void* Module::GetBrowserInterface(const char*)
{
    return nullptr;
}

}  // namespace pp
