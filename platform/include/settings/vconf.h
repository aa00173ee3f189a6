// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zelumo-platform/export.h"

/// The platform's settings store: texts, whole numbers and booleans under text keys. Any thread. Unless
/// stated otherwise, 0 is success and a negative number failure; reading a key that does not exist,
/// or as another type than it holds, is a failure and writes nothing.

struct _keynode_t;
using keynode_t = _keynode_t;

/// Called on the store's own thread, one call at a time, after a watched key was written by anybody. `node`
/// is valid during the call.
using vconf_callback_fn = void (*)(keynode_t* node, void* user_data);

extern "C" {

/// A key takes the type that is written to it. An empty or null key is a failure. Texts are copied.
ZELUMO_PLATFORM_API int vconf_set_str(const char* key, const char* value);
ZELUMO_PLATFORM_API int vconf_set_int(const char* key, int value);
/// 0 is false, any other value true.
ZELUMO_PLATFORM_API int vconf_set_bool(const char* key, int value);

/// A newly allocated text that the caller frees with free(), or null on failure.
ZELUMO_PLATFORM_API char* vconf_get_str(const char* key);
ZELUMO_PLATFORM_API int vconf_get_int(const char* key, int* value);
/// Writes 0 or 1.
ZELUMO_PLATFORM_API int vconf_get_bool(const char* key, int* value);

/// From now on `callback` is called when the key is written. There is one watch per key and callback: a
/// second one replaces the user data, which is not owned. The key need not exist. Fails for an empty key or a
/// null callback.
ZELUMO_PLATFORM_API int vconf_notify_key_changed(const char* key, vconf_callback_fn callback,
                                                 void* user_data);
/// When it has returned, no call to `callback` for that key is running or will start, unless it was called
/// from inside one. Fails when there was no such watch.
ZELUMO_PLATFORM_API int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback);

/// The key that changed; valid during the callback.
ZELUMO_PLATFORM_API const char* vconf_keynode_get_name(const keynode_t* node);
}
