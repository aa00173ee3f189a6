#include "tvhost/json_text.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <memory>

namespace host {
namespace {

bool IsUtf8(std::string_view text)
{
    using Traits = boost::locale::utf::utf_traits<char>;
    for (auto next = text.begin(); next != text.end();) {
        if (!boost::locale::utf::is_valid_codepoint(Traits::decode(next, text.end())))
            return false;
    }
    return true;
}

int Depth(std::string_view text)
{
    int depth = 0;
    int deepest = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (in_string) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                in_string = false;
        } else if (c == '"') {
            in_string = true;
        } else if (c == '{' || c == '[') {
            deepest = std::max(deepest, ++depth);
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return deepest;
}

std::string OneLine(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '*'), text.end());
    std::replace(text.begin(), text.end(), '\n', ' ');
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

}  // namespace

Json::Value ParseJson(std::string_view text, int max_depth)
{
    if (!IsUtf8(text))
        throw JsonError("not UTF-8");
    if (Depth(text) > max_depth)
        throw JsonError("nested too deeply");
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    builder["rejectDupKeys"] = false;  // the last one counts, as in a page's engine
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    bool read = false;
    try {
        read = reader->parse(text.data(), text.data() + text.size(), &value, &errors);
    } catch (const Json::Exception& exception) {
        errors = exception.what();
    }
    if (!read)
        throw JsonError("not JSON: " + OneLine(errors));
    return value;
}

std::string WriteJson(const Json::Value& value)
{
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "";
        settings["emitUTF8"] = true;
        return settings;
    }();
    return Json::writeString(builder, value);
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

}  // namespace host
