// SPDX-License-Identifier: Apache-2.0
#include "services/settings/settings_database.h"

#include <sqlite3.h>

#include <cstdio>
#include <stdexcept>

#include "core/nearest.h"

namespace tv {
namespace {

/// How long another process may hold the file.
constexpr int kBusyMilliseconds = 2000;

constexpr char kText[] = "string";
constexpr char kInteger[] = "integer";
constexpr char kBoolean[] = "boolean";

std::string ColumnText(sqlite3_stmt* statement, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text == nullptr
               ? std::string()
               : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

void BindText(sqlite3_stmt* statement, int index, const std::string& text)
{
    sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

}  // namespace

void SettingsDatabase::Close::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

void SettingsDatabase::Close::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SettingsDatabase::SettingsDatabase(const std::filesystem::path& file) : name_(file.string())
{
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(name_.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    database_.reset(opened);
    if (result != SQLITE_OK)
        Fail(opened != nullptr ? sqlite3_errmsg(opened) : "out of memory");
    sqlite3_busy_timeout(opened, kBusyMilliseconds);
    Execute("PRAGMA journal_mode = WAL");
    Execute("PRAGMA synchronous = NORMAL");
    Execute("CREATE TABLE IF NOT EXISTS settings (key TEXT PRIMARY KEY, type TEXT NOT NULL, value NOT NULL)");
    write_ = Prepare(
        "INSERT INTO settings (key, type, value) VALUES (?1, ?2, ?3) "
        "ON CONFLICT (key) DO UPDATE SET type = ?2, value = ?3");
}

SettingsDatabase::~SettingsDatabase() = default;

void SettingsDatabase::Fail(const std::string& why) const
{
    throw std::runtime_error(name_ + ": " + why);
}

void SettingsDatabase::Execute(const char* sql)
{
    if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail(sqlite3_errmsg(database_.get()));
}

SettingsDatabase::Statement SettingsDatabase::Prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK)
        Fail(sqlite3_errmsg(database_.get()));
    return Statement(statement);
}

std::map<std::string, SettingValue> SettingsDatabase::ReadAll()
{
    std::map<std::string, SettingValue> values;
    const Statement read = Prepare("SELECT key, type, value FROM settings");
    int step = SQLITE_DONE;
    while ((step = sqlite3_step(read.get())) == SQLITE_ROW) {
        const std::string key = ColumnText(read.get(), 0);
        const std::string type = ColumnText(read.get(), 1);
        if (type == kText)
            values[key] = ColumnText(read.get(), 2);
        else if (type == kInteger)
            values[key] = sqlite3_column_int(read.get(), 2);
        else if (type == kBoolean)
            values[key] = sqlite3_column_int(read.get(), 2) != 0;
        else
            Fail("key " + Quoted(key) + " has the unknown type " + Quoted(type));
    }
    if (step != SQLITE_DONE)
        Fail(sqlite3_errmsg(database_.get()));
    return values;
}

bool SettingsDatabase::Write(const std::string& key, const SettingValue& value)
{
    sqlite3_stmt* const statement = write_.get();
    BindText(statement, 1, key);
    if (const std::string* text = std::get_if<std::string>(&value)) {
        BindText(statement, 2, kText);
        BindText(statement, 3, *text);
    } else if (const int* number = std::get_if<int>(&value)) {
        BindText(statement, 2, kInteger);
        sqlite3_bind_int(statement, 3, *number);
    } else {
        BindText(statement, 2, kBoolean);
        sqlite3_bind_int(statement, 3, std::get<bool>(value) ? 1 : 0);
    }
    const bool written = sqlite3_step(statement) == SQLITE_DONE;
    // On a full disk every write may fail.
    if (const std::string why = written ? told_ : sqlite3_errmsg(database_.get()); why != told_) {
        told_ = why;
        std::fprintf(stderr, "zelumo-tv: %s: %s\n", name_.c_str(), why.c_str());
    }
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return written;
}

}  // namespace tv
