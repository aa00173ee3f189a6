// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_stdint.h"
#include "ppapi/cpp/var.h"

namespace pp {

class PEPPER("VarArray") VarArray : public Var {
  public:
    PEPPER("VarArray()") VarArray();
    PEPPER("VarArray(const Var&)") explicit VarArray(const Var& var);

    PEPPER("VarArray::Get") Var Get(uint32_t index) const;
    PEPPER("VarArray::Set") bool Set(uint32_t index, const Var& value);
    PEPPER("GetLength()") uint32_t GetLength() const;
    PEPPER("SetLength") bool SetLength(uint32_t length);
};

}  // namespace pp
