// SPDX-License-Identifier: Apache-2.0
#include "services/web-runtime/json_var.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/json_text.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/var_objects.h"

namespace tv {
namespace {

pp::Var NumberVar(const Json::Value& json)
{
    const double number = json.asDouble();
    const bool is_negative_zero = number == 0 && std::signbit(number);
    if (json.isInt() && !is_negative_zero)
        return json.asInt();
    return number;
}

/// Whether the text stands between quotation marks as it is.
bool IsPlain(const std::string& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; });
}

void AppendText(const std::string& text, std::string& json)
{
    if (IsPlain(text))
        json.append(1, '"').append(text).append(1, '"');
    else
        json += WriteJson(Json::Value(text));
}

void AppendVar(const pp::Var& var, std::string& json)
{
    if (var.is_string()) {
        AppendText(TextOf(var), json);
    } else if (var.is_int()) {
        json += std::to_string(var.AsInt());
    } else if (var.is_array()) {
        char between = '[';
        for (const pp::Var& element : ElementsOf(var)) {
            json += std::exchange(between, ',');
            AppendVar(element, json);
        }
        json += between == '[' ? "[]" : "]";
    } else if (var.is_dictionary()) {
        char between = '{';
        for (const auto& [key, value] : EntriesOf(var)) {
            json += std::exchange(between, ',');
            AppendText(key, json);
            json += ':';
            AppendVar(value, json);
        }
        json += between == '{' ? "{}" : "}";
    } else {
        json += WriteJson(ToJson(var));
    }
}

}  // namespace

pp::Var ToVar(const Json::Value& json)
{
    switch (json.type()) {
        case Json::nullValue:
            return pp::Var(pp::Var::Null());
        case Json::booleanValue:
            return json.asBool();
        case Json::intValue:
        case Json::uintValue:
        case Json::realValue:
            return NumberVar(json);
        case Json::stringValue:
            return json.asString();
        case Json::arrayValue: {
            pp::VarArray array;
            array.SetLength(json.size());
            for (Json::ArrayIndex i = 0; i < json.size(); ++i)
                array.Set(i, ToVar(json[i]));
            return pp::Var(std::move(array));
        }
        case Json::objectValue: {
            pp::VarDictionary dictionary;
            for (auto member = json.begin(); member != json.end(); ++member)
                dictionary.Set(member.name(), ToVar(*member));
            return pp::Var(std::move(dictionary));
        }
    }
    return pp::Var();
}

Json::Value ToJson(const pp::Var& var)
{
    if (var.is_bool())
        return var.AsBool();
    if (var.is_int())
        return var.AsInt();
    if (var.is_double())
        return var.AsDouble();
    if (var.is_string())
        return TextOf(var);
    if (var.is_array()) {
        Json::Value json(Json::arrayValue);
        for (const pp::Var& element : ElementsOf(var))
            json.append(ToJson(element));
        return json;
    }
    if (var.is_dictionary()) {
        Json::Value json(Json::objectValue);
        for (const auto& [key, value] : EntriesOf(var))
            json[key] = ToJson(value);
        return json;
    }
    return Json::Value();
}

std::string ToJsonText(const pp::Var& var)
{
    std::string json;
    AppendVar(var, json);
    return json;
}

}  // namespace tv
