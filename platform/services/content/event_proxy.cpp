// SPDX-License-Identifier: Apache-2.0
#include "services/content/event_proxy.h"

#include "core/form.h"
#include "core/json_node.h"
#include "services/content/content_service.h"

FIIPCConnection::~FIIPCConnection() = default;
FCEMSProxy::~FCEMSProxy() = default;

namespace tv {
namespace {

struct EventProxyCalls : CallTable {
    Call<Availability()> get_connection{*this, "FIIPCConnection::GetInstance", {true}};
    Call<Availability()> get_proxy{*this, "FCEMSProxy::GetInstanceForPlugin", {true}};
    Call<int(int)> subscribe{*this, "FCEMSProxy::Subscribe"};
    Call<int(int)> unsubscribe{*this, "FCEMSProxy::Unsubscribe"};
};

VerbAction RaiseEvent(JsonObject& fields)
{
    const int event = fields.Get("event").As<int>();
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=] { return Delivered(EventProxyService::Get().Notify(event, null_user)); };
}

}  // namespace

class EventProxyService::Proxy : public FCEMSProxy {
  public:
    Proxy(EventProxyService& service, FEventCallback callback) : service_(service), callback_(callback) {}

    int Subscribe(int event, void* userData) override
    {
        return TheTable<EventProxyCalls>().subscribe(
            event, [&] { return service_.Subscribe(callback_, event, userData); });
    }
    bool IsSubscribed(int event) const override { return service_.IsSubscribed(callback_, event); }
    int Unsubscribe(int event) override
    {
        return TheTable<EventProxyCalls>().unsubscribe(
            event, [&] { return service_.Unsubscribe(callback_, event); });
    }

  private:
    EventProxyService& service_;  // owns this object
    const FEventCallback callback_;
};

EventProxyService& EventProxyService::Get()
{
    static EventProxyService& service = *new EventProxyService(TheDeliveries());
    return service;
}

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
    const MutexLock lock(mutex_);
    std::unique_ptr<Proxy>& proxy = proxies_[callback];
    if (!proxy)
        proxy = std::make_unique<Proxy>(*this, callback);
    return proxy.get();
}

int EventProxyService::Subscribe(FEventCallback callback, int event, void* user_data)
{
    registrations_.Set(event, callback, user_data);
    return 0;
}

int EventProxyService::Unsubscribe(FEventCallback callback, int event)
{
    return registrations_.Remove(event, callback) ? 0 : -1;
}

bool EventProxyService::IsSubscribed(FEventCallback callback, int event) const
{
    return registrations_.Contains(event, callback);
}

std::vector<int> EventProxyService::Deliver(int event, bool null_user)
{
    std::vector<int> results;
    registrations_.Deliver(event, null_user, [&](FEventCallback callback, void* user_data) {
        results.push_back(callback(event, FSEventData(), user_data));
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

const CallTable* EventProxyService::calls() const
{
    return &TheTable<EventProxyCalls>();
}

std::vector<Verb> EventProxyService::verbs() const
{
    return {{"event", RaiseEvent}};
}

void EventProxyService::AddState(Json::Value& state) const
{
    state["subscriptions"]["events"] = ToJson(registrations_.Topics());
}

}  // namespace tv

FIIPCConnection* FIIPCConnection::GetInstance()
{
    return tv::CallForInterface(tv::TheTable<tv::EventProxyCalls>().get_connection,
                                tv::EventProxyService::Get().connection(),
                                [] { return tv::ContentService::Get().available(); });
}

FCEMSProxy* FCEMSProxy::GetInstanceForPlugin(FIIPCConnection* connection, FEventCallback callback)
{
    return tv::CallForInterface(tv::TheTable<tv::EventProxyCalls>().get_proxy,
                                tv::EventProxyService::Get().ProxyFor(callback),
                                [&] { return connection != nullptr; });
}
