// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// Texts that a TV gave and that the page hands back to it, such as a programme's id: what another TV gave in
/// their places.
class CarriedTexts {
  public:
    /// Pairs of the recording's text and that of the replay.
    void Note(const std::vector<std::pair<std::string, std::string>>& pairs);

    /// The line in, with the replay's texts in its message; those of JSON texts inside included.
    Json::Value InPlace(Json::Value line) const;

  private:
    bool Replace(Json::Value& value) const;

    std::map<std::string, std::string> texts_;
};

}  // namespace host
