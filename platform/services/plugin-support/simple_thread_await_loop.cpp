// SPDX-License-Identifier: Apache-2.0
#include "plugin-support/simple_thread_await_loop.h"

#include <future>

namespace pp {

SimpleThreadAwaitLoop::SimpleThreadAwaitLoop(const InstanceHandle& instance) : loop_(instance) {}

SimpleThreadAwaitLoop::~SimpleThreadAwaitLoop()
{
    if (!thread_.joinable())
        return;
    loop_.PostQuit(true);
    thread_.join();
}

bool SimpleThreadAwaitLoop::Start()
{
    if (thread_.joinable())
        return false;
    std::promise<void> attached;
    thread_ = std::thread([this, &attached] {
        MessageLoop loop = loop_;
        loop.AttachToCurrentThread();
        attached.set_value();
        loop.Run();
    });
    attached.get_future().wait();
    return true;
}

}  // namespace pp
