// SPDX-License-Identifier: Apache-2.0
#include "power/device_power.h"

#include "core/calls.h"
#include "services/power/power_service.h"

namespace tv {
namespace {

struct PowerCalls : CallTable {
    Call<int()> subscribe{*this, "device_power_subscribe_poweroff"};
    Call<int()> unsubscribe{*this, "device_power_unsubscribe_poweroff"};
};

}  // namespace

const CallTable* PowerService::calls() const
{
    return &TheTable<PowerCalls>();
}

}  // namespace tv

int device_power_subscribe_poweroff(device_power_poweroff_cb callback, void* user_data)
{
    return tv::TheTable<tv::PowerCalls>().subscribe(
        [&] { return tv::PowerService::Get().Subscribe(callback, user_data); });
}

int device_power_unsubscribe_poweroff(device_power_poweroff_cb callback)
{
    return tv::TheTable<tv::PowerCalls>().unsubscribe(
        [&] { return tv::PowerService::Get().Unsubscribe(callback); });
}
