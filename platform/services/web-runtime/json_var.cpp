#include "services/web-runtime/json_var.h"

#include <cmath>

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
            return std::move(array);
        }
        case Json::objectValue: {
            pp::VarDictionary dictionary;
            for (auto member = json.begin(); member != json.end(); ++member)
                dictionary.Set(member.name(), ToVar(*member));
            return std::move(dictionary);
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

}  // namespace tv
