#pragma once

#include <csignal>
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
/// being kept. Interrupts end the input.
class LineReader {
  public:
    /// `interrupted` is set by a signal handler, or null. Neither is owned.
    LineReader(int descriptor, std::size_t max_bytes, const volatile std::sig_atomic_t* interrupted);

    /// The next line, or nothing at the end of input. Throws std::system_error.
    std::optional<InputLine> Next();

  private:
    bool Fill();

    const int descriptor_;
    const std::size_t max_bytes_;
    const volatile std::sig_atomic_t* const interrupted_;
    std::string buffer_;
    std::size_t used_ = 0;
    int number_ = 0;
};

}  // namespace host
