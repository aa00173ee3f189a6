// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_stdint.h"

namespace pp {

class MessageHandler;
class MessageLoop;
class Var;

class PEPPER("Instance") Instance {
  public:
    PEPPER("Instance(PP_Instance)") explicit Instance(PP_Instance instance);
    virtual ~Instance();

    PEPPER("Init") virtual bool Init(uint32_t argc, const char* argn[], const char* argv[]) PEPPER_VIRTUAL;

    PEPPER("PostMessage") void PostMessage(const Var& message);
    PEPPER("RegisterMessageHandler")
    int32_t RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop);
    PEPPER("UnregisterMessageHandler()") void UnregisterMessageHandler();
};

}  // namespace pp
