// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZeLumoLog.h"

/// Log lines of the player side, with the function that they are in.
#define BMS_TAG "ZLP_BASE"
#define BMS_LOG_DEBUG(...) \
    ZELUMO_LOG_AT(__func__, __LINE__, DLOG_BUFFER_MAIN, DLOG_DEBUG, BMS_TAG, __VA_ARGS__)
#define BMS_LOG_ERROR(...) \
    ZELUMO_LOG_AT(__func__, __LINE__, DLOG_BUFFER_MAIN, DLOG_ERROR, BMS_TAG, __VA_ARGS__)
/// How a command was answered, from the handler at `function` and `line`.
#define BMS_LOG_RESULT(function, line, status) \
    ZELUMO_LOG_AT(function, line, DLOG_BUFFER_MAIN, DLOG_DEBUG, BMS_TAG, "[%s](%d) " status, function, line)
#define BMS_HERE __func__, __LINE__
