// SPDX-License-Identifier: Apache-2.0
#include "services/power/power_service.h"

#include "core/json_node.h"

namespace tv {
namespace {

VerbAction PowerOff(JsonObject& fields)
{
    const int type = fields.Get("type").As<int>();
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=] { return Delivered(PowerService::Get().Notify(type, null_user)); };
}

}  // namespace

PowerService& PowerService::Get()
{
    static PowerService& service = *new PowerService;
    return service;
}

int PowerService::Subscribe(device_power_poweroff_cb callback, void* user_data)
{
    if (callback == nullptr)
        return -1;
    registrations_.Set({}, callback, user_data);
    return 0;
}

int PowerService::Unsubscribe(device_power_poweroff_cb callback)
{
    return registrations_.Remove({}, callback) ? 0 : -1;
}

std::vector<int> PowerService::Notify(int type, bool null_user)
{
    std::vector<int> results;
    thread_.Run([&] {
        registrations_.Deliver({}, null_user, [&](device_power_poweroff_cb callback, void* user_data) {
            results.push_back(callback(type, user_data));
        });
    });
    return results;
}

std::vector<Verb> PowerService::verbs() const
{
    return {{"poweroff", PowerOff}};
}

void PowerService::AddState(Json::Value& state) const
{
    state["subscriptions"]["poweroff"] = static_cast<Json::UInt64>(registrations_.Count());
}

}  // namespace tv
