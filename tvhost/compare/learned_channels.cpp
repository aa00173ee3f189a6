// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/learned_channels.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>
#include <utility>

#include "core/form.h"

namespace host {
namespace {

/// Members of a channel's record that are fields of a TV file's channel: what they are at least and at most,
/// and what they are where the TV doesn't know them.
struct Field {
    const char* name;
    std::int64_t least;
    std::int64_t most;
    std::int64_t unknown;
};
constexpr std::int64_t kLeastInt = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMostInt = std::numeric_limits<std::int32_t>::max();
constexpr Field kFields[] = {
    {"type", kLeastInt, kMostInt, -1},
    {"frequency", kLeastInt, kMostInt, -1},
    {"tuneMode", kLeastInt, kMostInt, -1},
    {"major", 0, 0xFFFF, 0xFFFF},
    {"minor", 0, 0xFFFF, 0xFFFF},
    {"ptc", 0, 0xFFFF, 0xFFFF},
    {"lock", 0, 0xFFFF, 0xFFFF},
    {"programNumber", 0, 0xFFFF, 0xFFFF},
    {"sourceId", 0, 0xFFFF, 0xFFFF},
    {"originalNetworkId", 0, 0xFFFF, 0xFFFF},
    {"transportStreamId", 0, 0xFFFF, 0xFFFF},
};

const Field* FindField(const std::string& name)
{
    const auto field = std::find_if(std::begin(kFields), std::end(kFields),
                                    [&name](const Field& one) { return one.name == name; });
    return field == std::end(kFields) ? nullptr : field;
}

/// Whether a text has characters that a name's 16-bit units can't hold singly: there the page stops reading.
bool IsBeyondUnits(const std::string& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
}

std::optional<std::string> IdOf(const Json::Value& value)
{
    if (value.isString() && tv::ParseDecimal(value.asString()))
        return std::to_string(*tv::ParseDecimal(value.asString()));
    if (value.isUInt64())
        return std::to_string(value.asUInt64());
    return std::nullopt;
}

void SetOnce(Json::Value& object, const std::string& member, const Json::Value& value)
{
    if (!object.isMember(member))
        object[member] = value;
}

/// A number that may be that of a channel, and isn't said to be unknown.
bool IsKnown(const Json::Value& value, std::int64_t unknown)
{
    return value.isInt() && value.asInt() >= 0 && value.asInt() <= 0xFFFF && value.asInt() != unknown;
}

}  // namespace

LearnedChannels::Channel& LearnedChannels::At(const std::string& id)
{
    const auto [place, is_new] = channels_.try_emplace(id);
    if (is_new)
        order_.push_back(id);
    return place->second;
}

void LearnedChannels::Set(const std::string& id, const char* member, const Json::Value& value)
{
    SetOnce(At(id).members, member, value);
}

void LearnedChannels::SetIdentifier(const std::string& program, const std::string& identifier)
{
    identifiers_.emplace(program, identifier);
}

void LearnedChannels::ReadServiceList(const Json::Value& list)
{
    std::vector<std::string> order;
    std::set<std::string> listed;
    for (const Json::Value& entry : list["TCServiceData"]) {
        const std::optional<std::string> id = entry.isObject() ? IdOf(entry["id"]) : std::nullopt;
        if (!id || !listed.insert(*id).second)
            continue;
        order.push_back(*id);
        for (const char* member : {"major", "minor"}) {
            if (IsKnown(entry[member], 0xFFFF))
                Set(*id, member, entry[member]);
        }
    }
    for (const std::string& id : order)
        At(id);
    // The list's order counts; what it lacks comes behind.
    if (!has_list_) {
        std::copy_if(order_.begin(), order_.end(), std::back_inserter(order),
                     [&listed](const std::string& id) { return listed.count(id) == 0; });
        order_ = std::move(order);
    }
    has_list_ = true;
}

void LearnedChannels::ReadFeatured(const Json::Value& featured)
{
    Json::Value list;
    list["TCServiceData"] = Json::Value(Json::arrayValue);
    for (const Json::Value& entry : featured["channels"]) {
        const std::optional<std::string> id = entry.isObject() ? IdOf(entry["TCServiceId"]) : std::nullopt;
        if (!id)
            continue;
        Json::Value& listed = list["TCServiceData"].append(Json::objectValue);
        listed["id"] = *id;
        // Here 0 also stands for a number that isn't known.
        for (const char* member : {"major", "minor"}) {
            if (IsKnown(entry[member], 0))
                listed[member] = entry[member];
        }
        Channel& channel = At(*id);
        if (entry["name"].isString() && !channel.listed_name)
            channel.listed_name = entry["name"].asString();
    }
    ReadServiceList(list);
}

void LearnedChannels::ReadRecord(const Json::Value& record, bool by_reply)
{
    const std::optional<std::string> id = IdOf(record["serviceid"]);
    if (!id)
        return;
    Channel& channel = At(*id);
    if (!is_tuned_ && (!shown_ || (by_reply && !shown_by_reply_))) {
        shown_ = *id;
        shown_by_reply_ = by_reply;
        shown_after_ = moved_by_;
    }
    for (const std::string& name : record.getMemberNames()) {
        const Json::Value& value = record[name];
        const Field* const field = FindField(name);
        if (name == "serviceid" || (name == "serviceId" && value == record["serviceid"]))
            continue;
        if (name == "channelName" && value.isString()) {
            if (!channel.recorded_name)
                channel.recorded_name = value.asString();
        } else if (field != nullptr && value.isInt64() && value.asInt64() >= field->least &&
                   value.asInt64() <= field->most) {
            if (value.asInt64() != field->unknown)
                SetOnce(channel.members, name, value);
        } else {
            SetOnce(channel.extra, name, value);
        }
    }
}

void LearnedChannels::ReadDescription(const Json::Value& description)
{
    const std::optional<std::string> id = IdOf(description["TCServiceId"]);
    if (!id)
        return;
    if (description["IsForDirectTune"].isBool())
        Set(*id, "directTune", description["IsForDirectTune"]);
    for (const auto& [member, name] :
         {std::pair("channelType", "EChannelType"), std::pair("profile", "service profile")}) {
        if (description[name].isInt())
            Set(*id, member, description[name]);
    }
    for (const auto& [member, name] : {std::pair("major", "major"), std::pair("minor", "minor"),
                                       std::pair("programNumber", "program number")}) {
        if (IsKnown(description[name], 0))
            Set(*id, member, description[name]);
    }
}

void LearnedChannels::ReadProgram(const Json::Value& program)
{
    if (!program.isObject())
        return;
    if (const std::optional<std::string> id = IdOf(program["TCServiceId"]))
        At(*id).guide.Add(program);
}

std::optional<std::int64_t> LearnedChannels::FirstProgram() const
{
    std::optional<std::int64_t> first;
    for (const auto& [id, channel] : channels_) {
        if (!channel.guide.is_empty())
            first = std::min(first.value_or(channel.guide.begin()), channel.guide.begin());
    }
    return first;
}

Json::Value LearnedChannels::ChannelJson(const std::string& id, const Channel& channel,
                                         std::int64_t date) const
{
    Json::Value json = channel.members;
    json["id"] = id;
    Json::Value extra = channel.extra;
    const std::string recorded = channel.recorded_name.value_or("");
    const std::string name = channel.listed_name.value_or(recorded);
    if (!name.empty())
        json["name"] = name;
    // The page reads a name up to some character; what is more than that, or another, has been added.
    if (channel.recorded_name && (IsBeyondUnits(recorded) || name.compare(0, recorded.size(), recorded) != 0))
        extra["channelName"] = recorded;
    if (!extra.empty())
        json["extra"] = extra;
    if (!channel.guide.is_empty()) {
        Json::Value guide = channel.guide.ToJson(date, identifiers_);
        if (!guide.empty())
            json["guide"] = std::move(guide);
    }
    return json;
}

void LearnedChannels::Write(Json::Value& file, std::int64_t date) const
{
    if (!has_list_ && channels_.empty())
        return;
    file["channels"] = Json::Value(Json::arrayValue);
    Json::Value programs(Json::arrayValue);
    for (const std::string& id : order_) {
        const Channel& channel = channels_.at(id);
        file["channels"].append(ChannelJson(id, channel, date));
        channel.guide.AddTexts(programs);
    }
    if (!programs.empty())
        file["programs"] = std::move(programs);
    if (shown_) {
        const auto count = static_cast<std::ptrdiff_t>(order_.size());
        const std::ptrdiff_t place = std::find(order_.begin(), order_.end(), *shown_) - order_.begin();
        const std::ptrdiff_t first = ((place - shown_after_) % count + count) % count;
        file["current"] = order_[static_cast<std::size_t>(first)];
    }
}

}  // namespace host
