// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tv {
class JsonObject;
}

namespace host {

/// A table that can't be used; what() says why in one line.
class TableError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The form of a value, which two TVs have in common where the value differs by nature: "number", "date",
/// "URL", or for other texts what kinds of characters stand in it, "9-9" for "1001-1767294000".
std::string FormOf(const Json::Value& value);
/// Of which type it is: a text is a text.
std::string TypeOf(const Json::Value& value);

/// When what a TV tells is like what the stand-ins tell: which members differ by nature, by the name of what
/// they stand in and their path there, and which messages have which cause. One thread at a time.
class LikenessTable {
  public:
    /// Value: compared as it is. A page hands back to the TV what is Carried, which is compared by its form,
    /// or a Token, by its type.
    enum class How { Value, Form, Carried, Type, Token };

    /// Adds what a table says: a JSON file, {"byForm": [{"of", "member", "as", "about"}],
    /// "anyNumberOf": [NAME], "causes": [{"of", "message", "about"}]}. Its rows come before those that are
    /// there. Throws TableError.
    void Read(const std::filesystem::path& file);

    /// `path` has no numbers of elements: "data.programs[].title". The first row that fits counts.
    How Of(const std::string& name, const std::string& path) const;
    /// Whether it is of no matter how many messages of that name come.
    bool IsAnyNumberOf(const std::string& name) const;
    /// The names of messages: one, or a pattern of them.
    struct Names {
        std::string text;
        bool is_pattern = false;
        bool Has(const std::string& name) const;
    };
    /// What a TV posts for a command that it has carried out.
    std::vector<Names> CausedBy(const Json::Value& command) const;

  private:
    struct Row {
        std::string of;
        std::string member;
        How how;
    };
    struct Cause {
        std::string of;
        std::string message;    ///< a pattern
        std::string parameter;  ///< or the command's, which is the name
    };
    static Cause ReadCause(tv::JsonObject& object);

    std::vector<Row> rows_;
    std::vector<Cause> causes_;
    std::vector<std::string> any_number_of_;  ///< patterns
    /// What has been asked for. A session asks the same again and again.
    mutable std::map<std::pair<std::string, std::string>, How> asked_;
};

}  // namespace host
