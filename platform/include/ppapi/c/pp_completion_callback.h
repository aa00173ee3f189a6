// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

/// Is called with its user data and a result from pp_errors.h.
using PP_CompletionCallback_Func = void (*)(void* user_data, int32_t result);
