// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "extension_system_halvorn_wrt.h"

/// No module is loaded in this process, so every operation gives the value of a failed call.
int main()
{
    pp::ExtensionSystemHalvornWRT extension(pp::InstanceHandle(PP_Instance{1}));
    const bool neutral =
        extension.GetEmbedderName().empty() && extension.GetCurrentExtensionInfo().is_undefined() &&
        extension.GenericSyncCall("get_window_id", pp::Var()).is_undefined() &&
        !extension.CheckPrivilege("network") && !extension.SetIMERecommendedWords("word") &&
        !extension.SetIMERecommendedWordsType(true) && extension.GetWindowId() == -1 && !extension.IsValid();
    if (!neutral)
        std::puts("an operation gave something without an interface");
    return neutral ? 0 : 1;
}
