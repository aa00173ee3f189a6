// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <string>

namespace host {

/// What was told of a channel's programmes.
class LearnedGuide {
  public:
    /// A programme as the content service describes it; what lacks its times or title is left out.
    void Add(const Json::Value& program);

    bool is_empty() const { return programs_.empty(); }
    /// When the first one begins, in milliseconds since 1970. Not empty.
    std::int64_t begin() const { return programs_.begin()->first; }

    /// The channel's "guide" for a TV that is set to `date`. A guide begins with a half hour and runs round
    /// and round, so what was told of the time before stands at its end. What nobody told of gets a name.
    /// `identifiers`: by programmes' ids.
    Json::Value ToJson(std::int64_t date, const std::map<std::string, std::string>& identifiers) const;
    /// What is on, without lengths.
    void AddTexts(Json::Value& programs) const;

  private:
    std::map<std::int64_t, Json::Value> programs_;  ///< by their starts
};

}  // namespace host
