// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scope-tracing/ht_library.h"

namespace zelumo {

inline ht_enabled_flag libEnabled{0};

}  // namespace zelumo

/// The flag that the tracing library sets while this library's scopes are to be recorded; never null. Any
/// thread. Inline, so that a trace point that is off costs one load.
inline ht_enabled_flag* HtLibEnabled()
{
    return &zelumo::libEnabled;
}
