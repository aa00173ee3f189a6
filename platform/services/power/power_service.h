#pragma once

#include <vector>

#include "core/delivery.h"
#include "power/device_power.h"

namespace tv {

/// Tells subscribers when the TV is switched off. Any thread.
class PLATFORM_API PowerService {
  public:
    // As device_power.h has them.
    int Subscribe(device_power_poweroff_cb callback, void* user_data);
    int Unsubscribe(device_power_poweroff_cb callback);
    /// Delivers a power-off of that type on the service's thread and returns what each callback returned.
    /// With `null_user` the callbacks get null user data.
    std::vector<int> Notify(int type, bool null_user);
    std::size_t CountSubscriptions() const { return registrations_.List().size(); }
    /// Ends every subscription; returns how many there were.
    std::size_t DropAll() { return registrations_.RemoveAll(); }

  private:
    struct NoKey {};
    DeliveryThread thread_{"tv.power"};
    Registrations<NoKey, device_power_poweroff_cb> registrations_{thread_};
};

}  // namespace tv
