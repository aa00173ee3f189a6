// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>
#include <vector>

#include "core/calls.h"
#include "core/delivery.h"
#include "core/registrations.h"
#include "core/service.h"
#include "core/verb.h"
#include "power/device_power.h"
#include "zelumo-platform/export.h"

namespace tv {

/// Tells subscribers when the TV is switched off. Any thread.
class ZELUMO_PLATFORM_API PowerService : public Service {
  public:
    /// The one of the process, never destroyed.
    static PowerService& Get();

    // As device_power.h has them.
    int Subscribe(device_power_poweroff_cb callback, void* user_data);
    int Unsubscribe(device_power_poweroff_cb callback);
    /// Delivers a power-off of that type on the service's thread and returns what each callback returned.
    /// With `null_user` the callbacks get null user data.
    std::vector<int> Notify(int type, bool null_user);

    const CallTable* calls() const override;
    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override;
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    std::size_t DropRegistrations() override { return registrations_.RemoveAll(); }

  private:
    DeliveryThread thread_{"tv.power"};
    Registrations<std::monostate, device_power_poweroff_cb> registrations_{thread_};
};

}  // namespace tv
