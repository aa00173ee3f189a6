// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_stdint.h"

enum PEPPER("PP_VarType") PP_VarType {
    PP_VARTYPE_UNDEFINED PEPPER("PP_VARTYPE_UNDEFINED") = 0,
    PP_VARTYPE_NULL PEPPER("PP_VARTYPE_NULL") = 1,
    PP_VARTYPE_BOOL PEPPER("PP_VARTYPE_BOOL") = 2,
    PP_VARTYPE_INT32 PEPPER("PP_VARTYPE_INT32") = 3,
    PP_VARTYPE_DOUBLE PEPPER("PP_VARTYPE_DOUBLE") = 4,
    PP_VARTYPE_STRING PEPPER("PP_VARTYPE_STRING") = 5,
    PP_VARTYPE_OBJECT PEPPER("PP_VARTYPE_OBJECT") = 6,
    PP_VARTYPE_ARRAY PEPPER("PP_VARTYPE_ARRAY") = 7,
    PP_VARTYPE_DICTIONARY PEPPER("PP_VARTYPE_DICTIONARY") = 8
};

struct PEPPER("PP_Var") PP_Var {
    PP_VarType type;
    int32_t padding;
    union {
        PP_Bool as_bool;
        int32_t as_int;
        double as_double;
        int64_t as_id;
    } value;
};
