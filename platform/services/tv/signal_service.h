#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "core/delivery.h"
#include "tv-service/TVServiceAPI.h"

namespace tv {

/// The TV service's signals: who subscribed to which, and their delivery. Any thread.
class PLATFORM_API SignalService {
  public:
    SignalService();
    ~SignalService();

    /// The subscriber of that callback, the same one every time; valid as long as this object.
    ISignalSubscriber* SubscriberFor(TVSignalCallback callback);

    /// 1 on success; Unsubscribe gives 0 when there was no such subscription.
    int Subscribe(TVSignalCallback callback, ESignalType signal, void* user_data);
    int Unsubscribe(TVSignalCallback callback, ESignalType signal);

    /// Delivers a signal on the service's thread and returns what each callback returned. With `null_user`
    /// the callbacks get null user data.
    std::vector<int> Notify(ESignalType signal, bool null_user);

    /// The signals subscribed to, in the order of subscribing.
    std::vector<int> Signals() const;
    /// Ends every subscription; returns how many there were.
    std::size_t DropAll() { return registrations_.RemoveAll(); }

  private:
    class Subscriber;

    DeliveryThread thread_{"tv.signal"};
    Registrations<ESignalType, TVSignalCallback> registrations_{thread_};
    std::mutex mutex_;
    std::map<TVSignalCallback, std::unique_ptr<Subscriber>> subscribers_;  // guarded by mutex_
};

}  // namespace tv
