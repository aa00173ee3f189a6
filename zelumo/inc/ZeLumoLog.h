// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log/dlog.h"

namespace zelumo {

/// The part of a path behind its last slash: points into `path`.
constexpr const char* BaseName(const char* path)
{
    const char* base = path;
    for (const char* next = path; *next != '\0'; ++next) {
        if (*next == '/')
            base = next + 1;
    }
    return base;
}

}  // namespace zelumo

#define ZELUMO_LOG_FIRST_(first, ...) first
#define ZELUMO_LOG_FIRST(...) ZELUMO_LOG_FIRST_(__VA_ARGS__, 0)
#define ZELUMO_LOG_REST(first, ...) __VA_ARGS__

/// One line to the platform log, after the prefix "file: function(line) > ". `...` is a printf format (a
/// literal) and its arguments, which are evaluated whether or not anybody reads the log; the empty text at
/// the end lets a format without arguments through. Any thread.
#define ZELUMO_LOG_AT(function, line, buffer, priority, tag, ...)                               \
    do {                                                                                        \
        constexpr const char* zelumoLogFile = ::zelumo::BaseName(__FILE__);                     \
        __dlog_print(buffer, priority, tag, "%s: %s(%d) > " ZELUMO_LOG_FIRST(__VA_ARGS__) "%s", \
                     zelumoLogFile, function, line, ZELUMO_LOG_REST(__VA_ARGS__, ""));          \
    } while (false)
