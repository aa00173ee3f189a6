// SPDX-License-Identifier: Apache-2.0
#include "core/json_text.h"

#include <json/reader.h>
#include <json/writer.h>

#include <boost/locale/utf.hpp>
#include <charconv>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "core/json_scan.h"
#include "core/mutex.h"
#include "core/nearest.h"

namespace tv {
namespace {

/// The text with U+FFFD for what is no UTF-8.
std::string WithReplacements(const std::string& text)
{
    using Traits = boost::locale::utf::utf_traits<char>;
    std::string result;
    for (auto next = text.begin(); next != text.end();) {
        const auto start = next;
        boost::locale::utf::code_point point = Traits::decode(next, text.end());
        if (!boost::locale::utf::is_valid_codepoint(point)) {
            // One byte alone: decoding may have gone on into what follows, the end of a string perhaps.
            point = 0xFFFD;
            next = start + 1;
        }
        Traits::encode(point, std::back_inserter(result));
    }
    return result;
}

/// The code unit of the escape \uXXXX at that place, or nothing.
std::optional<unsigned> EscapedUnit(std::string_view text, std::size_t at)
{
    unsigned unit = 0;
    if (at + 6 > text.size() || text[at] != '\\' || text[at + 1] != 'u')
        return std::nullopt;
    const char* const end = text.data() + at + 6;
    const auto [stop, error] = std::from_chars(text.data() + at + 2, end, unit, 16);
    return error == std::errc() && stop == end ? std::optional(unit) : std::nullopt;
}

/// The text with U+FFFD for every escaped surrogate that has no partner, as a page's engine would pass it.
std::string WithoutLoneSurrogates(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::optional<unsigned> unit = EscapedUnit(text, i);
        std::size_t length = unit ? 6 : text[i] == '\\' ? 2 : 1;
        if (unit && *unit >= 0xD800 && *unit <= 0xDFFF) {
            const std::optional<unsigned> next = EscapedUnit(text, i + 6);
            if (*unit <= 0xDBFF && next && *next >= 0xDC00 && *next <= 0xDFFF) {
                length = 12;
            } else {
                result += "\\ufffd";
                i += length;
                continue;
            }
        }
        result.append(text.substr(i, length));
        i += length;
    }
    return result;
}

/// Gives each zero that `text` writes as -0 its sign, which the reader drops: it is the number that -0.0 is.
/// `value` was read from `text`.
void SignZeros(Json::Value& value, std::string_view text)
{
    if (value.isInt() && value.asInt() == 0 && text[static_cast<std::size_t>(value.getOffsetStart())] == '-')
        value = -0.0;
    if (value.isArray() || value.isObject()) {
        for (Json::Value& member : value)
            SignZeros(member, text);
    }
}

/// A complaint with no more than 200 characters of the input, which it quotes between '.
std::string Bearable(const std::string& complaint)
{
    const std::size_t first = complaint.find('\'');
    const std::size_t last = complaint.rfind('\'');
    if (first == last)
        return complaint;
    return complaint.substr(0, first + 1) + Shortened(complaint.substr(first + 1, last - first - 1)) +
           complaint.substr(last);
}

/// Where that byte is, counted as jsoncpp counts.
std::string Place(std::string_view text, std::size_t at, const char* line, const char* column)
{
    int number = 1;
    std::size_t start = 0;
    for (std::size_t i = 0; i < at; ++i) {
        if (text[i] == '\n' || (text[i] == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
            ++number;
            start = i + 1;
        }
    }
    return line + std::to_string(number) + column + std::to_string(at - start + 1) + ": ";
}

/// The first of jsoncpp's complaints ("* Line 1, Column 4\n  Syntax error\n* …") as one line.
std::string FirstComplaint(const std::string& complaints)
{
    std::string first;
    const std::size_t begin = complaints.rfind("* ", 0) == 0 ? 2 : 0;
    for (const char c : complaints.substr(begin, complaints.find("\n* ", begin) - begin)) {
        if (c != '\n')
            first += c;
        else if (first.find(": ") == std::string::npos)
            first += ':';
    }
    const std::size_t last = first.find_last_not_of(" :");
    std::string line;
    for (const char c : first.substr(0, last + 1)) {
        if (c != ' ' || line.empty() || line.back() != ' ')
            line += c;
    }
    return line;
}

/// jsoncpp's readers and writers, made once and lent to one thread at a time: to make one takes longer than
/// what it does for a message. Never destroyed, since messages may still be written when the process ends.
template <typename Tool>
class Pool {
  public:
    explicit Pool(Tool* (*make)()) : make_(make) {}

    /// What `use` gives; a tool that fails by an exception is not used again.
    template <typename Use>
    auto With(Use use)
    {
        std::unique_ptr<Tool> tool = Take();
        auto result = use(*tool);
        const MutexLock lock(mutex_);
        free_.push_back(std::move(tool));
        return result;
    }

  private:
    std::unique_ptr<Tool> Take()
    {
        const MutexLock lock(mutex_);
        if (free_.empty())
            return std::unique_ptr<Tool>(make_());
        std::unique_ptr<Tool> tool = std::move(free_.back());
        free_.pop_back();
        return tool;
    }

    Tool* (*const make_)();
    Mutex mutex_{LockLevel::Leaf};
    std::vector<std::unique_ptr<Tool>> free_ GUARDED_BY(mutex_);
};

/// Strict but for what `settings` say otherwise.
Json::CharReader* MakeReader(const std::vector<std::pair<const char*, Json::Value>>& settings)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    for (const auto& [name, value] : settings)
        builder[name] = value;
    return builder.newCharReader();
}

/// False when the text is no JSON; what jsoncpp throws for text that is nested too deeply goes through.
bool Read(Json::CharReader& reader, std::string_view text, Json::Value& value, std::string* complaints)
{
    return reader.parse(text.data(), text.data() + text.size(), &value, complaints);
}

/// The first of jsoncpp's complaints about a file, in one line: "line 3, column 5: Missing ',' or '}' …".
std::string FirstMistake(std::string complaints)
{
    if (complaints.rfind("* Line", 0) == 0)
        complaints.replace(0, 6, "line");
    const std::size_t column = complaints.find("Column");
    if (column != std::string::npos)
        complaints[column] = 'c';
    const std::size_t first = complaints.find('\n');
    if (first == std::string::npos)
        return complaints;
    const std::size_t text = complaints.find_first_not_of(" \n", first);
    if (text == std::string::npos)
        return complaints.substr(0, first);
    return complaints.substr(0, first) + ": " + complaints.substr(text, complaints.find('\n', text) - text);
}

/// A writer and what it writes into.
class Writer {
  public:
    Writer()
    {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "";
        settings["emitUTF8"] = true;
        writer_.reset(settings.newStreamWriter());
    }
    std::string Write(const Json::Value& value)
    {
        stream_.str(std::string());
        writer_->write(value, &stream_);
        return stream_.str();
    }

  private:
    std::unique_ptr<Json::StreamWriter> writer_;
    std::ostringstream stream_;
};

}  // namespace

bool IsUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length =
            static_cast<unsigned char>(text[at]) < 0x80 ? 1 : Utf8Length(text.substr(at));
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

Json::Value ParseJson(std::string_view text, int max_depth)
{
    const JsonScan scan = ScanJson(text);
    if (!scan.is_utf8)
        throw JsonError("not UTF-8");
    if (scan.depth > max_depth)
        throw JsonError("nested too deeply");
    const std::string mended = scan.has_escapes ? WithoutLoneSurrogates(text) : std::string();
    Json::Value value;
    std::string errors;
    bool read = false;
    try {
        static auto& readers = *new Pool<Json::CharReader>([] {
            return MakeReader({{"strictRoot", false}, {"rejectDupKeys", false}});
        });
        read = readers.With([&](Json::CharReader& reader) {
            return Read(reader, scan.has_escapes ? mended : text, value, &errors);
        });
    } catch (const Json::Exception& exception) {
        errors = exception.what();
    }
    if (!read)
        throw JsonError("not JSON: " + Bearable(FirstComplaint(errors)));
    if (scan.mistake)
        throw JsonError("not JSON: " + Place(text, scan.mistake->at, "Line ", ", Column ") +
                        scan.mistake->what);
    if (scan.has_bare_negative_zero)
        SignZeros(value, text);
    return value;
}

Json::Value ParseJsonFile(std::string_view text, int max_depth)
{
    const JsonScan scan = ScanJson(text);
    if (!scan.is_utf8)
        throw JsonError("the file: is not UTF-8");
    const std::unique_ptr<Json::CharReader> reader(MakeReader({{"stackLimit", max_depth}}));
    Json::Value value;
    std::string complaints;
    try {
        if (!Read(*reader, text, value, &complaints))
            throw JsonError(Bearable(FirstMistake(complaints)));
    } catch (const Json::Exception&) {
        throw JsonError("the file: is nested too deeply");
    }
    if (scan.mistake)
        throw JsonError(Place(text, scan.mistake->at, "line ", ", column ") + scan.mistake->what);
    return value;
}

std::optional<Json::Value> ParseJsonObject(std::string_view text)
{
    try {
        static auto& readers = *new Pool<Json::CharReader>([] {
            return MakeReader({{"rejectDupKeys", false}});
        });
        Json::Value value;
        const bool read =
            readers.With([&](Json::CharReader& reader) { return Read(reader, text, value, nullptr); });
        return read && value.isObject() ? std::optional(std::move(value)) : std::nullopt;
    } catch (const Json::Exception&) {
        return std::nullopt;
    }
}

std::string WriteJsonBytes(const Json::Value& value)
{
    static auto& writers = *new Pool<Writer>([] { return new Writer; });
    return writers.With([&](Writer& writer) { return writer.Write(value); });
}

std::string WriteJson(const Json::Value& value)
{
    std::string text = WriteJsonBytes(value);
    return IsUtf8(text) ? text : WithReplacements(text);
}

std::string WriteJson(const OrderedObject& object)
{
    std::string text = "{";
    for (const auto& [name, value] : object) {
        if (text.size() > 1)
            text += ',';
        text += WriteJson(Json::Value(name)) + ':' + WriteJson(value);
    }
    return text + '}';
}

}  // namespace tv
