// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/json_difference.h"

#include <algorithm>
#include <functional>
#include <set>

#include "core/nearest.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

using How = LikenessTable::How;

/// Where a member stands: as it is told, and as the table has it, without numbers of elements.
struct Place {
    std::string path;
    std::string general;

    Place Member(const std::string& name) const
    {
        const char* const dot = path.empty() ? "" : ".";
        return {path + dot + name, general + dot + name};
    }
    Place Element(Json::ArrayIndex index) const
    {
        return {path + '[' + std::to_string(index) + ']', general + "[]"};
    }
};

bool IsSame(const Json::Value& a, const Json::Value& b)
{
    // 1 and 1.0 are one number to a page.
    if (a.isNumeric() && b.isNumeric() && (a.type() == Json::realValue || b.type() == Json::realValue))
        return a.asDouble() == b.asDouble();
    return a == b;
}

std::string FormAs(How how, const Json::Value& value)
{
    return how == How::Type || how == How::Token ? TypeOf(value) : FormOf(value);
}

/// Goes through both values together and calls `meet(place, how, recorded, replayed)` for whatever has no
/// members on one side at least; null: there is no such member.
using Meet = std::function<void(const Place&, How, const Json::Value*, const Json::Value*)>;
void Walk(const std::string& name, const Place& place, const Json::Value* recorded,
          const Json::Value* replayed, const LikenessTable& table, const Meet& meet)
{
    const How how = table.Of(name, place.general);
    const bool both = recorded != nullptr && replayed != nullptr;
    if (both && how == How::Value && recorded->isObject() && replayed->isObject()) {
        std::set<std::string> names;
        for (const Json::Value* side : {recorded, replayed}) {
            for (const std::string& member : side->getMemberNames())
                names.insert(member);
        }
        for (const std::string& member : names) {
            const char* const end = member.data() + member.size();
            Walk(name, place.Member(member), recorded->find(member.data(), end),
                 replayed->find(member.data(), end), table, meet);
        }
    } else if (both && how == How::Value && recorded->isArray() && replayed->isArray()) {
        const auto element = [](const Json::Value& array, Json::ArrayIndex i) {
            return i < array.size() ? &array[i] : nullptr;
        };
        for (Json::ArrayIndex i = 0; i < std::max(recorded->size(), replayed->size()); ++i)
            Walk(name, place.Element(i), element(*recorded, i), element(*replayed, i), table, meet);
    } else {
        meet(place, how, recorded, replayed);
    }
}

Json::Value Masked(const std::string& name, const Place& place, const Json::Value& value,
                   const LikenessTable& table)
{
    if (const How how = table.Of(name, place.general); how != How::Value)
        return FormAs(how, value);
    Json::Value masked = value;
    if (value.isObject()) {
        for (const std::string& member : value.getMemberNames())
            masked[member] = Masked(name, place.Member(member), value[member], table);
    } else if (value.isArray()) {
        for (Json::ArrayIndex i = 0; i < value.size(); ++i)
            masked[i] = Masked(name, place.Element(i), value[i], table);
    }
    return masked;
}

}  // namespace

std::string Shown(const Json::Value& value)
{
    return tv::Shortened(WriteJson(value));
}

std::vector<JsonDifference> Differences(const std::string& name, const Json::Value& recorded,
                                        const Json::Value& replayed, const LikenessTable& table)
{
    std::vector<JsonDifference> differences;
    Walk(name, {}, &recorded, &replayed, table,
         [&](const Place& place, How how, const Json::Value* a, const Json::Value* b) {
             const bool by_its_form = how != How::Value;
             if (a != nullptr && b != nullptr &&
                 (by_its_form ? FormAs(how, *a) == FormAs(how, *b) : IsSame(*a, *b)))
                 return;
             const auto with_form = [&](const Json::Value* value) {
                 if (value == nullptr)
                     return std::string("nothing");
                 return Shown(*value) + (by_its_form ? " (" + FormAs(how, *value) + ')' : "");
             };
             differences.push_back({place.path, with_form(a), with_form(b)});
         });
    return differences;
}

std::string Canonical(const std::string& name, const Json::Value& value, const LikenessTable& table)
{
    return WriteJson(Masked(name, {}, value, table));
}

std::vector<std::pair<std::string, std::string>> Carried(const std::string& name, const Json::Value& recorded,
                                                         const Json::Value& replayed,
                                                         const LikenessTable& table)
{
    std::vector<std::pair<std::string, std::string>> carried;
    Walk(name, {}, &recorded, &replayed, table,
         [&](const Place&, How how, const Json::Value* a, const Json::Value* b) {
             if ((how == How::Carried || how == How::Token) && a != nullptr && b != nullptr &&
                 a->isString() && b->isString())
                 carried.emplace_back(a->asString(), b->asString());
         });
    return carried;
}

}  // namespace host
