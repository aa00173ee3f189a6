// SPDX-License-Identifier: Apache-2.0
#pragma once

// InstanceHandle and Var are for whoever includes this to bring.
namespace pp {

class PEPPER("MessageHandler") MessageHandler {
  public:
    virtual ~MessageHandler();

    PEPPER("HandleMessage")
    virtual void HandleMessage(InstanceHandle instance, const Var& message) PEPPER_VIRTUAL = 0;
    PEPPER("HandleBlockingMessage")
    virtual Var HandleBlockingMessage(InstanceHandle instance, const Var& message) PEPPER_VIRTUAL = 0;
    PEPPER("WasUnregistered") virtual void WasUnregistered(InstanceHandle instance) PEPPER_VIRTUAL = 0;
};

}  // namespace pp
