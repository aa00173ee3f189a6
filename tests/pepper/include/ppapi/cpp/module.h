// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"

namespace pp {

class Instance;

class PEPPER("Module") Module {
  public:
    Module();
    virtual ~Module();

    PEPPER("Init()") virtual bool Init() PEPPER_VIRTUAL;
    PEPPER("CreateInstance") virtual Instance* CreateInstance(PP_Instance instance) PEPPER_VIRTUAL = 0;

    PEPPER("Get()") static Module* Get();
    PEPPER("GetBrowserInterface") const void* GetBrowserInterface(const char* name);
};

}  // namespace pp
