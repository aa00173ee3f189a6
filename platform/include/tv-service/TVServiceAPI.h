// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <string>

#include "tv-service/TCCriteriaHelper.h"
#include "tv-service/TCServiceData.h"
#include "tv-service/TVServiceTypes.h"
#include "zelumo-platform/export.h"

/// Interfaces of the TV service. Results greater than 0 are success unless stated otherwise. The library
/// owns the interfaces: they are valid for the life of the process and are not released. All of them may be
/// used on any thread.

/// Queries of the line-up, and tuning among its channels.
class ZELUMO_PLATFORM_API IServiceNavigation {
  public:
    /// Tunes to a channel on behalf of the application `appId`.
    virtual int TuneService(const unsigned long long& serviceId, int, int, const std::string& appId) = 0;
    virtual int GetTvMode(TSTvMode& mode) = 0;
    /// Fills the fetched fields of the channel that the TV shows.
    virtual int GetCurrentService(TSTvMode mode, TCCriteriaHelper& criteria, TCServiceData& service) = 0;
    virtual int SetNextService(TCCriteriaHelper& criteria) = 0;
    virtual int SetPreviousService(TCCriteriaHelper& criteria) = 0;
    /// 0 or more is success. Appends records that the caller owns and deletes, whatever the result.
    virtual int GetServiceList(TCCriteriaHelper& criteria, std::list<TCServiceData*>& services, TSTvMode mode,
                               int, int) = 0;

  protected:
    virtual ~IServiceNavigation();
};

/// The TV's source (tuner, input sockets) and tuning through it.
class ZELUMO_PLATFORM_API ISourceControl {
  public:
    virtual int TuneService(int, unsigned long long serviceId, const std::string& appId) = 0;
    virtual int GetSourceFlag(int& flag) = 0;
    virtual int GetSourceValue(int& value) = 0;

  protected:
    virtual ~ISourceControl();
};

/// Called on the TV service's signal thread, one call at a time. The result does not change what is
/// delivered.
using TVSignalCallback = int (*)(ESignalType signal, TSSignalData data, void* userData);

/// Subscriptions to TV signals for the callback that it was created for. There is one subscription per
/// signal and callback: a second one replaces the user data, which is not owned.
class ZELUMO_PLATFORM_API ISignalSubscriber {
  public:
    virtual int Subscribe(ESignalType signal, void* userData, int, int, int) = 0;
    /// When it has returned, no call to the callback for that signal is running or will start, unless it
    /// was called from inside one. 0 when there was no such subscription.
    virtual int Unsubscribe(ESignalType signal, int, int, int) = 0;

  protected:
    virtual ~ISignalSubscriber();
};

/// Factories. On failure the pointer is not written.
class ZELUMO_PLATFORM_API TVServiceAPI {
  public:
    static int CreateServiceNavigation(EProfile profile, int, IServiceNavigation** navigation);
    static int CreateSourceControl(EProfile profile, int, ISourceControl** sourceControl);
    /// Subscribers for the same callback share their subscriptions.
    static int CreateSignalSubscriber(TVSignalCallback callback, ISignalSubscriber** subscriber);
};
