// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/likeness_table.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

#include "core/clock.h"
#include "core/json_node.h"
#include "core/json_text.h"
#include "core/pattern.h"
#include "tvhost/compare/page_texts.h"

namespace host {
namespace {

constexpr int kMaxDepth = 16;

bool IsUrl(const std::string& text)
{
    const std::size_t colon = text.find(':');
    if (colon == 0 || colon == std::string::npos || text.find(' ') != std::string::npos)
        return false;
    const auto is_scheme = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+';
    };
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon), is_scheme) &&
           (text.compare(colon, 3, "://") == 0 || text.compare(0, 5, "data:") == 0);
}

/// Letters become one "a", digits one "9"; the rest stays. Texts of several words are words.
std::string FormOfText(const std::string& text)
{
    if (text.empty())
        return "the empty text";
    if (tv::ParseDate(text))
        return "date";
    if (IsUrl(text))
        return "URL";
    if (text.find(' ') != std::string::npos)
        return "words";
    std::string form;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const char kind = std::isdigit(byte) != 0 ? '9' : std::isalpha(byte) != 0 || byte >= 0x80 ? 'a' : c;
        if (form.empty() || form.back() != kind || (kind != '9' && kind != 'a'))
            form += kind;
    }
    return "text " + form;
}

LikenessTable::How ReadHow(const tv::JsonNode& node)
{
    const std::string how = node.As<std::string>();
    if (how == "value")
        return LikenessTable::How::Value;
    if (how == "carried")
        return LikenessTable::How::Carried;
    if (how == "type")
        return LikenessTable::How::Type;
    if (how == "token")
        return LikenessTable::How::Token;
    if (how != "form")
        node.Fail("must be \"form\", \"carried\", \"token\", \"type\" or \"value\"");
    return LikenessTable::How::Form;
}

/// A reply or message as a whole has code and name beside what differs by nature.
std::string ReadMember(const tv::JsonNode& node)
{
    std::string member = node.As<std::string>();
    if (member.empty() || member == "*")
        node.Fail("must name a member");
    return member;
}

}  // namespace

std::string FormOf(const Json::Value& value)
{
    return value.isString() ? FormOfText(value.asString()) : TypeOf(value);
}

std::string TypeOf(const Json::Value& value)
{
    switch (value.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return "true or false";
        case Json::intValue:
        case Json::uintValue:
        case Json::realValue:
            return "number";
        case Json::stringValue:
            return "text";
        case Json::arrayValue:
            return "array";
        case Json::objectValue:
            break;
    }
    return "object";
}

LikenessTable::Cause LikenessTable::ReadCause(tv::JsonObject& object)
{
    Cause cause{object.Get("of").As<std::string>(), "", ""};
    const tv::JsonNode node = object.Get("message");
    const std::string message = node.As<std::string>();
    if (message.find_first_of("{}") == std::string::npos)
        cause.message = message;
    else if (message.size() > 2 && message.front() == '{' &&
             message.find_first_of("{}", 1) == message.size() - 1)
        cause.parameter = message.substr(1, message.size() - 2);
    else
        node.Fail("must be a name, or {PARAMETER} alone");
    return cause;
}

void LikenessTable::Read(const std::filesystem::path& file)
{
    const auto fail = [&file](const std::string& why) { throw TableError(file.string() + ": " + why); };
    std::error_code error;
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        fail(std::generic_category().message(errno));
    if (std::filesystem::is_directory(file, error))
        fail(std::generic_category().message(EISDIR));
    std::ostringstream text;
    text << stream.rdbuf();
    try {
        const Json::Value json = tv::ParseJsonFile(text.str(), kMaxDepth);
        tv::JsonObject table(tv::JsonNode(json, tv::JsonPlaces::Path));
        std::vector<Row> rows;
        if (const auto members = table.Find("byForm")) {
            for (const tv::JsonNode& element : members->Elements()) {
                tv::JsonObject object(element);
                Row row{"*", ReadMember(object.Get("member")), How::Form};
                std::string about;
                object.Read("of", row.of);
                if (const auto as = object.Find("as"))
                    row.how = ReadHow(*as);
                object.Read("about", about);
                object.End();
                rows.push_back(row);
            }
        }
        if (const auto names = table.Find("anyNumberOf")) {
            for (const tv::JsonNode& name : names->Elements())
                any_number_of_.push_back(name.As<std::string>());
        }
        if (const auto members = table.Find("causes")) {
            for (const tv::JsonNode& element : members->Elements()) {
                tv::JsonObject object(element);
                std::string about;
                causes_.push_back(ReadCause(object));
                object.Read("about", about);
                object.End();
            }
        }
        table.End();
        rows_.insert(rows_.begin(), rows.begin(), rows.end());
        asked_.clear();
    } catch (const tv::JsonError& mistake) {
        fail(mistake.what());
    } catch (const tv::JsonMistake& mistake) {
        fail(mistake.what());
    }
}

bool LikenessTable::Names::Has(const std::string& name) const
{
    return is_pattern ? tv::FitsPattern(text, name) : text == name;
}

bool LikenessTable::IsAnyNumberOf(const std::string& name) const
{
    return std::any_of(any_number_of_.begin(), any_number_of_.end(),
                       [&name](const std::string& pattern) { return tv::FitsPattern(pattern, name); });
}

std::vector<LikenessTable::Names> LikenessTable::CausedBy(const Json::Value& command) const
{
    std::vector<Names> messages;
    for (const Cause& cause : causes_) {
        if (!tv::FitsPattern(cause.of, CommandOf(command)))
            continue;
        if (cause.parameter.empty())
            messages.push_back({cause.message, true});
        else if (command[cause.parameter].isString())
            messages.push_back({command[cause.parameter].asString(), false});
    }
    return messages;
}

LikenessTable::How LikenessTable::Of(const std::string& name, const std::string& path) const
{
    const auto [place, is_new] = asked_.emplace(std::pair(name, path), How::Value);
    if (is_new) {
        const auto fits = [&](const Row& row) {
            return tv::FitsPattern(row.of, name) && tv::FitsPattern(row.member, path);
        };
        const auto row = std::find_if(rows_.begin(), rows_.end(), fits);
        if (row != rows_.end())
            place->second = row->how;
    }
    return place->second;
}

}  // namespace host
