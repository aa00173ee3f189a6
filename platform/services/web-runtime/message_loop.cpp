// SPDX-License-Identifier: Apache-2.0
#include "ppapi/cpp/message_loop.h"

#include <chrono>

#include "ppapi/c/pp_errors.h"
#include "services/web-runtime/task_queue.h"

namespace pp {
namespace {

thread_local std::weak_ptr<tv::TaskQueue> current_queue;

class CallbackTask : public tv::Task {
  public:
    explicit CallbackTask(const CompletionCallback& callback) : callback_(callback) {}
    void Run() override { Finish(PP_OK); }
    void Cancel() override { Finish(PP_ERROR_ABORTED); }

  private:
    void Finish(int32_t result)
    {
        const std::unique_ptr<CallbackTask> self(this);
        callback_.Run(result);
    }

    const CompletionCallback callback_;
};

}  // namespace

MessageLoop::MessageLoop() = default;

MessageLoop::MessageLoop(const InstanceHandle&) : queue_(std::make_shared<tv::TaskQueue>()) {}

int32_t MessageLoop::AttachToCurrentThread()
{
    if (!queue_)
        return PP_ERROR_BADARGUMENT;
    if (current_queue.lock() || !queue_->Attach())
        return PP_ERROR_INPROGRESS;
    current_queue = queue_;
    return PP_OK;
}

int32_t MessageLoop::Run()
{
    if (!queue_)
        return PP_ERROR_BADARGUMENT;
    return queue_->Run() ? PP_OK : PP_ERROR_WRONG_THREAD;
}

int32_t MessageLoop::PostWork(const CompletionCallback& callback, int64_t delay_ms)
{
    if (!queue_)
        return PP_ERROR_BADARGUMENT;
    auto task = std::make_unique<CallbackTask>(callback);
    const bool posted =
        delay_ms > 0
            ? queue_->PostLater(*task, tv::TaskQueue::Clock::now() + std::chrono::milliseconds(delay_ms))
            : queue_->Post(tv::TaskQueue::Kind::Work, *task);
    if (!posted)
        return PP_ERROR_FAILED;
    static_cast<void>(task.release());  // deletes itself when it is run or cancelled
    return PP_OK;
}

int32_t MessageLoop::PostQuit(bool)
{
    if (!queue_)
        return PP_ERROR_BADARGUMENT;
    return queue_->Quit() ? PP_OK : PP_ERROR_FAILED;
}

MessageLoop MessageLoop::GetCurrent()
{
    MessageLoop loop;
    loop.queue_ = current_queue.lock();
    return loop;
}

}  // namespace pp
