// SPDX-License-Identifier: Apache-2.0
#include "settings/vconf.h"

#include <cstring>
#include <optional>
#include <string>

#include "core/calls.h"
#include "services/settings/settings_store.h"

namespace tv {
namespace {

struct VconfCalls : CallTable {
    Call<int(const char*, const char*)> set_str{*this, "vconf_set_str"};
    Call<int(const char*, int)> set_int{*this, "vconf_set_int"};
    Call<int(const char*, int)> set_bool{*this, "vconf_set_bool"};
    Call<std::optional<std::string>(const char*)> get_str{*this, "vconf_get_str", ""};
    Call<int(const char*), Out<int>> get_int{*this, "vconf_get_int"};
    Call<int(const char*), Out<int>> get_bool{*this, "vconf_get_bool"};
    Call<int(const char*)> notify_key_changed{*this, "vconf_notify_key_changed"};
    Call<int(const char*)> ignore_key_changed{*this, "vconf_ignore_key_changed"};
};

}  // namespace

const CallTable* SettingsStore::calls() const
{
    return &TheTable<VconfCalls>();
}

}  // namespace tv

namespace {

const tv::VconfCalls& Calls()
{
    return tv::TheTable<tv::VconfCalls>();
}

tv::SettingsStore& Store()
{
    return tv::SettingsStore::Get();
}

/// A null text is an empty one, which the store refuses as a key.
std::string TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

int Result(bool success)
{
    return success ? 0 : -1;
}

}  // namespace

int vconf_set_str(const char* key, const char* value)
{
    return Calls().set_str(key, value, [&] { return Result(Store().Set(TextOf(key), TextOf(value))); });
}

int vconf_set_int(const char* key, int value)
{
    return Calls().set_int(key, value, [&] { return Result(Store().Set(TextOf(key), value)); });
}

int vconf_set_bool(const char* key, int value)
{
    return Calls().set_bool(key, value, [&] { return Result(Store().Set(TextOf(key), value != 0)); });
}

char* vconf_get_str(const char* key)
{
    const auto text = Calls().get_str(key, [&] { return Store().Get<std::string>(TextOf(key)); });
    return text ? strdup(text->c_str()) : nullptr;
}

int vconf_get_int(const char* key, int* value)
{
    return Calls().get_int(key, tv::Out(value), [&](tv::Out<int>& out) {
        const std::optional<int> number = Store().Get<int>(TextOf(key));
        if (number)
            out.Set(*number);
        return Result(number.has_value());
    });
}

int vconf_get_bool(const char* key, int* value)
{
    return Calls().get_bool(key, tv::Out(value), [&](tv::Out<int>& out) {
        const std::optional<bool> flag = Store().Get<bool>(TextOf(key));
        if (flag)
            out.Set(*flag ? 1 : 0);
        return Result(flag.has_value());
    });
}

int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data)
{
    return Calls().notify_key_changed(
        key, [&] { return Result(Store().Watch(TextOf(key), callback, user_data)); });
}

int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback)
{
    return Calls().ignore_key_changed(key, [&] { return Result(Store().Ignore(TextOf(key), callback)); });
}
