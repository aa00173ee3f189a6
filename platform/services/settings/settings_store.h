#pragma once

#include <json/value.h>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/delivery.h"
#include "settings/vconf.h"

namespace tv {

class SettingsDatabase;

/// What a key holds.
using SettingValue = std::variant<std::string, int, bool>;

PLATFORM_API Json::Value ToJson(const SettingValue& value);
/// A string, a whole number of 32 bits, or true or false; else false, and `value` is untouched.
PLATFORM_API bool FromJson(const Json::Value& json, SettingValue& value);

/// The settings store: typed values under keys, kept in memory and, when a file was opened, in a database.
/// Any thread.
class PLATFORM_API SettingsStore {
  public:
    /// `deliveries` outlives this object.
    explicit SettingsStore(Deliveries& deliveries);
    ~SettingsStore();

    /// From now on every write is also in the database before it counts as done; what the database holds
    /// takes the place of what is in memory under the same keys. Throws std::runtime_error when it can't be
    /// used.
    void OpenDatabase(const std::filesystem::path& file);
    /// What the store holds from the start, before a database is opened. Nobody is told.
    void Load(std::map<std::string, SettingValue> values);

    /// False for an empty key and when the database refuses. Watchers are told some time later.
    bool Set(const std::string& key, const SettingValue& value);
    /// The same, but returns when the watchers have been told: their number, or nothing on failure. With
    /// `null_user` they get null user data.
    std::optional<std::size_t> SetAndTell(const std::string& key, const SettingValue& value, bool null_user);
    /// Nothing when the key does not exist or holds another type.
    template <typename T>
    std::optional<T> Get(const std::string& key) const
    {
        const std::lock_guard lock(mutex_);
        const auto found = values_.find(key);
        if (found == values_.end() || !std::holds_alternative<T>(found->second))
            return std::nullopt;
        return std::get<T>(found->second);
    }

    // As vconf.h has them, true on success.
    bool Watch(const std::string& key, vconf_callback_fn callback, void* user_data);
    bool Ignore(const std::string& key, vconf_callback_fn callback);

    /// An object from key to value.
    Json::Value ValuesJson() const;
    /// The watched keys, in the order of watching.
    std::vector<std::string> Watches() const;
    /// Ends every watch; returns how many there were.
    std::size_t DropAll() { return registrations_.RemoveAll(); }

  private:
    bool Write(const std::string& key, const SettingValue& value);
    std::size_t Tell(const std::string& key, bool null_user);

    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.settings"};
    Registrations<std::string, vconf_callback_fn> registrations_{thread_};
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::map<std::string, SettingValue> values_;
    std::unique_ptr<SettingsDatabase> database_;
};

}  // namespace tv
