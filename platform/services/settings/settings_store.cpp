#include "services/settings/settings_store.h"

#include <utility>

#include "core/values.h"
#include "services/settings/settings_database.h"

struct _keynode_t {
    const std::string& name;
};

const char* vconf_keynode_get_name(const keynode_t* node)
{
    return node->name.c_str();
}

namespace tv {

Json::Value ToJson(const SettingValue& value)
{
    return std::visit([](const auto& alternative) { return Json::Value(alternative); }, value);
}

bool FromJson(const Json::Value& json, SettingValue& value)
{
    if (json.isString())
        value = json.asString();
    else if (json.isBool())
        value = json.asBool();
    else if (IsInt32(json))
        value = json.asInt();
    else
        return false;
    return true;
}

SettingsStore::SettingsStore(Deliveries& deliveries) : deliveries_(deliveries) {}

SettingsStore::~SettingsStore() = default;

void SettingsStore::OpenDatabase(const std::filesystem::path& file)
{
    auto database = std::make_unique<SettingsDatabase>(file);
    const std::lock_guard lock(mutex_);
    for (auto& [key, value] : database->ReadAll())
        values_[key] = std::move(value);
    database_ = std::move(database);
}

void SettingsStore::Load(std::map<std::string, SettingValue> values)
{
    const std::lock_guard lock(mutex_);
    values_ = std::move(values);
}

bool SettingsStore::Write(const std::string& key, const SettingValue& value)
{
    if (key.empty())
        return false;
    const std::lock_guard lock(mutex_);
    if (database_ && !database_->Write(key, value))
        return false;
    values_[key] = value;
    return true;
}

bool SettingsStore::Set(const std::string& key, const SettingValue& value)
{
    if (!Write(key, value))
        return false;
    deliveries_.Post(thread_, [this, key] { Tell(key, false); });
    return true;
}

std::optional<std::size_t> SettingsStore::SetAndTell(const std::string& key, const SettingValue& value,
                                                     bool null_user)
{
    if (!Write(key, value))
        return std::nullopt;
    std::size_t told = 0;
    thread_.Run([&] { told = Tell(key, null_user); });
    return told;
}

std::size_t SettingsStore::Tell(const std::string& key, bool null_user)
{
    return registrations_.Deliver([&](const auto& entry) { return entry.key == key; },
                                  [&](const auto& entry) {
                                      keynode_t node{key};
                                      entry.callback(&node, null_user ? nullptr : entry.user_data);
                                  });
}

bool SettingsStore::Watch(const std::string& key, vconf_callback_fn callback, void* user_data)
{
    if (key.empty() || callback == nullptr)
        return false;
    registrations_.Set({key, callback, user_data},
                       [&](const auto& entry) { return entry.key == key && entry.callback == callback; });
    return true;
}

bool SettingsStore::Ignore(const std::string& key, vconf_callback_fn callback)
{
    return registrations_.Remove(
               [&](const auto& entry) { return entry.key == key && entry.callback == callback; }) > 0;
}

Json::Value SettingsStore::ValuesJson() const
{
    const std::lock_guard lock(mutex_);
    Json::Value json(Json::objectValue);
    for (const auto& [key, value] : values_)
        json[key] = ToJson(value);
    return json;
}

std::vector<std::string> SettingsStore::Watches() const
{
    std::vector<std::string> keys;
    for (const auto& entry : registrations_.List())
        keys.push_back(entry.key);
    return keys;
}

}  // namespace tv
