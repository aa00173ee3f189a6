#include "core/delivery.h"

#include <pthread.h>

#include <utility>

namespace tv {

DeliveryThread::~DeliveryThread()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void DeliveryThread::Post(Work work)
{
    {
        const std::lock_guard lock(mutex_);
        queue_.push_back(std::move(work));
        if (!thread_.joinable()) {
            thread_ = std::thread([this] { Loop(); });
            thread_id_ = thread_.get_id();
        }
    }
    changed_.notify_all();
}

bool DeliveryThread::IsCurrent() const
{
    const std::lock_guard lock(mutex_);
    return thread_id_ == std::this_thread::get_id();
}

void DeliveryThread::Run(const Work& work)
{
    if (IsCurrent()) {
        work();
        return;
    }
    std::mutex done_mutex;
    std::condition_variable done_changed;
    bool done = false;
    Post([&] {
        work();
        // Notified under the lock: the waiting thread owns what is notified and goes on at once.
        const std::lock_guard lock(done_mutex);
        done = true;
        done_changed.notify_one();
    });
    std::unique_lock lock(done_mutex);
    done_changed.wait(lock, [&] { return done; });
}

void DeliveryThread::Drain()
{
    Run([] {});
}

void DeliveryThread::Loop()
{
    pthread_setname_np(pthread_self(), name_.c_str());
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return ending_ || !queue_.empty(); });
        if (queue_.empty())
            return;
        const Work work = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        work();
        lock.lock();
    }
}

void Deliveries::Post(DeliveryThread& thread, DeliveryThread::Work work)
{
    std::unique_lock lock(mutex_);
    if (held_) {
        waiting_.push_back({&thread, std::move(work)});
        return;
    }
    // Under the lock, so that the order of posts is the order of deliveries.
    thread.Post(std::move(work));
}

void Deliveries::Hold()
{
    const std::lock_guard lock(mutex_);
    held_ = true;
}

std::size_t Deliveries::Release()
{
    std::size_t delivered = 0;
    std::unique_lock lock(mutex_);
    while (!waiting_.empty()) {
        const Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        next.thread->Run(next.work);
        ++delivered;
        lock.lock();
    }
    return delivered;
}

void Deliveries::Resume()
{
    const std::lock_guard lock(mutex_);
    held_ = false;
    for (Waiting& waiting : waiting_)
        waiting.thread->Post(std::move(waiting.work));
    waiting_.clear();
}

}  // namespace tv
