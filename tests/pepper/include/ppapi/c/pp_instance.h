// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

typedef int32_t PP_Instance PEPPER("PP_Instance");
