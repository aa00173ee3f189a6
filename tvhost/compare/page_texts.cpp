// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/page_texts.h"

#include <string_view>
#include <utility>

#include "tvhost/compare/page_api_text.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

constexpr int kMaxDepth = 64;

void Open(Json::Value& value)
{
    if (!value.isString())
        return;
    try {
        Json::Value opened = ParseJson(value.asString(), kMaxDepth);
        // A page that parses a text which is a mere number or string would notice.
        if (opened.isObject() || opened.isArray())
            value = std::move(opened);
    } catch (const JsonError&) {
        // It stays the text that it is, and differs from one that is JSON.
    }
}

}  // namespace

PageTexts::PageTexts()
{
    const std::string_view text(reinterpret_cast<const char*>(kPageApiText), kPageApiTextSize);
    const Json::Value api = ParseJson(text, kMaxDepth);
    const auto add = [this](const Json::Value& of, const Json::Value& fields) {
        for (const Json::Value& field : fields) {
            if (!field["text"].asString().empty())
                members_[of["command"].asString()].push_back(field["name"].asString());
        }
    };
    for (const Json::Value& command : api["commands"]) {
        if (!command["data"]["text"].asString().empty())
            members_[command["name"].asString()].emplace_back();
        if (command["kind"] == "player")
            players_.insert(command["name"].asString());
        Json::Value of;
        of["command"] = command["name"];
        add(of, command["data"]["fields"]);
    }
    for (const char* kind : {"events", "signals"}) {
        for (const Json::Value& event : api[kind])
            add(event, event["fields"]);
    }
}

Json::Value PageTexts::Opened(const std::string& name, Json::Value value) const
{
    const auto found = members_.find(name);
    if (found == members_.end() || !value.isObject() || !value.isMember("data"))
        return value;
    for (const std::string& member : found->second) {
        Json::Value& data = value["data"];
        if (member.empty())
            Open(data);
        else if (data.isObject() && data.isMember(member))
            Open(data[member]);
    }
    return value;
}

std::string CommandOf(const Json::Value& message)
{
    return message.isObject() && message["command"].isString() ? message["command"].asString() : "";
}

bool IsReport(const Json::Value& message)
{
    return message.isObject() && message["type"].isInt() && message["event"].isString();
}

std::string NameOfMessage(const Json::Value& message)
{
    if (IsReport(message))
        return message["event"].asString() + ' ' + message["type"].asString();
    return CommandOf(message);
}

}  // namespace host
