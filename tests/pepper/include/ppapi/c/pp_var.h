// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"

enum PEPPER("PP_VarType") PP_VarType { PP_VARTYPE_UNDEFINED PEPPER("PP_VARTYPE_UNDEFINED") };

struct PEPPER("PP_Var") PP_Var {
    PP_VarType type;
    int32_t padding;
    union {
        int64_t as_id;
    } value;
};
