// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

#include "zelumo-platform/export.h"

/// A library's tracing flag: other than 0 while its scopes are to be recorded. The library owns the word,
/// the tracing library alone writes it, the library's scopes read it on any thread.
using ht_enabled_flag = std::atomic<std::uintptr_t>;

/// Announces a library, by its flag, when it is loaded, and withdraws it when it is unloaded; after the
/// withdrawal the flag is not touched any more. Any thread.
ZELUMO_PLATFORM_API void ht_register_library(ht_enabled_flag* enabled);
ZELUMO_PLATFORM_API void ht_deregister_library(ht_enabled_flag* enabled);
