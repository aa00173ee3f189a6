// SPDX-License-Identifier: Apache-2.0
#include "services/web-runtime/web_runtime.h"

#include <semaphore.h>

#include <map>

#include "core/calls.h"
#include "core/mutex.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/message_loop.h"
#include "services/web-runtime/runtime_calls.h"
#include "services/web-runtime/task_queue.h"

namespace tv {

/// The runtime's side of one instance. Shared by the element, the registry and messages on their way.
class InstanceRecord : public std::enable_shared_from_this<InstanceRecord> {
  public:
    using Kind = EmbeddedInstance::Kind;
    using Outcome = EmbeddedInstance::Outcome;

    InstanceRecord(PP_Instance id, EmbeddedInstance::MessageSink sink) : id_(id), sink_(std::move(sink)) {}

    PP_Instance id() const { return id_; }
    void SetInstance(std::unique_ptr<pp::Instance> instance) { instance_ = std::move(instance); }
    pp::Instance* instance() const { return instance_.get(); }
    void DestroyInstance() { instance_.reset(); }

    void PostToPage(const pp::Var& message) const { sink_(message); }

    int32_t Register(pp::MessageHandler* handler, const std::shared_ptr<TaskQueue>& queue) EXCLUDES(mutex_)
    {
        if (handler == nullptr || !queue)
            return PP_ERROR_BADARGUMENT;
        const MutexLock lock(mutex_);
        if (handler_ != nullptr)
            return PP_ERROR_FAILED;
        // The handler is dropped at the latest when its loop ends: it may be gone soon after.
        if (!queue->OnEnd([weak = weak_from_this()] {
                if (const auto record = weak.lock())
                    record->DropHandler();
            }))
            return PP_ERROR_WRONG_THREAD;
        handler_ = handler;
        queue_ = queue;
        return PP_OK;
    }

    void Unregister() EXCLUDES(mutex_)
    {
        const std::shared_ptr<TaskQueue> queue = Queue();
        if (!queue)
            return;
        class DropTask : public Task {
          public:
            explicit DropTask(std::shared_ptr<InstanceRecord> record) : record_(std::move(record)) {}
            void Run() override
            {
                const std::unique_ptr<DropTask> self(this);
                record_->DropHandler();
            }
            void Cancel() override { delete this; }

          private:
            const std::shared_ptr<InstanceRecord> record_;
        };
        auto task = std::make_unique<DropTask>(shared_from_this());
        if (queue->Post(TaskQueue::Kind::Work, *task))
            static_cast<void>(task.release());  // deletes itself when it is run or cancelled
    }

    std::shared_ptr<TaskQueue> Queue() const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        return queue_;
    }

    /// On the handler's loop: the handler, or null once it was dropped.
    pp::MessageHandler* handler() const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        return handler_;
    }

    /// On the handler's loop.
    Outcome Handle(Kind kind, const pp::Var& message) const EXCLUDES(mutex_)
    {
        Outcome outcome;
        try {
            if (pp::MessageHandler* const taker = handler()) {
                if (kind == Kind::Blocking)
                    outcome.reply = taker->HandleBlockingMessage(pp::InstanceHandle(id_), message);
                else
                    taker->HandleMessage(pp::InstanceHandle(id_), message);
            }
        } catch (...) {
            outcome.failure = std::current_exception();
        }
        return outcome;
    }

    void Send(Kind kind, pp::Var message, EmbeddedInstance::Sink sink) EXCLUDES(mutex_);
    /// Waits for the outcome. Throws what the plug-in threw.
    pp::Var SendAndWait(Kind kind, const pp::Var& message) EXCLUDES(mutex_);

  private:
    void DropHandler() EXCLUDES(mutex_)
    {
        pp::MessageHandler* dropped = nullptr;
        {
            const MutexLock lock(mutex_);
            std::swap(dropped, handler_);
            queue_.reset();
        }
        if (dropped != nullptr)
            dropped->WasUnregistered(pp::InstanceHandle(id_));
    }

    const PP_Instance id_;
    const EmbeddedInstance::MessageSink sink_;
    std::unique_ptr<pp::Instance> instance_;  // the owner's thread only
    mutable Mutex mutex_{LockLevel::Service};
    pp::MessageHandler* handler_ GUARDED_BY(mutex_) = nullptr;  // not owned; dropped when its loop ends
    std::shared_ptr<TaskQueue> queue_ GUARDED_BY(mutex_);
};

namespace {

/// A message of the page on its way, with the right to answer it. Owns itself once it was posted.
class MessageTask : public Task {
  public:
    using Kind = EmbeddedInstance::Kind;
    using Outcome = EmbeddedInstance::Outcome;

    MessageTask(std::shared_ptr<InstanceRecord> record, Kind kind, pp::Var message,
                EmbeddedInstance::Sink sink)
        : record_(std::move(record)),
          kind_(kind),
          message_(std::move(message)),
          answer_(std::move(sink), Outcome())
    {}
    void Run() override
    {
        const std::unique_ptr<MessageTask> self(this);
        answer_(record_->Handle(kind_, message_));
    }
    void Cancel() override { delete this; }

  private:
    const std::shared_ptr<InstanceRecord> record_;
    const Kind kind_;
    const pp::Var message_;
    ReplyOnce<Outcome> answer_;
};

/// The same on the stack of the thread that waits for it.
class AwaitedTask : public Task {
  public:
    using Kind = EmbeddedInstance::Kind;
    using Outcome = EmbeddedInstance::Outcome;

    AwaitedTask(const InstanceRecord& record, Kind kind, const pp::Var& message)
        : record_(record), kind_(kind), message_(message)
    {
        sem_init(&done_, 0, 0);
    }
    ~AwaitedTask() override { sem_destroy(&done_); }
    AwaitedTask(const AwaitedTask&) = delete;
    AwaitedTask& operator=(const AwaitedTask&) = delete;

    void Run() override
    {
        outcome_ = record_.Handle(kind_, message_);
        // The waiting thread owns this object and goes on at once, which a semaphore, unlike a condition
        // variable, survives.
        sem_post(&done_);
    }
    void Cancel() override { sem_post(&done_); }

    Outcome Wait()
    {
        Mutex::CheckNoneHeld();
        while (sem_wait(&done_) != 0) {
            // Interrupted by a signal.
        }
        return std::move(outcome_);
    }

  private:
    const InstanceRecord& record_;
    const Kind kind_;
    const pp::Var& message_;
    sem_t done_{};
    Outcome outcome_;
};

struct Registry {
    Mutex mutex{LockLevel::Service};
    std::map<PP_Instance, std::shared_ptr<InstanceRecord>> records GUARDED_BY(mutex);
    PP_Instance next_id GUARDED_BY(mutex) = 1;
    pp::Module* module GUARDED_BY(mutex) = nullptr;  // not owned
};

Registry& TheRegistry()
{
    static Registry& registry = *new Registry;  // a worker may outlive what is destroyed at exit
    return registry;
}

std::shared_ptr<InstanceRecord> FindRecord(PP_Instance id)
{
    Registry& registry = TheRegistry();
    const MutexLock lock(registry.mutex);
    const auto found = registry.records.find(id);
    return found == registry.records.end() ? nullptr : found->second;
}

}  // namespace

void InstanceRecord::Send(Kind kind, pp::Var message, EmbeddedInstance::Sink sink)
{
    // Dropped unposted, it tells that nobody took the message.
    auto task = std::make_unique<MessageTask>(shared_from_this(), kind, std::move(message), std::move(sink));
    const std::shared_ptr<TaskQueue> queue = Queue();
    if (queue && queue->Post(TaskQueue::Kind::Message, *task))
        static_cast<void>(task.release());  // deletes itself when it is run or cancelled
}

pp::Var InstanceRecord::SendAndWait(Kind kind, const pp::Var& message)
{
    const std::shared_ptr<TaskQueue> queue = Queue();
    if (!queue)
        return {};
    AwaitedTask task(*this, kind, message);
    if (!queue->Post(TaskQueue::Kind::Message, task))
        return {};
    const Outcome outcome = task.Wait();
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
    return outcome.reply;
}

EmbeddedInstance::EmbeddedInstance(pp::Module& module, MessageSink sink, const Attributes& attributes)
{
    Registry& registry = TheRegistry();
    {
        const MutexLock lock(registry.mutex);
        record_ = std::make_shared<InstanceRecord>(registry.next_id++, std::move(sink));
        registry.records.emplace(record_->id(), record_);
    }
    std::vector<const char*> names;
    std::vector<const char*> values;
    for (const auto& [name, value] : attributes) {
        names.push_back(name.c_str());
        values.push_back(value.c_str());
    }
    try {
        record_->SetInstance(std::unique_ptr<pp::Instance>(module.CreateInstance(record_->id())));
        record_->instance()->Init(static_cast<uint32_t>(names.size()), names.data(), values.data());
    } catch (...) {
        record_->DestroyInstance();
        const MutexLock lock(registry.mutex);
        registry.records.erase(record_->id());
        throw;
    }
}

EmbeddedInstance::~EmbeddedInstance()
{
    record_->DestroyInstance();
    Registry& registry = TheRegistry();
    const MutexLock lock(registry.mutex);
    registry.records.erase(record_->id());
}

PP_Instance EmbeddedInstance::pp_instance() const
{
    return record_->id();
}

void EmbeddedInstance::Send(Kind kind, pp::Var message, Sink sink)
{
    record_->Send(kind, std::move(message), std::move(sink));
}

pp::Var EmbeddedInstance::Await(const pp::Var& message)
{
    return GetSender().Await(message);
}

void EmbeddedInstance::Post(const pp::Var& message)
{
    GetSender().Post(message);
}

EmbeddedInstance::Sender EmbeddedInstance::GetSender() const
{
    return Sender(record_);
}

void EmbeddedInstance::Sender::Send(Kind kind, pp::Var message, Sink sink) const
{
    record_->Send(kind, std::move(message), std::move(sink));
}

pp::Var EmbeddedInstance::Sender::Await(const pp::Var& message) const
{
    return record_->SendAndWait(Kind::Blocking, message);
}

void EmbeddedInstance::Sender::Post(const pp::Var& message) const
{
    record_->SendAndWait(Kind::NonBlocking, message);
}

void SetModule(pp::Module* module)
{
    Registry& registry = TheRegistry();
    const MutexLock lock(registry.mutex);
    registry.module = module;
}

int CountInstances()
{
    Registry& registry = TheRegistry();
    const MutexLock lock(registry.mutex);
    return static_cast<int>(registry.records.size());
}

}  // namespace tv

namespace pp {

MessageHandler::~MessageHandler() = default;

InstanceHandle::InstanceHandle(Instance* instance) : pp_instance_(instance->pp_instance()) {}

Instance::~Instance() = default;

bool Instance::Init(uint32_t, const char*[], const char*[])
{
    return true;
}

void Instance::DidChangeView(const View&) {}
void Instance::DidChangeView(const Rect&, const Rect&) {}
void Instance::DidChangeFocus(bool) {}

bool Instance::HandleInputEvent(const InputEvent&)
{
    return false;
}

bool Instance::HandleDocumentLoad(const URLLoader&)
{
    return false;
}

void Instance::HandleMessage(const Var&) {}

void Instance::PostMessage(const Var& message)
{
    if (const auto record = tv::FindRecord(pp_instance_))
        record->PostToPage(message);
}

int32_t Instance::RegisterMessageHandler(MessageHandler* handler, const MessageLoop& loop)
{
    return tv::TheTable<tv::RuntimeCalls>().register_message_handler([&]() -> int {
        const auto record = tv::FindRecord(pp_instance_);
        return record ? record->Register(handler, loop.queue_) : PP_ERROR_BADARGUMENT;
    });
}

void Instance::UnregisterMessageHandler()
{
    if (const auto record = tv::FindRecord(pp_instance_))
        record->Unregister();
}

Module::Module() = default;

Module::~Module() = default;

bool Module::Init()
{
    return true;
}

Module* Module::Get()
{
    tv::Registry& registry = tv::TheRegistry();
    const tv::MutexLock lock(registry.mutex);
    return registry.module;
}

}  // namespace pp
