// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>

// What a lock guards and what a function needs of it, for clang's thread-safety analysis. Other compilers see
// nothing.
#if defined(__clang__)
#define ZELUMO_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define ZELUMO_THREAD_ANNOTATION(annotation)
#endif
#define ZELUMO_GUARDED_BY(mutex) ZELUMO_THREAD_ANNOTATION(guarded_by(mutex))
#define ZELUMO_EXCLUDES(mutex) ZELUMO_THREAD_ANNOTATION(locks_excluded(mutex))
#define ZELUMO_REQUIRES(mutex) ZELUMO_THREAD_ANNOTATION(requires_capability(mutex))

namespace zelumo {

/// A mutex that the analysis knows. No platform call and no callback is made under one, and no two are held
/// together.
class ZELUMO_THREAD_ANNOTATION(capability("mutex")) Mutex {
  public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() ZELUMO_THREAD_ANNOTATION(acquire_capability()) { m_mutex.lock(); }
    void Unlock() ZELUMO_THREAD_ANNOTATION(release_capability()) { m_mutex.unlock(); }

  private:
    friend class CondVar;
    std::mutex m_mutex;
};

/// Holds a mutex as long as it lives.
class ZELUMO_THREAD_ANNOTATION(scoped_lockable) MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ZELUMO_THREAD_ANNOTATION(acquire_capability(mutex)) : m_mutex(mutex)
    {
        m_mutex.Lock();
    }
    ~MutexLock() ZELUMO_THREAD_ANNOTATION(release_capability()) { m_mutex.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& m_mutex;  // outlives this object
};

/// A condition variable for Mutex. Waits end without a reason now and then: look at the condition again.
class CondVar {
  public:
    void Wait(Mutex& mutex) ZELUMO_REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> lock(mutex.m_mutex, std::adopt_lock);
        m_condition.wait(lock);
        lock.release();  // the caller's again
    }
    void NotifyAll() { m_condition.notify_all(); }

  private:
    std::condition_variable m_condition;
};

}  // namespace zelumo
