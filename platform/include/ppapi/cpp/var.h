// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ppapi/c/pp_var.h"
#include "ppapi/cpp/pass_ref.h"
#include "zelumo-platform/export.h"

namespace pp {

/// One value. Copying a string, an array or a dictionary shares its contents. Different Var objects may be
/// used on different threads even when they share contents, as long as nobody changes those. Texts are UTF-8.
/// An array or a dictionary must not contain itself: it would never be released.
class ZELUMO_PLATFORM_API Var {
  public:
    /// The null value, as opposed to the undefined one that Var() gives.
    struct Null {};

    // NOLINTBEGIN(google-explicit-constructor): plain values pass as vars.
    Var() noexcept : var_{PP_VARTYPE_UNDEFINED, 0, {}} {}
    Var(Null) noexcept : var_{PP_VARTYPE_NULL, 0, {}} {}
    Var(bool value) noexcept;
    Var(int32_t value) noexcept;
    Var(double value) noexcept;
    Var(const char* utf8);  // not null
    Var(const std::string& utf8);
    // NOLINTEND(google-explicit-constructor)
    /// Takes over one reference to `var`.
    Var(PassRef, const PP_Var& var) noexcept : var_(var) {}
    /// Adds a reference to `var`.
    explicit Var(const PP_Var& var) noexcept;
    Var(const Var& other) noexcept : Var(other.var_) {}
    Var(Var&& other) noexcept : var_(other.Detach()) {}
    virtual ~Var();

    Var& operator=(const Var& other) noexcept;
    Var& operator=(Var&& other) noexcept;

    bool is_undefined() const { return var_.type == PP_VARTYPE_UNDEFINED; }
    bool is_null() const { return var_.type == PP_VARTYPE_NULL; }
    bool is_bool() const { return var_.type == PP_VARTYPE_BOOL; }
    bool is_int() const { return var_.type == PP_VARTYPE_INT32; }
    bool is_double() const { return var_.type == PP_VARTYPE_DOUBLE; }
    bool is_number() const { return is_int() || is_double(); }
    bool is_string() const { return var_.type == PP_VARTYPE_STRING; }
    bool is_array() const { return var_.type == PP_VARTYPE_ARRAY; }
    bool is_dictionary() const { return var_.type == PP_VARTYPE_DICTIONARY; }

    /// The value, or false, 0, 0.0 and "" when the var is of another type. Ints and doubles convert: a
    /// double read as an int is truncated, and outside the range gives its nearer end; not-a-number gives 0.
    bool AsBool() const;
    int32_t AsInt() const;
    double AsDouble() const;
    std::string AsString() const;

    /// Lends the C value; this object keeps its reference.
    const PP_Var& pp_var() const { return var_; }
    /// Hands the C value and its reference to the caller and becomes undefined.
    PP_Var Detach() noexcept;

    /// A short text for diagnostics, such as "Var<\"text\">".
    std::string DebugString() const;

  protected:
    PP_Var var_;
};

}  // namespace pp
