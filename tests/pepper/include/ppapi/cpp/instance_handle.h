// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"

namespace pp {

class Instance;

class PEPPER("InstanceHandle") InstanceHandle {
  public:
    PEPPER("InstanceHandle(Instance*)") InstanceHandle(Instance* instance);
    PEPPER("InstanceHandle(PP_Instance)") explicit InstanceHandle(PP_Instance instance);

    PEPPER("InstanceHandle::pp_instance()") PP_Instance pp_instance() const;
};

}  // namespace pp
