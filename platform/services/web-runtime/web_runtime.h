#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/reply_once.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace tv {

class InstanceRecord;

/// One embedded plug-in element, as the web runtime keeps it: creates the plug-in's instance and destroys
/// it. Both happen on the thread of the owner; the other operations may be called on any thread, and may
/// still be under way when the destruction begins.
class PLATFORM_API EmbeddedInstance {
  public:
    /// Receives what the plug-in posts to the page, on the posting thread, one message at a time for each
    /// thread. It must not destroy this object on the worker thread.
    using MessageSink = std::function<void(const pp::Var&)>;
    /// Receives a reply on the thread on which it comes up, the worker thread as a rule, before whoever
    /// waits for it goes on. It must not wait for a message of its own. Made with an undefined var for
    /// when it is dropped, it tells what the waiting thread gets.
    using Reply = ReplyOnce<pp::Var>;
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    /// `module` outlives this object. Throws what the plug-in's creation throws.
    EmbeddedInstance(pp::Module& module, MessageSink sink, const Attributes& attributes = {});
    /// When it has returned, posts have no effect any more. The plug-in's threads end, or wait, before: one
    /// that does not could still be inside the sink.
    ~EmbeddedInstance();
    EmbeddedInstance(const EmbeddedInstance&) = delete;
    EmbeddedInstance& operator=(const EmbeddedInstance&) = delete;

    PP_Instance pp_instance() const;
    /// A blocking message: waits for the plug-in's answer, so not from the worker thread. Undefined when
    /// there is no handler, or when the handler's loop ends before the message's turn has come. `on_reply`
    /// may be empty; it gets the reply sooner than the waiting thread, by the time that a thread needs to
    /// wake, and is dropped before this returns when nobody takes the message.
    pp::Var Await(const pp::Var& message, Reply on_reply = {});
    /// A non-blocking message. Not from the worker thread either: returns once the plug-in has handled it, or
    /// dropped it.
    void Post(const pp::Var& message);

    /// A way to send messages that may outlive this object.
    class Sender;
    Sender GetSender() const;

  private:
    std::shared_ptr<InstanceRecord> record_;
};

class PLATFORM_API EmbeddedInstance::Sender {
  public:
    pp::Var Await(const pp::Var& message, Reply on_reply = {}) const;
    void Post(const pp::Var& message) const;

  private:
    friend class EmbeddedInstance;
    explicit Sender(std::shared_ptr<InstanceRecord> record) : record_(std::move(record)) {}
    std::shared_ptr<InstanceRecord> record_;
};

/// What pp::Module::Get gives from now on; null: nothing. Set by whoever loads the plug-in and owns the
/// module, and withdrawn before the module goes. Any thread.
PLATFORM_API void SetModule(pp::Module* module);

/// How many instances are alive. Any thread.
PLATFORM_API int CountInstances();

}  // namespace tv
