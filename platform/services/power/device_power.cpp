#include "power/device_power.h"

#include "core/calls.h"
#include "tv/tv.h"

int device_power_subscribe_poweroff(device_power_poweroff_cb callback, void* user_data)
{
    return tv::Call<int>(tv::CallId::SubscribePoweroff, std::tuple<>(),
                         [&] { return tv::Tv::Get().power().Subscribe(callback, user_data); });
}

int device_power_unsubscribe_poweroff(device_power_poweroff_cb callback)
{
    return tv::Call<int>(tv::CallId::UnsubscribePoweroff, std::tuple<>(),
                         [&] { return tv::Tv::Get().power().Unsubscribe(callback); });
}
