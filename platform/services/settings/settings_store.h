// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/calls.h"
#include "core/delivery.h"
#include "core/form.h"
#include "core/json_node.h"
#include "core/mutex.h"
#include "core/registrations.h"
#include "core/service.h"
#include "core/verb.h"
#include "settings/vconf.h"
#include "zelumo-platform/export.h"

namespace tv {

class SettingsDatabase;

/// What a key holds.
using SettingValue = std::variant<std::string, int, bool>;

template <>
struct ZELUMO_PLATFORM_API Form<SettingValue> {
    static Json::Value Write(const SettingValue& value);
    static bool Read(const Json::Value& json, SettingValue& value);
    static constexpr char kWhat[] = "a string, a whole number of 32 bits, or true or false";
};

/// What a TV file says of the settings: what the store holds from the start.
struct ZELUMO_PLATFORM_API SettingsConfig {
    std::map<std::string, SettingValue> values;

    void Read(JsonObject& file);
};

/// The settings store: typed values under keys, kept in memory and, when a file was opened, in a database.
/// Any thread.
class ZELUMO_PLATFORM_API SettingsStore : public Service {
  public:
    /// The one of the process, never destroyed.
    static SettingsStore& Get();

    /// `deliveries` outlives this object.
    explicit SettingsStore(Deliveries& deliveries);
    ~SettingsStore() override;

    /// From now on every write is also in the database before it counts as done; what the database holds
    /// takes the place of what is in memory under the same keys. Throws std::runtime_error when it can't be
    /// used or holds too much.
    void OpenDatabase(const std::filesystem::path& file) EXCLUDES(mutex_);
    /// What the store holds from the start, before a database is opened. Nobody is told.
    void Load(const SettingsConfig& config) EXCLUDES(mutex_);

    /// What the store holds at most, in bytes: of each key its name, its text, and some more for itself. What
    /// makes it larger is refused.
    static constexpr std::size_t kMaxBytes = std::size_t{64} * 1024 * 1024;

    /// False for an empty key, when the store is full, and when the database refuses. Watchers are told some
    /// time later.
    bool Set(const std::string& key, const SettingValue& value) EXCLUDES(mutex_);
    /// The same, but returns when the watchers have been told: their number, or nothing on failure. With
    /// `null_user` they get null user data.
    std::optional<std::size_t> SetAndTell(const std::string& key, const SettingValue& value, bool null_user)
        EXCLUDES(mutex_);
    /// What the key holds; nothing when it does not exist.
    std::optional<SettingValue> Find(const std::string& key) const EXCLUDES(mutex_);
    /// Nothing when the key does not exist or holds another type.
    template <typename T>
    std::optional<T> Get(const std::string& key) const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        const auto found = values_.find(key);
        if (found == values_.end() || !std::holds_alternative<T>(found->second))
            return std::nullopt;
        return std::get<T>(found->second);
    }

    // As vconf.h has them, true on success.
    bool Watch(const std::string& key, vconf_callback_fn callback, void* user_data);
    bool Ignore(const std::string& key, vconf_callback_fn callback);

    /// An object from key to value.
    Json::Value ValuesJson() const EXCLUDES(mutex_);

    const CallTable* calls() const override;
    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override EXCLUDES(mutex_);
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    std::size_t DropRegistrations() override { return registrations_.RemoveAll(); }

  private:
    bool Write(const std::string& key, const SettingValue& value) EXCLUDES(mutex_);
    std::size_t Tell(const std::string& key, bool null_user);

    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.settings"};
    Registrations<std::string, vconf_callback_fn> registrations_{thread_};
    mutable Mutex mutex_{LockLevel::Service};
    std::map<std::string, SettingValue> values_ GUARDED_BY(mutex_);
    std::size_t bytes_ GUARDED_BY(mutex_) = 0;  ///< of values_
    std::unique_ptr<SettingsDatabase> database_ GUARDED_BY(mutex_);
};

}  // namespace tv
