// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/instance_handle.h"
#include "zelumo-platform/export.h"

namespace tv {
class TaskQueue;
}

namespace pp {

/// A queue of work that one thread runs. Copies name the same loop. Any thread may post; attaching and
/// running belong to the loop's own thread. What GetCurrent gives on a thread without a loop is none: each
/// operation gives PP_ERROR_BADARGUMENT then.
class ZELUMO_PLATFORM_API MessageLoop {
  public:
    /// A new loop that no thread runs yet.
    explicit MessageLoop(const InstanceHandle& instance);

    /// PP_ERROR_INPROGRESS when this thread or this loop is attached already.
    int32_t AttachToCurrentThread();
    /// Runs what is posted until a quit is reached. PP_ERROR_WRONG_THREAD off the attached thread, and once
    /// the loop has ended.
    int32_t Run();
    /// Runs `callback` with PP_OK on the loop, after `delay_ms` milliseconds at the earliest. Work still
    /// queued when the loop ends is run with PP_ERROR_ABORTED, on the loop's thread; that of a loop that was
    /// never run, where its last copy is destroyed. PP_ERROR_FAILED once the loop has ended.
    int32_t PostWork(const CompletionCallback& callback, int64_t delay_ms = 0);
    /// Ends Run after the work that was posted before. Page messages that are still waiting are not
    /// handled any more: a blocking one is answered with an undefined var at once. Work may still be posted
    /// until the loop has ended. It does not run again, with or without `should_destroy`. PP_ERROR_FAILED
    /// once it has ended.
    int32_t PostQuit(bool should_destroy);

    /// The loop attached to the calling thread, or none.
    static MessageLoop GetCurrent();

  private:
    friend class Instance;  // registers handlers with the queue
    /// No loop.
    MessageLoop();

    std::shared_ptr<tv::TaskQueue> queue_;  // null: no loop
};

}  // namespace pp
