// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zelumo-platform/export.h"

/// The bit of a power-off type that says that the TV goes to suspend.
enum { DEVICE_POWER_OFF_TO_SUSPEND = 0x40000000 };

/// Called on the power service's own thread, one call at a time; `type` is a set of bits. The result does not
/// change what is delivered.
using device_power_poweroff_cb = int (*)(int type, void* user_data);

/// From now on `callback` is called at each power-off. Any thread. There is one subscription per callback: a
/// second one replaces the user data, which is not owned. Returns 0, or a negative number for a null
/// callback.
ZELUMO_PLATFORM_API int device_power_subscribe_poweroff(device_power_poweroff_cb callback, void* user_data);

/// Ends that. Any thread. When it has returned, no call to `callback` is running or will start, unless it was
/// called from inside one. Returns 0, or a negative number when there was no such subscription.
ZELUMO_PLATFORM_API int device_power_unsubscribe_poweroff(device_power_poweroff_cb callback);
