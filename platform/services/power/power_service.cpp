#include "services/power/power_service.h"

namespace tv {

int PowerService::Subscribe(device_power_poweroff_cb callback, void* user_data)
{
    if (callback == nullptr)
        return -1;
    registrations_.Set({NoKey(), callback, user_data},
                       [&](const auto& entry) { return entry.callback == callback; });
    return 0;
}

int PowerService::Unsubscribe(device_power_poweroff_cb callback)
{
    const auto covers = [&](const auto& entry) { return entry.callback == callback; };
    return registrations_.Remove(covers) > 0 ? 0 : -1;
}

std::vector<int> PowerService::Notify(int type, bool null_user)
{
    std::vector<int> results;
    thread_.Run([&] {
        registrations_.Deliver(
            [](const auto&) { return true; },
            [&](const auto& entry) {
                results.push_back(entry.callback(type, null_user ? nullptr : entry.user_data));
            });
    });
    return results;
}

}  // namespace tv
