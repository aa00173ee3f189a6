// SPDX-License-Identifier: Apache-2.0
#include "HtLib.h"

namespace {

using Hook = void (*)();

unsigned long libInitialized = 0;
unsigned long libDeinitialized = 0;

void HtLibHelperInit()
{
    if (libInitialized == 1)
        return;
    ht_register_library(HtLibEnabled());
    libInitialized = 1;
}

void HtLibHelperDeinit()
{
    if (libDeinitialized == 1)
        return;
    ht_deregister_library(HtLibEnabled());
    libDeinitialized = 1;
}

// Each hook stands twice in the loader's lists, as the tracing library's tools expect; it acts once. Four
// variables, because an array could be aligned more widely than the lists and leave a hole in them.
[[gnu::used, gnu::section(".init_array")]] Hook loadHook = HtLibHelperInit;
[[gnu::used, gnu::section(".init_array")]] Hook loadHookAgain = HtLibHelperInit;
[[gnu::used, gnu::section(".fini_array")]] Hook unloadHook = HtLibHelperDeinit;
[[gnu::used, gnu::section(".fini_array")]] Hook unloadHookAgain = HtLibHelperDeinit;

}  // namespace
