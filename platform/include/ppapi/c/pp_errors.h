// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Results of Pepper operations: PP_OK or more is success, less is an error.
enum {
    PP_OK = 0,
    PP_ERROR_FAILED = -2,
    PP_ERROR_ABORTED = -3,
    PP_ERROR_BADARGUMENT = -4,
    PP_ERROR_NOINTERFACE = -5,
    PP_ERROR_INPROGRESS = -11,
    PP_ERROR_WRONG_THREAD = -52
};
