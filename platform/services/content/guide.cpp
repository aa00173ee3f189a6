// SPDX-License-Identifier: Apache-2.0
#include "services/content/guide.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tv {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr seconds kHalfHour = minutes(30);

/// A made-up schedule is cut into blocks of this many half hours, and each block into programmes by one of
/// these patterns of their lengths.
constexpr int kBlockHalfHours = 6;
constexpr int kMostPrograms = 5;
using Pattern = std::array<int, kMostPrograms>;
constexpr std::array<Pattern, 9> kPatterns{{
    {1, 1, 2, 2, 0},
    {2, 1, 1, 2, 0},
    {4, 2, 0, 0, 0},
    {2, 4, 0, 0, 0},
    {1, 1, 1, 1, 2},
    {3, 3, 0, 0, 0},
    {2, 2, 2, 0, 0},
    {1, 2, 3, 0, 0},
    {1, 1, 4, 0, 0},
}};

/// Spreads neighbouring numbers over all 64 bits.
std::uint64_t Mix(std::uint64_t value)
{
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

/// What a channel's block is made from: its pattern and its first programme.
std::uint64_t Lot(const ChannelConfig& channel, std::int64_t block)
{
    return Mix(Mix(channel.id) ^ static_cast<std::uint64_t>(block));
}

const Pattern& PatternOf(std::uint64_t lot)
{
    return kPatterns[static_cast<std::size_t>(lot % kPatterns.size())];
}

seconds Floor(std::chrono::milliseconds time)
{
    return std::chrono::floor<seconds>(time);
}

}  // namespace

Guide::Guide(const LineUp& line_up, std::chrono::milliseconds origin)
    : line_up_(line_up), origin_(Floor(origin) / kHalfHour * kHalfHour)
{}

Program Guide::At(const ChannelConfig& channel, std::chrono::milliseconds time) const
{
    return channel.guide.empty() ? InSchedule(channel, Floor(time)) : InOwnGuide(channel, Floor(time));
}

std::optional<Program> Guide::StartingAt(const ChannelConfig& channel, seconds start) const
{
    const Program program = At(channel, start);
    if (program.start != start)
        return std::nullopt;
    return program;
}

Program Guide::InOwnGuide(const ChannelConfig& channel, seconds time) const
{
    seconds round(0);
    for (const GuideEntry& entry : channel.guide)
        round += entry.length;
    seconds into = (time - origin_) % round;
    if (into < seconds(0))
        into += round;
    seconds start = time - into;
    const GuideEntry* entry = &channel.guide.front();
    while (start + entry->length <= time) {
        start += entry->length;
        ++entry;
    }
    return {start, start + entry->length, &entry->text};
}

Program Guide::InSchedule(const ChannelConfig& channel, seconds time) const
{
    std::vector<const ProgramText*> choice;
    for (const ProgramText& text : line_up_.programs) {
        if (channel.genre.empty() || text.genre == channel.genre)
            choice.push_back(&text);
    }
    constexpr seconds kBlock = kHalfHour * kBlockHalfHours;
    const std::int64_t block = time / kBlock;
    const std::uint64_t lot = Lot(channel, block);
    const Pattern& pattern = PatternOf(lot);
    seconds start = kBlock * block;
    std::size_t place = 0;
    while (start + pattern[place] * kHalfHour <= time)
        start += pattern[place++] * kHalfHour;
    std::size_t chosen = static_cast<std::size_t>((lot / 16 + place) % choice.size());
    if (place == 0 && block > 0 && choice.size() > 2) {
        // What ended the block before doesn't begin this one; nor does what comes second here.
        const std::uint64_t before = Lot(channel, block - 1);
        const Pattern& pattern_before = PatternOf(before);
        const auto count = static_cast<std::size_t>(
            std::find(pattern_before.begin(), pattern_before.end(), 0) - pattern_before.begin());
        if (chosen == (before / 16 + count - 1) % choice.size())
            chosen = (chosen + 2) % choice.size();
    }
    return {start, start + pattern[place] * kHalfHour, choice[chosen]};
}

}  // namespace tv
