#pragma once

#include <functional>
#include <thread>

namespace host {

/// From now on Ctrl-C and SIGTERM are noted instead of ending the program, so that it can end in
/// order; a second Ctrl-C ends it at once. A write to a closed pipe becomes an error instead of a signal.
/// Once, before other threads are started. Throws std::system_error.
void CatchInterrupts();

/// Becomes readable with the first such signal, and stays so; never to be read. -1 before CatchInterrupts.
int InterruptDescriptor();

/// Whether such a signal came. Any thread.
bool IsInterrupted();

/// While it lives, `act` is called once, on a thread of its own, when such a signal comes, or has come
/// before.
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
