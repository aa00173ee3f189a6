// SPDX-License-Identifier: Apache-2.0
#include "services/web-runtime/task_queue.h"

#include <utility>

namespace tv {

TaskQueue::~TaskQueue()
{
    Contents left;
    {
        const MutexLock lock(mutex_);
        left = End();
    }
    CancelAll(left);
}

bool TaskQueue::Attach()
{
    const MutexLock lock(mutex_);
    if (thread_ != std::thread::id())
        return false;
    thread_ = std::this_thread::get_id();
    return true;
}

bool TaskQueue::Post(Kind kind, Task& task)
{
    {
        const MutexLock lock(mutex_);
        if (ended_ || (quitting_ && kind == Kind::Message))
            return false;
        contents_.items.push_back({kind, &task});
    }
    changed_.NotifyOne();
    return true;
}

bool TaskQueue::PostLater(Task& task, Clock::time_point when)
{
    {
        const MutexLock lock(mutex_);
        if (ended_)
            return false;
        contents_.later.emplace(when, &task);
    }
    changed_.NotifyOne();
    return true;
}

bool TaskQueue::Quit()
{
    {
        const MutexLock lock(mutex_);
        if (ended_)
            return false;
        quitting_ = true;
        contents_.items.push_back({Kind::Work, nullptr});
    }
    changed_.NotifyOne();
    return true;
}

bool TaskQueue::OnEnd(std::function<void()> observer)
{
    const MutexLock lock(mutex_);
    if (thread_ == std::thread::id() || ended_)
        return false;
    contents_.on_end.push_back(std::move(observer));
    return true;
}

Task* TaskQueue::Next(bool& cancel)
{
    std::deque<Item>& items = contents_.items;
    std::multimap<Clock::time_point, Task*>& later = contents_.later;
    while (true) {
        if (!later.empty() && later.begin()->first <= Clock::now()) {
            Task* const task = later.begin()->second;
            later.erase(later.begin());
            cancel = false;
            return task;
        }
        if (!items.empty()) {
            const Item item = items.front();
            items.pop_front();
            cancel = quitting_ && item.kind == Kind::Message;
            return item.task;
        }
        if (later.empty())
            changed_.Wait(mutex_);
        else
            changed_.WaitUntil(mutex_, later.begin()->first);
    }
}

TaskQueue::Contents TaskQueue::End()
{
    ended_ = true;
    return std::exchange(contents_, {});
}

void TaskQueue::CancelAll(const Contents& left)
{
    for (const Item& item : left.items) {
        if (item.task != nullptr)
            item.task->Cancel();
    }
    for (const auto& entry : left.later)
        entry.second->Cancel();
}

bool TaskQueue::Run()
{
    MutexLock lock(mutex_);
    if (thread_ != std::this_thread::get_id() || ended_)
        return false;
    while (true) {
        bool cancel = false;
        Task* const task = Next(cancel);
        if (task == nullptr)
            break;
        lock.Unlock();
        if (cancel)
            task->Cancel();
        else
            task->Run();
        lock.Lock();
    }
    const Contents left = End();
    lock.Unlock();
    CancelAll(left);
    for (const std::function<void()>& observer : left.on_end)
        observer();
    return true;
}

}  // namespace tv
