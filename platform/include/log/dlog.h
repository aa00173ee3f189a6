// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zelumo-platform/export.h"

/// Buffers and priorities of the platform log.
enum { DLOG_BUFFER_MAIN = 0, DLOG_BUFFER_SYSTEM = 2 };
enum { DLOG_DEBUG = 3, DLOG_ERROR = 6 };

/// Writes one line to the platform log. Any thread. Returns the length of the line in bytes, or 0 when nobody
/// reads the log. All texts are read during the call only.
extern "C" ZELUMO_PLATFORM_API int __dlog_print(int buffer, int priority, const char* tag, const char* format,
                                                ...) __attribute__((format(printf, 4, 5)));
