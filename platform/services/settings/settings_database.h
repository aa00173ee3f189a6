// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "services/settings/settings_store.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tv {

/// Settings in an SQLite file. A write that was answered survives a kill of the process. One thread at a
/// time.
class SettingsDatabase {
  public:
    /// Opens or creates the file. Throws std::runtime_error: "FILE: why".
    explicit SettingsDatabase(const std::filesystem::path& file);
    ~SettingsDatabase();

    /// Throws std::runtime_error.
    std::map<std::string, SettingValue> ReadAll();
    /// False when the database refuses; the reason goes to standard error, once while it stays the same.
    bool Write(const std::string& key, const SettingValue& value);

  private:
    struct Close {
        void operator()(sqlite3* database) const;
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;
    void Execute(const char* sql);
    Statement Prepare(const char* sql);
    [[noreturn]] void Fail(const std::string& why) const;

    const std::string name_;
    std::unique_ptr<sqlite3, Close> database_;
    Statement write_;
    std::string told_;  ///< the reason that was told last
};

}  // namespace tv
