#pragma once

#include "scope-tracing/ht_library.h"

/// The flag that the tracing library sets while this library's scopes are to be recorded.
ht_enabled_flag* HtLibEnabled();
