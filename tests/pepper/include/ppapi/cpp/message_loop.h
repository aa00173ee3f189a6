// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

namespace pp {

class InstanceHandle;

class PEPPER("MessageLoop") MessageLoop {
  public:
    PEPPER("MessageLoop(const InstanceHandle&)") explicit MessageLoop(const InstanceHandle& instance);

    PEPPER("AttachToCurrentThread()") int32_t AttachToCurrentThread();
    PEPPER("Run()") int32_t Run();
    PEPPER("PostQuit") int32_t PostQuit(bool should_destroy);
};

}  // namespace pp
