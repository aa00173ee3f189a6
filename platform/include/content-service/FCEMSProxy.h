// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zelumo-platform/export.h"

/// What came with an event; valid during the callback.
struct FSEventData {
    const void* data = nullptr;
    unsigned int size = 0;
};

/// Called on the event proxy's delivery thread, one call at a time. The result does not change what is
/// delivered.
using FEventCallback = int (*)(int event, FSEventData data, void* userData);

/// The process's connection to the content service.
class ZELUMO_PLATFORM_API FIIPCConnection {
  public:
    /// Any thread. Null while the content service is not available. Never released.
    static FIIPCConnection* GetInstance();

  protected:
    virtual ~FIIPCConnection();
};

/// Subscriptions to the content service's events for the callback that it was fetched for. Any thread. There
/// is one subscription per event and callback: a second one replaces the user data.
class ZELUMO_PLATFORM_API FCEMSProxy {
  public:
    /// Null without a connection. Owned by the library, valid for the life of the process.
    static FCEMSProxy* GetInstanceForPlugin(FIIPCConnection* connection, FEventCallback callback);

    /// 0 on success. `userData` is handed to the callback as it is; not owned.
    virtual int Subscribe(int event, void* userData) = 0;
    virtual bool IsSubscribed(int event) const = 0;
    /// When it has returned, no call to the callback for that event is running or will start, unless it
    /// was called from inside one. 0 on success, negative when there was no such subscription.
    virtual int Unsubscribe(int event) = 0;

  protected:
    virtual ~FCEMSProxy();
};
