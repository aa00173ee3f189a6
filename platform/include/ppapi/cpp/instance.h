// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_stdint.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace pp {

class InputEvent;
class MessageHandler;
class MessageLoop;
class Rect;
class URLLoader;
class View;

/// The plug-in's side of one embedded element. A copy names the same element; destroying a copy leaves the
/// element as it is. The runtime creates, initialises and destroys instances on its plug-in thread.
class ZELUMO_PLATFORM_API Instance {
  public:
    explicit Instance(PP_Instance instance) : pp_instance_(instance) {}
    virtual ~Instance();

    // Plug-in thread; what is passed is lent. The base class does nothing, and gives true for Init, else
    // false.
    /// Called once, after the creation, with the element's attributes.
    virtual bool Init(uint32_t argc, const char* argn[], const char* argv[]);
    virtual void DidChangeView(const View& view);
    virtual void DidChangeView(const Rect& position, const Rect& clip);
    virtual void DidChangeFocus(bool has_focus);
    virtual bool HandleInputEvent(const InputEvent& event);
    virtual bool HandleDocumentLoad(const URLLoader& url_loader);
    /// Messages that no registered handler takes. The base class drops them.
    virtual void HandleMessage(const Var& message);

    /// Sends a message to the page. Any thread; nothing happens once the element is gone.
    void PostMessage(const Var& message);
    /// From now on the page's messages go to `handler` on the thread of `loop`. The handler must outlive
    /// the loop's run or its unregistering. Any thread. PP_ERROR_BADARGUMENT without a handler or a loop, or
    /// once the element is gone, PP_ERROR_WRONG_THREAD for a loop that no thread runs, PP_ERROR_FAILED while
    /// another handler is registered.
    int32_t RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop);
    /// Any thread. The handler is dropped on its loop's thread, after what was posted before, and is told so.
    /// Nothing happens without one.
    void UnregisterMessageHandler();

    PP_Instance pp_instance() const { return pp_instance_; }

  private:
    PP_Instance pp_instance_;
};

}  // namespace pp
