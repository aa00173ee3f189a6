// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "zelumo-platform/export.h"

namespace pp {

class Instance;

/// What a loaded plug-in library offers to the runtime. There is one at a time. Made, used and destroyed on
/// the plug-in thread; Get and GetBrowserInterface on any.
class ZELUMO_PLATFORM_API Module {
  public:
    Module();
    virtual ~Module();

    virtual bool Init();
    /// The runtime owns the result, which is not null, and deletes it.
    virtual Instance* CreateInstance(PP_Instance instance) = 0;

    /// The module that the runtime has loaded, or null.
    static Module* Get();
    /// The runtime's table of functions under that name, valid for the life of the process, or null.
    const void* GetBrowserInterface(const char* interface_name);
};

}  // namespace pp
