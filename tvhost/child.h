// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace host {

/// How a process of its own came to its end.
struct ChildEnd {
    enum class How { Exited, Signalled, TimedOut, Interrupted };

    How how = How::Exited;
    int status = 0;   ///< exit status, or the signal's number
    std::string out;  ///< what it wrote; what exceeds the limit is dropped
    std::chrono::milliseconds took{0};
};

/// Runs `body` in a process of its own, forked from this one, and waits for its end. `body` gets a descriptor
/// to write to, and its result is the exit status; it may become another program by exec. When the time is
/// up, at an interrupt, and when it has ended, it is killed with all that it started in its process group;
/// it does not outlive this program. While this process has one thread only. Throws std::system_error.
ChildEnd RunChild(const std::function<int(int descriptor)>& body, std::chrono::milliseconds limit,
                  std::size_t max_out);

/// "SIGSEGV (Segmentation fault)".
std::string SignalName(int signal);

}  // namespace host
