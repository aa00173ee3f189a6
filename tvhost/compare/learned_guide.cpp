// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/learned_guide.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "core/clock.h"

namespace host {
namespace {

constexpr std::int64_t kMsPerMinute = 60'000;
constexpr std::int64_t kHalfHour = 30 * kMsPerMinute;
/// Programmes farther from the date than that don't count: one would make the guide endless.
constexpr std::int64_t kMostMinutes = std::int64_t{400} * 24 * 60;
constexpr std::int64_t kLongestEntry = std::int64_t{24} * 60;

bool IsTime(const Json::Value& value)
{
    return value.isNumeric() && value.asDouble() >= 0 &&
           value.asDouble() <= static_cast<double>(tv::kLastDate);
}

std::int64_t TimeOf(const Json::Value& value)
{
    return static_cast<std::int64_t>(value.asDouble());
}

Json::Value TextOf(const Json::Value& program)
{
    Json::Value text;
    for (const char* member : {"title", "synopsis", "genre"}) {
        if (program[member].isString())
            text[member] = program[member];
    }
    return text;
}

/// Entries one after the other, the first at minute `at`.
class Entries {
  public:
    Entries(Json::Value& guide, std::int64_t at) : guide_(guide), at_(at) {}

    std::int64_t at() const { return at_; }
    void FillTo(std::int64_t minute)
    {
        Json::Value nobody_knows;
        nobody_knows["title"] = "Unknown programme";
        Add(nobody_knows, minute);
    }
    void Add(const Json::Value& text, std::int64_t end)
    {
        while (at_ < end) {
            const std::int64_t length = std::min(end - at_, kLongestEntry);
            Json::Value& entry = guide_.append(text);
            entry["minutes"] = static_cast<Json::Int64>(length);
            at_ += length;
        }
    }

  private:
    Json::Value& guide_;
    std::int64_t at_;
};

}  // namespace

void LearnedGuide::Add(const Json::Value& program)
{
    if (!program.isObject() || !IsTime(program["startTime"]) || !IsTime(program["endTime"]) ||
        !program["title"].isString() || TimeOf(program["startTime"]) >= TimeOf(program["endTime"]))
        return;
    programs_.emplace(TimeOf(program["startTime"]), program);
}

Json::Value LearnedGuide::ToJson(std::int64_t date,
                                 const std::map<std::string, std::string>& identifiers) const
{
    const std::int64_t origin = date / kHalfHour * kHalfHour;
    const auto minute = [origin](std::int64_t time) {
        return static_cast<std::int64_t>(std::floor(static_cast<double>(time - origin) / kMsPerMinute + 0.5));
    };
    struct Entry {
        std::int64_t begin;
        std::int64_t end;
        Json::Value text;
    };
    std::vector<Entry> known;
    for (const auto& [start, program] : programs_) {
        Entry entry{minute(start), minute(TimeOf(program["endTime"])), TextOf(program)};
        if (program["programId"].isString()) {
            const auto identifier = identifiers.find(program["programId"].asString());
            if (identifier != identifiers.end())
                entry.text["identifier"] = identifier->second;
        }
        const bool overlaps = !known.empty() && entry.begin < known.back().end;
        if (entry.begin < entry.end && !overlaps && entry.begin > -kMostMinutes && entry.end < kMostMinutes)
            known.push_back(std::move(entry));
    }
    Json::Value guide(Json::arrayValue);
    Entries from_origin(guide, 0);
    for (const Entry& entry : known) {
        if (entry.end <= 0)
            continue;
        from_origin.FillTo(entry.begin);
        from_origin.Add(entry.text, entry.end);
    }
    // The beginning of what runs into the half hour is of no use by itself.
    if (known.empty() || known.front().end > 0)
        return guide;
    Entries before(guide, known.front().begin);
    for (const Entry& entry : known) {
        if (entry.begin >= 0)
            break;
        before.FillTo(entry.begin);
        before.Add(entry.text, std::min<std::int64_t>(entry.end, 0));
    }
    before.FillTo(0);
    return guide;
}

void LearnedGuide::AddTexts(Json::Value& programs) const
{
    std::set<Json::Value> known(programs.begin(), programs.end());
    for (const auto& [start, program] : programs_) {
        const Json::Value text = TextOf(program);
        if (known.insert(text).second)
            programs.append(text);
    }
}

}  // namespace host
