// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_stdint.h"

namespace pp {

class InputEvent;
class MessageHandler;
class MessageLoop;
class Rect;
class URLLoader;
class Var;
class View;

class PEPPER("Instance") Instance {
  public:
    PEPPER("Instance(PP_Instance)") explicit Instance(PP_Instance instance);
    virtual ~Instance();

    PEPPER("Init") virtual bool Init(uint32_t argc, const char* argn[], const char* argv[]) PEPPER_VIRTUAL;
    PEPPER("DidChangeView(const View&)") virtual void DidChangeView(const View& view) PEPPER_VIRTUAL;
    PEPPER("DidChangeView(const Rect&, const Rect&)")
    virtual void DidChangeView(const Rect& position, const Rect& clip) PEPPER_VIRTUAL;
    PEPPER("DidChangeFocus") virtual void DidChangeFocus(bool has_focus) PEPPER_VIRTUAL;
    PEPPER("HandleInputEvent") virtual bool HandleInputEvent(const InputEvent& event) PEPPER_VIRTUAL;
    PEPPER("HandleDocumentLoad") virtual bool HandleDocumentLoad(const URLLoader& loader) PEPPER_VIRTUAL;
    PEPPER("HandleMessage") virtual void HandleMessage(const Var& message) PEPPER_VIRTUAL;

    PEPPER("PostMessage") void PostMessage(const Var& message);
    PEPPER("RegisterMessageHandler")
    int32_t RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop);
    PEPPER("UnregisterMessageHandler()") void UnregisterMessageHandler();

    PEPPER("pp_instance()") PP_Instance pp_instance() const;
};

}  // namespace pp
