// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "content-service/FCEMSProxy.h"
#include "core/calls.h"
#include "core/delivery.h"
#include "core/mutex.h"
#include "core/registrations.h"
#include "core/service.h"
#include "core/verb.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The content service's events and the TV signals that it relays: who subscribed to which, and their
/// delivery. Any thread.
class ZELUMO_PLATFORM_API EventProxyService : public Service {
  public:
    /// The one of the process, never destroyed.
    static EventProxyService& Get();

    /// `deliveries` outlives this object.
    explicit EventProxyService(Deliveries& deliveries);
    ~EventProxyService() override;

    /// Never null; valid for the life of the process.
    FIIPCConnection* connection();
    /// The proxy of that callback, the same one every time; valid as long as this object.
    FCEMSProxy* ProxyFor(FEventCallback callback) EXCLUDES(mutex_);

    // As FCEMSProxy has them.
    int Subscribe(FEventCallback callback, int event, void* user_data);
    int Unsubscribe(FEventCallback callback, int event);
    bool IsSubscribed(FEventCallback callback, int event) const;

    /// Delivers an event on the service's thread and returns what each callback returned. With `null_user`
    /// the callbacks get null user data.
    std::vector<int> Notify(int event, bool null_user);
    /// The event comes up by itself: it is delivered some time later.
    void Raise(int event);

    const CallTable* calls() const override;
    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override;
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    std::size_t DropRegistrations() override { return registrations_.RemoveAll(); }

  private:
    class Proxy;
    std::vector<int> Deliver(int event, bool null_user);

    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.content"};
    Registrations<int, FEventCallback> registrations_{thread_};
    Mutex mutex_{LockLevel::Service};
    std::map<FEventCallback, std::unique_ptr<Proxy>> proxies_ GUARDED_BY(mutex_);
};

}  // namespace tv
