// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace soak {

/// The process's threads and descriptors: how many there are of each name.
class Census {
  public:
    static Census Take();
    /// What there is more of than in `before`: "thread tv.content, descriptor socket"; empty: nothing. Gives
    /// what is just ending a few seconds to be gone.
    static std::string Excess(const Census& before);

  private:
    std::map<std::string, int> counts_;
};

/// Bytes on the heap that are in use. A sanitizer counts them exactly; the C library counts as used what each
/// thread keeps for its next allocations.
std::size_t HeapInUse();
/// How many more of them are no growth.
extern const long long kFlatHeap;

/// Memory over time, measured while nothing is under way.
class MemoryCurve {
  public:
    void Measure();
    /// By how many bytes the least of a quarter exceeds the least of the quarter before it: the last or the
    /// third, whichever grew less. A leak grows in both; a buffer that a thread keeps, and that was extended
    /// once, in one. Nothing when there are too few measurements.
    std::optional<long long> Growth() const;
    std::size_t last() const { return bytes_.empty() ? 0 : bytes_.back(); }

  private:
    std::vector<std::size_t> bytes_;
};

}  // namespace soak
