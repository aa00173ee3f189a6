// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <exception>
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
class ZELUMO_PLATFORM_API EmbeddedInstance {
  public:
    /// Receives what the plug-in posts to the page, on the posting thread, one message at a time for each
    /// thread. It must not destroy this object on the worker thread.
    using MessageSink = std::function<void(const pp::Var&)>;
    enum class Kind { Blocking, NonBlocking };
    /// What became of a message: the reply to a blocking one, undefined when nobody took it, or what the
    /// plug-in threw.
    struct Outcome {
        pp::Var reply;
        std::exception_ptr failure;
    };
    /// Receives it once, on the worker thread, or on the sending one when nobody takes the message. It must
    /// neither throw nor wait for a message of its own.
    using Sink = ReplyOnce<Outcome>::Sink;
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    /// `module` outlives this object. Throws what the plug-in's creation throws.
    EmbeddedInstance(pp::Module& module, MessageSink sink, const Attributes& attributes = {});
    /// When it has returned, posts have no effect any more. The plug-in's threads end, or wait, before: one
    /// that does not could still be inside the sink.
    ~EmbeddedInstance();
    EmbeddedInstance(const EmbeddedInstance&) = delete;
    EmbeddedInstance& operator=(const EmbeddedInstance&) = delete;

    PP_Instance pp_instance() const;
    /// A message that nobody waits for.
    void Send(Kind kind, pp::Var message, Sink sink);
    /// A blocking message: waits for the plug-in's answer, so not from the worker thread. Undefined when
    /// there is no handler, or when the handler's loop ends before the message's turn has come. Throws what
    /// the plug-in threw.
    pp::Var Await(const pp::Var& message);
    /// A non-blocking message. Not from the worker thread either: returns once the plug-in has handled it, or
    /// dropped it.
    void Post(const pp::Var& message);

    /// A way to send messages that may outlive this object.
    class Sender;
    Sender GetSender() const;

  private:
    std::shared_ptr<InstanceRecord> record_;
};

class ZELUMO_PLATFORM_API EmbeddedInstance::Sender {
  public:
    void Send(Kind kind, pp::Var message, Sink sink) const;
    pp::Var Await(const pp::Var& message) const;
    void Post(const pp::Var& message) const;

  private:
    friend class EmbeddedInstance;
    explicit Sender(std::shared_ptr<InstanceRecord> record) : record_(std::move(record)) {}
    std::shared_ptr<InstanceRecord> record_;
};

/// What pp::Module::Get gives from now on; null: nothing. Set by whoever loads the plug-in and owns the
/// module, and withdrawn before the module goes. Any thread.
ZELUMO_PLATFORM_API void SetModule(pp::Module* module);

/// How many instances are alive. Any thread.
ZELUMO_PLATFORM_API int CountInstances();

}  // namespace tv
