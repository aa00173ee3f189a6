// SPDX-License-Identifier: Apache-2.0
#include "core/delivery.h"

#include <pthread.h>

#include <utility>

namespace tv {

Deliveries& TheDeliveries()
{
    static Deliveries& deliveries = *new Deliveries;
    return deliveries;
}

DeliveryThread::~DeliveryThread()
{
    {
        const MutexLock lock(mutex_);
        ending_ = true;
    }
    changed_.NotifyAll();
    if (thread_.joinable())
        thread_.join();
}

void DeliveryThread::Post(Work work)
{
    {
        const MutexLock lock(mutex_);
        queue_.push_back(std::move(work));
        if (!thread_.joinable()) {
            thread_ = std::thread([this] { Loop(); });
            thread_id_ = thread_.get_id();
        }
    }
    changed_.NotifyAll();
}

bool DeliveryThread::IsCurrent() const
{
    const MutexLock lock(mutex_);
    return thread_id_ == std::this_thread::get_id();
}

void DeliveryThread::Run(const Work& work)
{
    if (IsCurrent()) {
        work();
        return;
    }
    Mutex::CheckNoneHeld();
    Mutex done_mutex(LockLevel::Leaf);
    CondVar done_changed;
    bool done = false;
    Post([&] {
        work();
        // Notified under the lock: the waiting thread owns what is notified and goes on at once.
        const MutexLock lock(done_mutex);
        done = true;
        done_changed.NotifyOne();
    });
    const MutexLock lock(done_mutex);
    while (!done)
        done_changed.Wait(done_mutex);
}

void DeliveryThread::Drain()
{
    Run([] {});
}

void DeliveryThread::Loop()
{
    pthread_setname_np(pthread_self(), name_.c_str());
    MutexLock lock(mutex_);
    while (true) {
        while (!ending_ && queue_.empty())
            changed_.Wait(mutex_);
        if (queue_.empty())
            return;
        Work work = std::move(queue_.front());
        queue_.pop_front();
        lock.Unlock();
        std::exchange(work, nullptr)();  // what it holds is let go of without the lock, too
        lock.Lock();
    }
}

void Deliveries::Post(DeliveryThread& thread, DeliveryThread::Work work)
{
    const MutexLock lock(mutex_);
    if (held_) {
        waiting_.push_back({&thread, std::move(work)});
        return;
    }
    // Under the lock, so that the order of posts is the order of deliveries.
    thread.Post(std::move(work));
}

void Deliveries::Hold()
{
    const MutexLock lock(mutex_);
    held_ = true;
}

std::size_t Deliveries::Release()
{
    std::size_t delivered = 0;
    MutexLock lock(mutex_);
    while (!waiting_.empty()) {
        Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        lock.Unlock();
        next.thread->Run(std::exchange(next.work, nullptr));
        ++delivered;
        lock.Lock();
    }
    return delivered;
}

bool Deliveries::waits() const
{
    const MutexLock lock(mutex_);
    return !waiting_.empty();
}

void Deliveries::Resume()
{
    const MutexLock lock(mutex_);
    held_ = false;
    for (Waiting& waiting : waiting_)
        waiting.thread->Post(std::move(waiting.work));
    waiting_.clear();
}

}  // namespace tv
