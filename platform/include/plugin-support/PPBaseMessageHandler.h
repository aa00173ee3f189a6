// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

// message_handler.h may leave what it speaks of to whoever includes it.
// clang-format off
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"
#include "ppapi/cpp/message_handler.h"
// clang-format on
#include "ppapi/cpp/instance.h"
#include "zelumo-platform/export.h"

/// Base of a plug-in's message handler: passes the page's messages on and builds the dictionaries that
/// answer them. The building operations may be called on any thread.
class ZELUMO_PLATFORM_API PPBaseMessageHandler : public pp::MessageHandler {
  public:
    ~PPBaseMessageHandler() override;
    // Loop's thread. The first two pass on to the operations below, the last does nothing.
    void HandleMessage(pp::InstanceHandle instance, const pp::Var& message) override;
    pp::Var HandleBlockingMessage(pp::InstanceHandle instance, const pp::Var& message) override;
    void WasUnregistered(pp::InstanceHandle instance) override;

    /// Loop's thread: one posted message.
    virtual void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) = 0;
    /// Loop's thread: one blocking message; the result is the page's answer.
    virtual pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) = 0;

  protected:
    /// The reply to a blocking message: "code" and "data", and "errorName" and "errorMessage" where they
    /// are not empty.
    pp::Var createMessage(int code, pp::Var data, std::string errorName, std::string errorMessage);
    /// Posts the answer to the message that named `command`: a dictionary with the keys "command", "code",
    /// "errorName", "errorMessage" and "data", all present even when their texts are empty.
    void responseData(pp::Instance instance, std::string command, int code, pp::Var data,
                      std::string errorName, std::string errorMessage);
    /// Posts a message of the plug-in's own, in the same layout, `name` standing under "command".
    void sendData(pp::Instance instance, std::string name, int code, pp::Var data, std::string errorName,
                  std::string errorMessage);
};
