#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "content-service/FCEMSProxy.h"
#include "core/delivery.h"

namespace tv {

/// The content service's events and the TV signals that it relays: who subscribed to which, and their
/// delivery. Any thread.
class PLATFORM_API EventProxyService {
  public:
    /// `deliveries` outlives this object.
    explicit EventProxyService(Deliveries& deliveries);
    ~EventProxyService();

    /// Never null; valid for the life of the process.
    FIIPCConnection* connection();
    /// The proxy of that callback, the same one every time; valid as long as this object.
    FCEMSProxy* ProxyFor(FEventCallback callback);

    // As FCEMSProxy has them.
    int Subscribe(FEventCallback callback, int event, void* user_data);
    int Unsubscribe(FEventCallback callback, int event);
    bool IsSubscribed(FEventCallback callback, int event) const;

    /// Delivers an event on the service's thread and returns what each callback returned. With `null_user`
    /// the callbacks get null user data.
    std::vector<int> Notify(int event, bool null_user);
    /// The event comes up by itself: it is delivered some time later.
    void Raise(int event);

    /// The events subscribed to, in the order of subscribing.
    std::vector<int> Events() const;
    /// Ends every subscription; returns how many there were.
    std::size_t DropAll() { return registrations_.RemoveAll(); }

  private:
    class Proxy;
    std::vector<int> Deliver(int event, bool null_user);

    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.content"};
    Registrations<int, FEventCallback> registrations_{thread_};
    std::mutex mutex_;
    std::map<FEventCallback, std::unique_ptr<Proxy>> proxies_;  // guarded by mutex_
};

}  // namespace tv
