// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>

namespace soak {

/// Choices that follow from the seed and the place where they are made (part, round, role), whatever the
/// other threads do meanwhile.
class Dice {
  public:
    Dice(std::uint64_t seed, std::initializer_list<std::uint64_t> place)
    {
        std::seed_seq mixed{Low(seed), Low(seed >> 32), Nth(place, 0), Nth(place, 1), Nth(place, 2)};
        random_.seed(mixed);
    }

    /// 0 to `count` - 1.
    int Below(int count) { return static_cast<int>(random_() % static_cast<std::uint64_t>(count)); }
    /// `low` to `high`, both included.
    int Between(int low, int high) { return low + Below(high - low + 1); }
    bool Chance(int percent) { return Below(100) < percent; }
    template <typename List>
    const auto& Pick(const List& list)
    {
        return list[static_cast<std::size_t>(Below(static_cast<int>(std::size(list))))];
    }

  private:
    static std::uint32_t Low(std::uint64_t value) { return static_cast<std::uint32_t>(value); }
    static std::uint32_t Nth(std::initializer_list<std::uint64_t> list, std::size_t index)
    {
        return index < list.size() ? Low(list.begin()[index]) : 0;
    }

    std::mt19937_64 random_;
};

}  // namespace soak
