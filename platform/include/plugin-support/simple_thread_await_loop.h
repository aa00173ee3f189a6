// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <thread>

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"
#include "zelumo-platform/export.h"

namespace pp {

/// A worker thread with a message loop of its own. Started, and destroyed, by the thread that owns it; never
/// by the worker itself.
class ZELUMO_PLATFORM_API SimpleThreadAwaitLoop {
  public:
    explicit SimpleThreadAwaitLoop(const InstanceHandle& instance);
    /// Ends the loop and joins the thread: waits for the one piece of work or message that is being
    /// handled, not for the messages behind it.
    ~SimpleThreadAwaitLoop();
    SimpleThreadAwaitLoop(const SimpleThreadAwaitLoop&) = delete;
    SimpleThreadAwaitLoop& operator=(const SimpleThreadAwaitLoop&) = delete;

    /// Returns once the loop takes messages. False when it was started before.
    bool Start();
    /// Any thread. No thread runs it before Start.
    const MessageLoop& message_loop() const { return loop_; }

  private:
    MessageLoop loop_;
    std::thread thread_;
};

}  // namespace pp
