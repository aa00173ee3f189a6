// SPDX-License-Identifier: Apache-2.0
#include "extension_system_halvorn_orvex.h"

namespace pp {
namespace {

/// Also false when `result` is no bool.
bool IsTrue(const Var& result)
{
    return result.is_bool() && result.AsBool();
}

}  // namespace

ExtensionSystemHalvornOrvex::ExtensionSystemHalvornOrvex(const InstanceHandle& instance)
    : ExtensionSystemHalvorn(instance)
{}

bool ExtensionSystemHalvornOrvex::CheckPrivilege(const Var& privilege)
{
    if (!privilege.is_string())
        return false;
    const std::string name = privilege.AsString();
    const auto known = privileges_.find(name);
    if (known != privileges_.end())
        return known->second;
    const bool granted = IsTrue(GenericSyncCall("check_ace_privilege", privilege));
    privileges_.emplace(name, granted);
    return granted;
}

bool ExtensionSystemHalvornOrvex::SetIMERecommendedWords(const Var& words)
{
    return IsTrue(GenericSyncCall("set_ime_recommended_words", words));
}

bool ExtensionSystemHalvornOrvex::SetIMERecommendedWordsType(bool should_enable)
{
    return IsTrue(GenericSyncCall("set_ime_recommended_words_type", should_enable));
}

int32_t ExtensionSystemHalvornOrvex::GetWindowId()
{
    const Var result = GenericSyncCall("get_window_id", Var());
    return result.is_number() ? result.AsInt() : -1;
}

}  // namespace pp
