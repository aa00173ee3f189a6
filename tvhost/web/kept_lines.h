// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "tvhost/session.h"

namespace host {

/// The last lines, numbered from 1: at least kLines of them as long as they take no more than kBytes. A line
/// is kept as it came up, one behind the other in large chunks, and written out when it is read; so keeping
/// it costs little more than its bytes. One thread at a time.
class KeptLines {
  public:
    static constexpr std::size_t kLines = 2000;
    static constexpr std::size_t kBytes = std::size_t{64} * 1024 * 1024;

    void Add(std::string_view whole);
    void Add(const LineOut& line);

    /// The number of the next line that is added.
    unsigned long long next() const { return next_; }
    /// The first line that is kept, from `since` on; next() where there is none.
    unsigned long long First(unsigned long long since) const;
    /// Reads the lines from number `first` on, which First gave, written out.
    void Read(unsigned long long first, const std::function<void(std::string)>& read) const;

  private:
    struct Chunk {
        unsigned long long first;  ///< the number of its first line
        std::string bytes;         ///< the lines, each with a head
        std::size_t calls = 0;     ///< how many of them are kept as values
    };
    struct Head;

    /// Room for a line of so many bytes.
    Chunk& ChunkFor(std::size_t bytes);
    void Put(char kind, std::string_view text, int buffer = 0, int priority = 0, std::string_view tag = {});
    void DropFirst();

    std::deque<Chunk> chunks_;
    std::string spare_;  ///< of a chunk that was dropped
    std::deque<tv::SharedCall> calls_;
    std::size_t bytes_ = 0;
    unsigned long long next_ = 1;
};

}  // namespace host
