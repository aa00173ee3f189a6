// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <functional>
#include <thread>

namespace host {

/// What was waited for did not come before an interrupt did.
class Interrupted : public std::exception {
  public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// From now on Ctrl-C, SIGTERM and SIGHUP are interrupts: they are noted instead of ending the program, so
/// that it can end in order. A second Ctrl-C or SIGTERM ends it at once; a second SIGHUP changes nothing,
/// since a terminal that goes away sends several. A SIGHUP that is ignored already (nohup) stays so. A write
/// to a closed pipe becomes an error instead of a signal. Once, before other threads are started. Throws
/// std::system_error.
void CatchInterrupts();

/// From now on the end of standard input is an interrupt, too; what comes before it is read and ignored. It
/// does not count as the first of two signals. After CatchInterrupts, once.
void InterruptAtEndOfInput();

/// Becomes readable with the first interrupt, and stays so; never to be read. -1 before CatchInterrupts.
int InterruptDescriptor();

/// Whether there was an interrupt. Any thread.
bool IsInterrupted();

/// While it lives, `act` is called once, on a thread of its own, when an interrupt comes, or has come before.
class OnInterrupt {
  public:
    /// Throws std::system_error.
    explicit OnInterrupt(std::function<void()> act);
    /// When it has returned, `act` is not running any more. Not on the thread of `act`.
    ~OnInterrupt();
    OnInterrupt(const OnInterrupt&) = delete;
    OnInterrupt& operator=(const OnInterrupt&) = delete;

  private:
    const int ended_;
    std::thread thread_;
};

}  // namespace host
