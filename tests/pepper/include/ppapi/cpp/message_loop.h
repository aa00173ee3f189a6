// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

namespace pp {

class CompletionCallback;
class InstanceHandle;

class PEPPER("MessageLoop") MessageLoop {
  public:
    PEPPER("MessageLoop(const InstanceHandle&)") explicit MessageLoop(const InstanceHandle& instance);

    PEPPER("AttachToCurrentThread()") int32_t AttachToCurrentThread();
    PEPPER("Run()") int32_t Run();
    PEPPER("PostWork") int32_t PostWork(const CompletionCallback& callback, int64_t delay_ms = 0);
    PEPPER("PostQuit") int32_t PostQuit(bool should_destroy);
    PEPPER("GetCurrent()") static MessageLoop GetCurrent();
};

}  // namespace pp
