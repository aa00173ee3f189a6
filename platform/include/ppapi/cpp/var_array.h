// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace pp {

/// An array seen through a Var; copies share the elements. On a var of another type reads give undefined
/// and changes give false.
class ZELUMO_PLATFORM_API VarArray : public Var {
  public:
    /// A new, empty array.
    VarArray();
    explicit VarArray(const Var& var);

    /// Undefined past the end.
    Var Get(uint32_t index) const;
    /// Grows the array with undefined values when `index` is past its end.
    bool Set(uint32_t index, const Var& value);
    uint32_t GetLength() const;
    /// Drops what is past the end, or grows with undefined values.
    bool SetLength(uint32_t length);
};

}  // namespace pp
