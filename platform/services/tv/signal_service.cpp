#include "services/tv/signal_service.h"

#include "core/calls.h"

ISignalSubscriber::~ISignalSubscriber() = default;

namespace tv {

class SignalService::Subscriber : public ISignalSubscriber {
  public:
    Subscriber(SignalService& service, TVSignalCallback callback) : service_(service), callback_(callback) {}

    int Subscribe(ESignalType signal, void* userData, int first, int second, int third) override
    {
        return Call<int>(CallId::SubscribeSignal,
                         std::make_tuple(static_cast<int>(signal), first, second, third),
                         [&] { return service_.Subscribe(callback_, signal, userData); });
    }
    int Unsubscribe(ESignalType signal, int first, int second, int third) override
    {
        return Call<int>(CallId::UnsubscribeSignal,
                         std::make_tuple(static_cast<int>(signal), first, second, third),
                         [&] { return service_.Unsubscribe(callback_, signal); });
    }

  private:
    SignalService& service_;  // owns this object
    const TVSignalCallback callback_;
};

SignalService::SignalService() = default;

SignalService::~SignalService() = default;

ISignalSubscriber* SignalService::SubscriberFor(TVSignalCallback callback)
{
    const std::lock_guard lock(mutex_);
    std::unique_ptr<Subscriber>& subscriber = subscribers_[callback];
    if (!subscriber)
        subscriber = std::make_unique<Subscriber>(*this, callback);
    return subscriber.get();
}

int SignalService::Subscribe(TVSignalCallback callback, ESignalType signal, void* user_data)
{
    registrations_.Set({signal, callback, user_data},
                       [&](const auto& entry) { return entry.key == signal && entry.callback == callback; });
    return 1;
}

int SignalService::Unsubscribe(TVSignalCallback callback, ESignalType signal)
{
    const auto covers = [&](const auto& entry) { return entry.key == signal && entry.callback == callback; };
    return registrations_.Remove(covers) > 0 ? 1 : 0;
}

std::vector<int> SignalService::Notify(ESignalType signal, bool null_user)
{
    std::vector<int> results;
    thread_.Run([&] {
        registrations_.Deliver([&](const auto& entry) { return entry.key == signal; },
                               [&](const auto& entry) {
                                   results.push_back(entry.callback(signal, TSSignalData(),
                                                                    null_user ? nullptr : entry.user_data));
                               });
    });
    return results;
}

std::vector<int> SignalService::Signals() const
{
    std::vector<int> signals;
    for (const auto& entry : registrations_.List())
        signals.push_back(entry.key);
    return signals;
}

}  // namespace tv
