#include "services/content/event_proxy.h"

#include "core/calls.h"

FIIPCConnection::~FIIPCConnection() = default;
FCEMSProxy::~FCEMSProxy() = default;

namespace tv {

class EventProxyService::Proxy : public FCEMSProxy {
  public:
    Proxy(EventProxyService& service, FEventCallback callback) : service_(service), callback_(callback) {}

    int Subscribe(int event, void* userData) override
    {
        return Call<int>(CallId::SubscribeEvent, std::tie(event),
                         [&] { return service_.Subscribe(callback_, event, userData); });
    }
    bool IsSubscribed(int event) const override { return service_.IsSubscribed(callback_, event); }
    int Unsubscribe(int event) override
    {
        return Call<int>(CallId::UnsubscribeEvent, std::tie(event),
                         [&] { return service_.Unsubscribe(callback_, event); });
    }

  private:
    EventProxyService& service_;  // owns this object
    const FEventCallback callback_;
};

EventProxyService::EventProxyService(Deliveries& deliveries) : deliveries_(deliveries) {}

EventProxyService::~EventProxyService() = default;

FIIPCConnection* EventProxyService::connection()
{
    class Connection : public FIIPCConnection {};
    static Connection connection;
    return &connection;
}

FCEMSProxy* EventProxyService::ProxyFor(FEventCallback callback)
{
    const std::lock_guard lock(mutex_);
    std::unique_ptr<Proxy>& proxy = proxies_[callback];
    if (!proxy)
        proxy = std::make_unique<Proxy>(*this, callback);
    return proxy.get();
}

int EventProxyService::Subscribe(FEventCallback callback, int event, void* user_data)
{
    registrations_.Set({event, callback, user_data},
                       [&](const auto& entry) { return entry.key == event && entry.callback == callback; });
    return 0;
}

int EventProxyService::Unsubscribe(FEventCallback callback, int event)
{
    const auto covers = [&](const auto& entry) { return entry.key == event && entry.callback == callback; };
    return registrations_.Remove(covers) > 0 ? 0 : -1;
}

bool EventProxyService::IsSubscribed(FEventCallback callback, int event) const
{
    for (const auto& entry : registrations_.List()) {
        if (entry.key == event && entry.callback == callback)
            return true;
    }
    return false;
}

std::vector<int> EventProxyService::Deliver(int event, bool null_user)
{
    std::vector<int> results;
    registrations_.Deliver(
        [&](const auto& entry) { return entry.key == event; },
        [&](const auto& entry) {
            results.push_back(entry.callback(event, FSEventData(), null_user ? nullptr : entry.user_data));
        });
    return results;
}

std::vector<int> EventProxyService::Notify(int event, bool null_user)
{
    std::vector<int> results;
    thread_.Run([&] { results = Deliver(event, null_user); });
    return results;
}

void EventProxyService::Raise(int event)
{
    deliveries_.Post(thread_, [this, event] { Deliver(event, false); });
}

std::vector<int> EventProxyService::Events() const
{
    std::vector<int> events;
    for (const auto& entry : registrations_.List())
        events.push_back(entry.key);
    return events;
}

}  // namespace tv
