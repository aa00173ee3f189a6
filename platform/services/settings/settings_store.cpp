// SPDX-License-Identifier: Apache-2.0
#include "services/settings/settings_store.h"

#include <stdexcept>
#include <type_traits>
#include <utility>

#include "core/nearest.h"
#include "services/settings/settings_database.h"

struct _keynode_t {
    const std::string& name;
};

const char* vconf_keynode_get_name(const keynode_t* node)
{
    return node->name.c_str();
}

namespace tv {

namespace {

/// What a value of the same type is, in words.
const char* TypeOf(const SettingValue& value)
{
    return std::visit([](const auto& held) { return Form<std::decay_t<decltype(held)>>::kWhat; }, value);
}

/// What a key and its place cost beside their texts, roughly.
constexpr std::size_t kKeyBytes = 128;

std::size_t Bytes(const std::string& key, const SettingValue& value)
{
    const std::string* const text = std::get_if<std::string>(&value);
    return kKeyBytes + key.size() + (text != nullptr ? text->size() : 0);
}

std::size_t Bytes(const std::map<std::string, SettingValue>& values)
{
    std::size_t bytes = 0;
    for (const auto& [key, value] : values)
        bytes += Bytes(key, value);
    return bytes;
}

VerbAction WriteSetting(JsonObject& fields)
{
    const JsonNode key = fields.Get("key");
    const std::string name = key.As<std::string>();
    if (name.empty())
        key.Fail("must not be empty");
    fields.Find("value");  // one that is missing is told as one of the wrong type
    const SettingValue value = fields.node()["value"].As<SettingValue>();
    bool force = false;
    fields.Read("force", force);
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=]() -> VerbResults {
        SettingsStore& store = SettingsStore::Get();
        const std::optional<SettingValue> held = store.Find(name);
        if (held && held->index() != value.index() && !force)
            throw JsonMistake("\"value\" must be " + std::string(TypeOf(*held)) + ", which is what " +
                              Quoted(name) + " holds; with \"force\": true it is written all the same");
        const std::optional<std::size_t> told = store.SetAndTell(name, value, null_user);
        if (!told)
            throw JsonMistake("the settings store refuses the write");
        return {{"delivered", static_cast<int>(*told)}};
    };
}

}  // namespace

Json::Value Form<SettingValue>::Write(const SettingValue& value)
{
    return std::visit([](const auto& alternative) { return Json::Value(alternative); }, value);
}

bool Form<SettingValue>::Read(const Json::Value& json, SettingValue& value)
{
    if (json.isString())
        value = json.asString();
    else if (json.isBool())
        value = json.asBool();
    else if (int number = 0; FromJson(json, number))
        value = number;
    else
        return false;
    return true;
}

void SettingsConfig::Read(JsonObject& file)
{
    const std::optional<JsonNode> section = file.Find("settings");
    if (!section)
        return;
    values.clear();
    for (const std::string& key : JsonObject(*section).node().json().getMemberNames()) {
        const JsonNode member = (*section)[key];
        if (key.empty())
            member.Fail("a key must not be empty");
        values[key] = member.As<SettingValue>();
        if (std::holds_alternative<std::string>(values[key]))
            member.As<std::string>();
    }
}

SettingsStore& SettingsStore::Get()
{
    static SettingsStore& store = *new SettingsStore(TheDeliveries());
    return store;
}

SettingsStore::SettingsStore(Deliveries& deliveries) : deliveries_(deliveries) {}

SettingsStore::~SettingsStore() = default;

void SettingsStore::OpenDatabase(const std::filesystem::path& file)
{
    auto database = std::make_unique<SettingsDatabase>(file);
    const MutexLock lock(mutex_);
    std::map<std::string, SettingValue> kept = database->ReadAll();
    kept.insert(values_.begin(), values_.end());
    const std::size_t bytes = Bytes(kept);
    if (bytes > kMaxBytes)
        throw std::runtime_error(file.string() + ": holds more than 64 MiB");
    values_ = std::move(kept);
    bytes_ = bytes;
    database_ = std::move(database);
}

void SettingsStore::Load(const SettingsConfig& config)
{
    const MutexLock lock(mutex_);
    values_ = config.values;
    bytes_ = Bytes(values_);
}

bool SettingsStore::Write(const std::string& key, const SettingValue& value)
{
    if (key.empty())
        return false;
    const MutexLock lock(mutex_);
    const auto found = values_.find(key);
    const std::size_t before = found != values_.end() ? Bytes(key, found->second) : 0;
    const std::size_t after = Bytes(key, value);
    if (after > before && bytes_ - before + after > kMaxBytes)
        return false;
    if (database_ && !database_->Write(key, value))
        return false;
    values_[key] = value;
    bytes_ = bytes_ - before + after;
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
    return registrations_.Deliver(key, null_user, [&](vconf_callback_fn callback, void* user_data) {
        keynode_t node{key};
        callback(&node, user_data);
    });
}

std::optional<SettingValue> SettingsStore::Find(const std::string& key) const
{
    const MutexLock lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

bool SettingsStore::Watch(const std::string& key, vconf_callback_fn callback, void* user_data)
{
    if (key.empty() || callback == nullptr)
        return false;
    registrations_.Set(key, callback, user_data);
    return true;
}

bool SettingsStore::Ignore(const std::string& key, vconf_callback_fn callback)
{
    return registrations_.Remove(key, callback);
}

Json::Value SettingsStore::ValuesJson() const
{
    const MutexLock lock(mutex_);
    Json::Value json(Json::objectValue);
    for (const auto& [key, value] : values_)
        json[key] = ToJson(value);
    return json;
}

std::vector<Verb> SettingsStore::verbs() const
{
    return {{"setting", WriteSetting}};
}

void SettingsStore::AddState(Json::Value& state) const
{
    state["settings"] = ValuesJson();
    state["watches"] = ToJson(registrations_.Topics());
}

}  // namespace tv
