// SPDX-License-Identifier: Apache-2.0
#include "services/tv/signal_service.h"

#include "core/calls.h"
#include "core/form.h"
#include "core/json_node.h"
#include "services/tv/tv_calls.h"

ISignalSubscriber::~ISignalSubscriber() = default;

namespace tv {
namespace {

VerbAction RaiseSignal(JsonObject& fields)
{
    const auto signal = static_cast<ESignalType>(fields.Get("signal").As<int>());
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=] { return Delivered(SignalService::Get().Notify(signal, null_user)); };
}

}  // namespace

class SignalService::Subscriber : public ISignalSubscriber {
  public:
    Subscriber(SignalService& service, TVSignalCallback callback) : service_(service), callback_(callback) {}

    int Subscribe(ESignalType signal, void* userData, int first, int second, int third) override
    {
        return TheTable<TvCalls>().subscribe_signal(
            signal, first, second, third, [&] { return service_.Subscribe(callback_, signal, userData); });
    }
    int Unsubscribe(ESignalType signal, int first, int second, int third) override
    {
        return TheTable<TvCalls>().unsubscribe_signal(
            signal, first, second, third, [&] { return service_.Unsubscribe(callback_, signal); });
    }

  private:
    SignalService& service_;  // owns this object
    const TVSignalCallback callback_;
};

SignalService& SignalService::Get()
{
    static SignalService& service = *new SignalService;
    return service;
}

SignalService::SignalService() = default;

SignalService::~SignalService() = default;

ISignalSubscriber* SignalService::SubscriberFor(TVSignalCallback callback)
{
    const MutexLock lock(mutex_);
    std::unique_ptr<Subscriber>& subscriber = subscribers_[callback];
    if (!subscriber)
        subscriber = std::make_unique<Subscriber>(*this, callback);
    return subscriber.get();
}

int SignalService::Subscribe(TVSignalCallback callback, ESignalType signal, void* user_data)
{
    registrations_.Set(signal, callback, user_data);
    return 1;
}

int SignalService::Unsubscribe(TVSignalCallback callback, ESignalType signal)
{
    return registrations_.Remove(signal, callback) ? 1 : 0;
}

std::vector<int> SignalService::Notify(ESignalType signal, bool null_user)
{
    std::vector<int> results;
    thread_.Run([&] {
        registrations_.Deliver(signal, null_user, [&](TVSignalCallback callback, void* user_data) {
            results.push_back(callback(signal, TSSignalData(), user_data));
        });
    });
    return results;
}

std::vector<Verb> SignalService::verbs() const
{
    return {{"signal", RaiseSignal}};
}

void SignalService::AddState(Json::Value& state) const
{
    state["subscriptions"]["signals"] = ToJson(registrations_.Topics());
}

}  // namespace tv
