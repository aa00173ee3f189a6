// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_completion_callback.h"

namespace pp {

/// A function with user data, to be run once with a result from pp_errors.h, on the thread of whoever runs
/// it. Copies are the same callback.
class CompletionCallback {
  public:
    CompletionCallback(PP_CompletionCallback_Func func, void* user_data) : func_(func), user_data_(user_data)
    {}

    void Run(int32_t result) const { func_(user_data_, result); }

  private:
    PP_CompletionCallback_Func func_;
    void* user_data_;  // not owned; outlives the run
};

}  // namespace pp
