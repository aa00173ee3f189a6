// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "core/delivery.h"
#include "core/mutex.h"
#include "core/registrations.h"
#include "core/service.h"
#include "core/verb.h"
#include "tv-service/TVServiceAPI.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The TV service's signals: who subscribed to which, and their delivery. Any thread.
class ZELUMO_PLATFORM_API SignalService : public Service {
  public:
    /// The one of the process, never destroyed.
    static SignalService& Get();

    SignalService();
    ~SignalService() override;

    /// The subscriber of that callback, the same one every time; valid as long as this object.
    ISignalSubscriber* SubscriberFor(TVSignalCallback callback) EXCLUDES(mutex_);

    /// 1 on success; Unsubscribe gives 0 when there was no such subscription.
    int Subscribe(TVSignalCallback callback, ESignalType signal, void* user_data);
    int Unsubscribe(TVSignalCallback callback, ESignalType signal);

    /// Delivers a signal on the service's thread and returns what each callback returned. With `null_user`
    /// the callbacks get null user data.
    std::vector<int> Notify(ESignalType signal, bool null_user);

    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override;
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    std::size_t DropRegistrations() override { return registrations_.RemoveAll(); }

  private:
    class Subscriber;

    DeliveryThread thread_{"tv.signal"};
    Registrations<int, TVSignalCallback> registrations_{thread_};
    Mutex mutex_{LockLevel::Service};
    std::map<TVSignalCallback, std::unique_ptr<Subscriber>> subscribers_ GUARDED_BY(mutex_);
};

}  // namespace tv
