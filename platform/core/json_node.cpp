// SPDX-License-Identifier: Apache-2.0
#include "core/json_node.h"

#include <json/writer.h>

#include <algorithm>

#include "core/nearest.h"

namespace tv {

void JsonNode::Fail(const std::string& why) const
{
    if (places_ == JsonPlaces::Path)
        throw JsonMistake((place_.empty() ? "the file" : place_) + ": " + why);
    throw JsonMistake(place_.empty() ? why : place_ + ' ' + why);
}

JsonNode JsonNode::operator[](const std::string& key) const
{
    const Json::Value& member = (*value_)[key];
    if (places_ == JsonPlaces::Name)
        return {member, places_, Quoted(key)};
    const bool plain = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
    if (!plain)
        return {member, places_, place_ + '[' + Json::valueToQuotedString(Shortened(key).c_str()) + ']'};
    return {member, places_, (place_.empty() ? "" : place_ + '.') + Shortened(key)};
}

JsonNode JsonNode::Element(std::size_t index) const
{
    const auto place = static_cast<Json::ArrayIndex>(index);
    const bool there = value_->isArray() && place < value_->size();
    return {there ? (*value_)[place] : Json::Value::nullSingleton(), places_,
            place_ + '[' + std::to_string(index) + ']'};
}

std::vector<JsonNode> JsonNode::Elements() const
{
    if (!value_->isArray())
        Fail("must be an array");
    std::vector<JsonNode> elements;
    for (std::size_t i = 0; i < value_->size(); ++i)
        elements.push_back(Element(i));
    return elements;
}

std::int64_t JsonNode::Whole(std::int64_t least, std::int64_t most) const
{
    std::int64_t number = 0;
    if (!FromJson(*value_, number) || number < least || number > most)
        Fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    return number;
}

int JsonNode::AtLeast(int least) const
{
    const int number = As<int>();
    if (number < least)
        Fail("must be " + std::to_string(least) + " or more");
    return number;
}

JsonObject::JsonObject(JsonNode node) : node_(std::move(node))
{
    if (!node_.json().isObject())
        node_.Fail("must be an object");
}

std::optional<JsonNode> JsonObject::Find(const std::string& key)
{
    known_.push_back(key);
    if (!node_.json().isMember(key))
        return std::nullopt;
    return node_[key];
}

JsonNode JsonObject::Get(const std::string& key)
{
    const std::optional<JsonNode> member = Find(key);
    if (!member)
        node_[key].Fail("is missing");
    return *member;
}

void JsonObject::Read(const std::string& key, std::chrono::milliseconds& target)
{
    if (const auto member = Find(key))
        target = std::chrono::milliseconds(member->Whole(0, 0x7FFFFFFF));
}

void JsonObject::End() const
{
    for (const std::string& key : node_.json().getMemberNames()) {
        if (std::find(known_.begin(), known_.end(), key) == known_.end())
            node_[key].Fail("is not known" + DidYouMean(key, known_));
    }
}

}  // namespace tv
