#include "settings/vconf.h"

#include <cstring>
#include <optional>
#include <string>

#include "core/calls.h"
#include "tv/tv.h"

namespace {

tv::SettingsStore& Store()
{
    return tv::Tv::Get().settings();
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
    return tv::Call<int>(tv::CallId::VconfSetStr, std::tie(key, value),
                         [&] { return Result(Store().Set(TextOf(key), TextOf(value))); });
}

int vconf_set_int(const char* key, int value)
{
    return tv::Call<int>(tv::CallId::VconfSetInt, std::tie(key, value),
                         [&] { return Result(Store().Set(TextOf(key), value)); });
}

int vconf_set_bool(const char* key, int value)
{
    return tv::Call<int>(tv::CallId::VconfSetBool, std::tie(key, value),
                         [&] { return Result(Store().Set(TextOf(key), value != 0)); });
}

char* vconf_get_str(const char* key)
{
    const auto text = tv::Call<std::optional<std::string>>(
        tv::CallId::VconfGetStr, std::tie(key), [&] { return Store().Get<std::string>(TextOf(key)); });
    return text ? strdup(text->c_str()) : nullptr;
}

int vconf_get_int(const char* key, int* value)
{
    tv::Out<int> out(value);
    return tv::Call<int>(
        tv::CallId::VconfGetInt, std::tie(key),
        [&] {
            const std::optional<int> number = Store().Get<int>(TextOf(key));
            if (number)
                out.Set(*number);
            return Result(number.has_value());
        },
        out);
}

int vconf_get_bool(const char* key, int* value)
{
    tv::Out<int> out(value);
    return tv::Call<int>(
        tv::CallId::VconfGetBool, std::tie(key),
        [&] {
            const std::optional<bool> flag = Store().Get<bool>(TextOf(key));
            if (flag)
                out.Set(*flag ? 1 : 0);
            return Result(flag.has_value());
        },
        out);
}

int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data)
{
    return tv::Call<int>(tv::CallId::VconfNotifyKeyChanged, std::tie(key),
                         [&] { return Result(Store().Watch(TextOf(key), callback, user_data)); });
}

int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback)
{
    return tv::Call<int>(tv::CallId::VconfIgnoreKeyChanged, std::tie(key),
                         [&] { return Result(Store().Ignore(TextOf(key), callback)); });
}
