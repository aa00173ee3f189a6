// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

/// Names one embedded plug-in element; 0 names none.
using PP_Instance = int32_t;
