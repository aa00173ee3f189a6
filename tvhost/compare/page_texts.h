// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Which members of replies and messages are texts that hold JSON, and which commands are the player's, as
/// the description of the page's interface has it.
class PageTexts {
  public:
    PageTexts();

    /// A reply or a message, those texts replaced by what they say. A text that is no JSON stays. `name`: of
    /// the command, or of the message.
    Json::Value Opened(const std::string& name, Json::Value value) const;

    /// Whether a command goes to the player.
    bool IsPlayers(const std::string& command) const { return players_.count(command) != 0; }

  private:
    /// Members of "data"; the empty name: "data" itself.
    std::map<std::string, std::vector<std::string>> members_;
    std::set<std::string> players_;
};

/// What a page's message asks for: its "command", or "" where it has none.
std::string CommandOf(const Json::Value& message);
/// Whether a message to the page is a report of the player.
bool IsReport(const Json::Value& message);
/// What a message to the page is called: its "command"; of a player's report the event and its type.
std::string NameOfMessage(const Json::Value& message);

}  // namespace host
