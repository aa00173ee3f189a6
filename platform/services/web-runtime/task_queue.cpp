#include "services/web-runtime/task_queue.h"

#include <utility>

namespace tv {

TaskQueue::~TaskQueue()
{
    std::unique_lock lock(mutex_);
    CancelAll(lock);
}

bool TaskQueue::Attach()
{
    const std::lock_guard lock(mutex_);
    if (thread_ != std::thread::id())
        return false;
    thread_ = std::this_thread::get_id();
    return true;
}

bool TaskQueue::IsAttached() const
{
    const std::lock_guard lock(mutex_);
    return thread_ != std::thread::id() && !ended_;
}

bool TaskQueue::IsAttachedHere() const
{
    const std::lock_guard lock(mutex_);
    return thread_ == std::this_thread::get_id();
}

bool TaskQueue::Post(Kind kind, Task& task)
{
    {
        const std::lock_guard lock(mutex_);
        if (ended_ || (quitting_ && kind == Kind::Message))
            return false;
        items_.push_back({kind, &task});
    }
    changed_.notify_one();
    return true;
}

bool TaskQueue::PostLater(Task& task, Clock::time_point when)
{
    {
        const std::lock_guard lock(mutex_);
        if (ended_)
            return false;
        later_.emplace(when, &task);
    }
    changed_.notify_one();
    return true;
}

bool TaskQueue::Quit()
{
    {
        const std::lock_guard lock(mutex_);
        if (ended_)
            return false;
        quitting_ = true;
        items_.push_back({Kind::Work, nullptr});
    }
    changed_.notify_one();
    return true;
}

bool TaskQueue::OnEnd(std::function<void()> observer)
{
    const std::lock_guard lock(mutex_);
    if (thread_ == std::thread::id() || ended_)
        return false;
    on_end_.push_back(std::move(observer));
    return true;
}

Task* TaskQueue::Next(std::unique_lock<std::mutex>& lock, bool& cancel)
{
    while (true) {
        if (!later_.empty() && later_.begin()->first <= Clock::now()) {
            Task* const task = later_.begin()->second;
            later_.erase(later_.begin());
            cancel = false;
            return task;
        }
        if (!items_.empty()) {
            const Item item = items_.front();
            items_.pop_front();
            cancel = quitting_ && item.kind == Kind::Message;
            return item.task;
        }
        if (later_.empty())
            changed_.wait(lock);
        else
            changed_.wait_until(lock, later_.begin()->first);
    }
}

void TaskQueue::CancelAll(std::unique_lock<std::mutex>& lock)
{
    ended_ = true;
    std::deque<Item> items = std::exchange(items_, {});
    std::multimap<Clock::time_point, Task*> later = std::exchange(later_, {});
    lock.unlock();
    for (const Item& item : items) {
        if (item.task != nullptr)
            item.task->Cancel();
    }
    for (const auto& entry : later)
        entry.second->Cancel();
    lock.lock();
}

bool TaskQueue::Run()
{
    std::unique_lock lock(mutex_);
    if (thread_ != std::this_thread::get_id() || ended_)
        return false;
    while (true) {
        bool cancel = false;
        Task* const task = Next(lock, cancel);
        if (task == nullptr)
            break;
        lock.unlock();
        if (cancel)
            task->Cancel();
        else
            task->Run();
        lock.lock();
    }
    CancelAll(lock);
    std::vector<std::function<void()>> observers = std::exchange(on_end_, {});
    lock.unlock();
    for (const std::function<void()>& observer : observers)
        observer();
    return true;
}

}  // namespace tv
