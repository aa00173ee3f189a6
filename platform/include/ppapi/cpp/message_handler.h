// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace pp {

/// Receives the page's messages on the thread of the loop that it was registered with, one at a time.
/// Messages are lent for the call.
class ZELUMO_PLATFORM_API MessageHandler {
  public:
    virtual ~MessageHandler();
    virtual void HandleMessage(InstanceHandle instance, const Var& message) = 0;
    /// The result is the page's answer; the page waits for it.
    virtual Var HandleBlockingMessage(InstanceHandle instance, const Var& message) = 0;
    /// The runtime has dropped the handler and calls it no more. Called on the loop's thread, at the
    /// latest when the loop ends.
    virtual void WasUnregistered(InstanceHandle instance) = 0;
};

}  // namespace pp
