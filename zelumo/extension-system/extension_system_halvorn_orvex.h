// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "extension_system_halvorn.h"

namespace pp {

/// The platform's operations behind the extension interface.
class __attribute__((visibility("default"))) ExtensionSystemHalvornOrvex : public ExtensionSystemHalvorn {
  public:
    explicit ExtensionSystemHalvornOrvex(const InstanceHandle& instance);

    /// Whether the runtime grants the privilege of that name; false when `privilege` is not a string or the
    /// call failed. The runtime is asked once for each name: this object keeps the outcome, a denial or a
    /// failure as well as a grant.
    bool CheckPrivilege(const Var& privilege);
    /// The words that the input method is to suggest, passed on as they are. False when the runtime did
    /// not answer true.
    bool SetIMERecommendedWords(const Var& words);
    /// Whether they are to be suggested. False when the runtime did not answer true.
    bool SetIMERecommendedWordsType(bool should_enable);
    /// -1 when the call failed or the answer is not a number.
    int32_t GetWindowId();

  private:
    std::map<std::string, bool> privileges_;  // the outcome of asking, by name
};

}  // namespace pp
