// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>  // what a text is, and no more

#include "ppapi/c/pp_stdint.h"

struct PP_Var;

namespace pp {

enum PEPPER("PassRef") PassRef { PASS_REF PEPPER("PASS_REF") };

class PEPPER("Var") Var {
  public:
    struct PEPPER("Var::Null") Null {};

    PEPPER("Var()") Var();
    PEPPER("Var(Null)") Var(Null);
    PEPPER("Var(bool)") Var(bool value);
    PEPPER("Var(int32_t)") Var(int32_t value);
    PEPPER("Var(double)") Var(double value);
    PEPPER("Var(const char*)") Var(const char* utf8);
    PEPPER("Var(const std::string&)") Var(const std::string& utf8);
    PEPPER("Var(PassRef, const PP_Var&)") Var(PassRef, const PP_Var& var);
    Var(const Var& other);
    virtual ~Var();
    Var& operator=(const Var& other);

    PEPPER("is_undefined()") bool is_undefined() const;
    PEPPER("is_null()") bool is_null() const;
    PEPPER("is_bool()") bool is_bool() const;
    PEPPER("is_int()") bool is_int() const;
    PEPPER("is_double()") bool is_double() const;
    PEPPER("is_number()") bool is_number() const;
    PEPPER("is_string()") bool is_string() const;
    PEPPER("is_array()") bool is_array() const;
    PEPPER("is_dictionary()") bool is_dictionary() const;

    PEPPER("AsBool()") bool AsBool() const;
    PEPPER("AsInt()") int32_t AsInt() const;
    PEPPER("AsDouble()") double AsDouble() const;
    PEPPER("AsString()") std::string AsString() const;

    PEPPER("pp_var()") const PP_Var& pp_var() const;
    PEPPER("Detach()") PP_Var Detach();
    PEPPER("DebugString()") std::string DebugString() const;
};

}  // namespace pp
