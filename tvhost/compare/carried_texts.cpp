// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/carried_texts.h"

#include <optional>

#include "tvhost/json_text.h"

namespace host {

void CarriedTexts::Note(const std::vector<std::pair<std::string, std::string>>& pairs)
{
    for (const auto& [recorded, replayed] : pairs)
        texts_[recorded] = replayed;
}

Json::Value CarriedTexts::InPlace(Json::Value line) const
{
    for (const char* kind : {"await", "post"}) {
        if (line.isMember(kind))
            Replace(line[kind]);
    }
    return line;
}

/// Whether anything was replaced.
bool CarriedTexts::Replace(Json::Value& value) const
{
    bool replaced = false;
    if (value.isObject() || value.isArray()) {
        for (Json::Value& member : value)
            replaced = Replace(member) || replaced;
    } else if (value.isString()) {
        const std::string text = value.asString();
        if (const auto found = texts_.find(text); found != texts_.end()) {
            replaced = found->second != text;
            value = found->second;
        } else if (!text.empty() && text.front() == '{') {
            std::optional<Json::Value> inside = tv::ParseJsonObject(text);
            // A text in which nothing is replaced stays as the page wrote it.
            if (inside && Replace(*inside)) {
                value = WriteJson(*inside);
                replaced = true;
            }
        }
    }
    return replaced;
}

}  // namespace host
