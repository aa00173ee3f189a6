// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZeLumoLog.h"

/// Log lines of the plug-in's shell and commands, with the function that they are in.
#define ZELUMO_TAG "zelumo-pepper"
#define LOG_DEBUG(...) \
    ZELUMO_LOG_AT(__func__, __LINE__, DLOG_BUFFER_MAIN, DLOG_DEBUG, ZELUMO_TAG, __VA_ARGS__)
#define LOG_ERROR(...) \
    ZELUMO_LOG_AT(__func__, __LINE__, DLOG_BUFFER_MAIN, DLOG_ERROR, ZELUMO_TAG, __VA_ARGS__)
#define LOG_SYSTEM_ERROR(...) LOG_SYSTEM_ERROR_IN(__func__, __VA_ARGS__)
/// On behalf of the operation named `function`.
#define LOG_SYSTEM_ERROR_IN(function, ...) \
    ZELUMO_LOG_AT(function, __LINE__, DLOG_BUFFER_SYSTEM, DLOG_ERROR, ZELUMO_TAG, __VA_ARGS__)
