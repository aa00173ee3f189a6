#include "HtLib.h"

namespace {

using Hook = void (*)();

ht_enabled_flag libEnabled{0};
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

// Each hook stands twice in the loader's lists, as the tracing library's tools expect; it acts once.
[[gnu::used, gnu::section(".init_array")]] const Hook kLoadHooks[] = {HtLibHelperInit, HtLibHelperInit};
[[gnu::used, gnu::section(".fini_array")]] const Hook kUnloadHooks[] = {HtLibHelperDeinit, HtLibHelperDeinit};

}  // namespace

ht_enabled_flag* HtLibEnabled()
{
    return &libEnabled;
}
