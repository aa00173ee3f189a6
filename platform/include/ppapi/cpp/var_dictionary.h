// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/cpp/var.h"
#include "ppapi/cpp/var_array.h"
#include "zelumo-platform/export.h"

namespace pp {

/// A dictionary seen through a Var; copies share the entries. Keys are string vars. On a var of another
/// type, or with a key that is not a string, reads give undefined and changes give false.
class ZELUMO_PLATFORM_API VarDictionary : public Var {
  public:
    /// A new, empty dictionary.
    VarDictionary();
    explicit VarDictionary(const Var& var);

    /// Undefined without such a key.
    Var Get(const Var& key) const;
    /// Replaces what stood under the key.
    bool Set(const Var& key, const Var& value);
    void Delete(const Var& key);
    bool HasKey(const Var& key) const;
    /// The keys, sorted by byte value.
    VarArray GetKeys() const;
};

}  // namespace pp
