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
    using Reply = EmbeddedInstance::Reply;

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

    /// Undefined when nobody takes the message.
    pp::Var Send(const pp::Var& message, bool blocking, Reply on_reply) EXCLUDES(mutex_);

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

/// One message of the page, on the stack of the thread that waits for it.
class MessageTask : public Task {
  public:
    MessageTask(const InstanceRecord& record, const pp::Var& message, bool blocking,
                EmbeddedInstance::Reply on_reply)
        : record_(record), message_(message), blocking_(blocking), on_reply_(std::move(on_reply))
    {
        sem_init(&done_, 0, 0);
    }
    ~MessageTask() override { sem_destroy(&done_); }
    MessageTask(const MessageTask&) = delete;
    MessageTask& operator=(const MessageTask&) = delete;

    void Run() override
    {
        pp::Var reply;
        if (pp::MessageHandler* handler = record_.handler()) {
            if (blocking_)
                reply = handler->HandleBlockingMessage(pp::InstanceHandle(record_.id()), message_);
            else
                handler->HandleMessage(pp::InstanceHandle(record_.id()), message_);
        }
        Finish(std::move(reply));
    }
    void Cancel() override { Finish(pp::Var()); }

    pp::Var Wait()
    {
        Mutex::CheckNoneHeld();
        while (sem_wait(&done_) != 0) {
            // Interrupted by a signal.
        }
        return std::move(reply_);
    }

  private:
    void Finish(pp::Var reply)
    {
        if (on_reply_)
            on_reply_(reply);
        reply_ = std::move(reply);
        // The waiting thread owns this object and goes on at once, which a semaphore, unlike a condition
        // variable, stands.
        sem_post(&done_);
    }

    const InstanceRecord& record_;
    const pp::Var& message_;
    const bool blocking_;
    EmbeddedInstance::Reply on_reply_;
    sem_t done_{};
    pp::Var reply_;
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

pp::Var InstanceRecord::Send(const pp::Var& message, bool blocking, Reply on_reply)
{
    const std::shared_ptr<TaskQueue> queue = Queue();
    if (!queue)
        return {};
    MessageTask task(*this, message, blocking, std::move(on_reply));
    if (!queue->Post(TaskQueue::Kind::Message, task))
        return {};
    return task.Wait();
}

EmbeddedInstance::EmbeddedInstance(pp::Module& module, MessageSink sink, const Attributes& attributes)
{
    Registry& registry = TheRegistry();
    {
        const MutexLock lock(registry.mutex);
        record_ = std::make_shared<InstanceRecord>(registry.next_id++, std::move(sink));
        registry.records.emplace(record_->id(), record_);
    }
    try {
        record_->SetInstance(std::unique_ptr<pp::Instance>(module.CreateInstance(record_->id())));
    } catch (...) {
        const MutexLock lock(registry.mutex);
        registry.records.erase(record_->id());
        throw;
    }
    std::vector<const char*> names;
    std::vector<const char*> values;
    for (const auto& [name, value] : attributes) {
        names.push_back(name.c_str());
        values.push_back(value.c_str());
    }
    record_->instance()->Init(static_cast<uint32_t>(names.size()), names.data(), values.data());
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

pp::Var EmbeddedInstance::Await(const pp::Var& message, Reply on_reply)
{
    return GetSender().Await(message, std::move(on_reply));
}

void EmbeddedInstance::Post(const pp::Var& message)
{
    GetSender().Post(message);
}

EmbeddedInstance::Sender EmbeddedInstance::GetSender() const
{
    return Sender(record_);
}

pp::Var EmbeddedInstance::Sender::Await(const pp::Var& message, Reply on_reply) const
{
    return record_->Send(message, true, std::move(on_reply));
}

void EmbeddedInstance::Sender::Post(const pp::Var& message) const
{
    record_->Send(message, false, {});
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
