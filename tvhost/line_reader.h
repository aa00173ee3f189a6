// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace host {

/// One line of input, without its end.
struct InputLine {
    int number = 0;    ///< from 1
    std::string text;  ///< cut off where the line was too long
    bool too_long = false;
    bool ended = false;  ///< false: the input ended before the line did
};

/// Reads lines from a file descriptor with a limit on their length; what exceeds it is passed over without
/// being kept. Interrupts end the input. One thread at a time.
class LineReader {
  public:
    /// The input ends when `interrupt_descriptor` becomes readable; -1: there is none. Neither is owned.
    LineReader(int descriptor, std::size_t max_bytes, int interrupt_descriptor);

    /// The next line, or nothing at the end of input. Throws std::system_error.
    std::optional<InputLine> Next();

  private:
    bool Fill();
    /// Waits for input; false when there was an interrupt.
    bool Wait() const;

    const int descriptor_;
    const std::size_t max_bytes_;
    const int interrupt_descriptor_;
    std::string buffer_;
    std::size_t used_ = 0;
    int number_ = 0;
};

}  // namespace host
