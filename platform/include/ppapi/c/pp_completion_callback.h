#pragma once

#include "ppapi/c/pp_stdint.h"

/// Gets its user data back, and a result as pp_errors.h has them.
using PP_CompletionCallback_Func = void (*)(void* user_data, int32_t result);
