#pragma once

#include "ppapi/c/pp_stdint.h"

/// Names one embedded plug-in element; 0 names none.
typedef int32_t PP_Instance;
