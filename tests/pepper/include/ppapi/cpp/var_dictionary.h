// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/cpp/var.h"

namespace pp {

class VarArray;

class PEPPER("VarDictionary") VarDictionary : public Var {
  public:
    PEPPER("VarDictionary()") VarDictionary();
    PEPPER("VarDictionary(const Var&)") explicit VarDictionary(const Var& var);

    PEPPER("Get") Var Get(const Var& key) const;
    PEPPER("Set") bool Set(const Var& key, const Var& value);
    PEPPER("Delete") void Delete(const Var& key);
    PEPPER("HasKey") bool HasKey(const Var& key) const;
    PEPPER("GetKeys()") VarArray GetKeys() const;
};

}  // namespace pp
