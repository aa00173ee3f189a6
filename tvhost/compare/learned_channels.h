// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tvhost/compare/learned_guide.h"

namespace host {

/// What was told of a TV's channels. Service ids are decimal.
class LearnedChannels {
  public:
    // What the JSON texts of that name say. Of a member told twice the first value counts: the TV may have
    // changed since.
    void ReadServiceList(const Json::Value& list);
    void ReadFeatured(const Json::Value& featured);
    /// `by_reply`: else by a message, which may come when the page has gone on already.
    void ReadRecord(const Json::Value& record, bool by_reply);
    void ReadDescription(const Json::Value& description);
    void ReadProgram(const Json::Value& program);

    void Exists(const std::string& id) { At(id); }
    /// A member of the channel in the TV file.
    void Set(const std::string& id, const char* member, const Json::Value& value);
    void SetIdentifier(const std::string& program, const std::string& identifier);
    /// The page went on by so many channels, or to one.
    void Moved(int by) { moved_by_ += by; }
    void Tuned() { is_tuned_ = true; }

    /// When the earliest programme begins, in milliseconds since 1970.
    std::optional<std::int64_t> FirstProgram() const;
    /// The members "channels", "current" and "programs" of a TV file, as far as they are known.
    void Write(Json::Value& file, std::int64_t date) const;

  private:
    struct Channel {
        Json::Value members{Json::objectValue};
        Json::Value extra{Json::objectValue};
        std::optional<std::string> listed_name;    ///< whole
        std::optional<std::string> recorded_name;  ///< as far as the page reads it
        LearnedGuide guide;
    };

    Channel& At(const std::string& id);
    Json::Value ChannelJson(const std::string& id, const Channel& channel, std::int64_t date) const;

    bool has_list_ = false;
    std::vector<std::string> order_;
    std::map<std::string, Channel> channels_;
    std::map<std::string, std::string> identifiers_;
    std::optional<std::string> shown_;  ///< the first channel that was told to be shown, by a reply if any
    bool shown_by_reply_ = false;
    int shown_after_ = 0;  ///< and how far the page had gone on then
    int moved_by_ = 0;
    bool is_tuned_ = false;
};

}  // namespace host
