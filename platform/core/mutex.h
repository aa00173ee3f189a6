// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "zelumo-platform/export.h"

// What a lock guards and what a function needs of it, for clang's thread-safety analysis. Other compilers see
// nothing.
#if defined(__clang__)
#define TV_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define TV_THREAD_ANNOTATION(annotation)
#endif
#define CAPABILITY(name) TV_THREAD_ANNOTATION(capability(name))
#define SCOPED_CAPABILITY TV_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(mutex) TV_THREAD_ANNOTATION(guarded_by(mutex))
#define REQUIRES(...) TV_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) TV_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) TV_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) TV_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace tv {

/// The one order in which locks are taken where more than one is held: a thread takes a lock only while all
/// that it holds stand before it here. So two locks of one level are never held together, and no circle of
/// threads can wait for each other.
enum class LockLevel {
    Turns,          ///< the host's line of turns
    Service,        ///< what a service or the web runtime knows
    Registrations,  ///< who is called back for what
    Clock,
    Deliveries,  ///< what waits to be delivered
    Queue,       ///< the work of one thread
    Calls,       ///< scripted answers
    Journal,     ///< held while listeners run
    Tracer,      ///< held while its sink runs
    Output,      ///< held while a session's lines out are taken
    Lines,       ///< what a host makes of the lines out
    Kept,        ///< what is kept of the lines out
    Page,        ///< which page a host serves
    Channel,     ///< what waits for a channel's listeners
    Leaf,        ///< nothing is taken under it
};

/// A mutex that the analysis knows, with its place in the order of locks. A debug build ends the process, and
/// says which levels met, when a thread takes locks out of order.
class CAPABILITY("mutex") Mutex {
  public:
    explicit Mutex(LockLevel level) : level_(level) {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() ACQUIRE()
    {
        Enter(level_);
        mutex_.lock();
    }
    void Unlock() RELEASE()
    {
        Leave(level_);  // before: who waits for the lock may own this object, and destroy it
        mutex_.unlock();
    }

    /// For whoever waits for another thread, which may want any lock: a debug build ends the process where
    /// this thread holds one.
#ifdef NDEBUG
    static void CheckNoneHeld() {}
#else
    ZELUMO_PLATFORM_API static void CheckNoneHeld();
#endif

  private:
    friend class CondVar;
#ifdef NDEBUG
    static void Enter(LockLevel) {}
    static void Leave(LockLevel) {}
#else
    ZELUMO_PLATFORM_API static void Enter(LockLevel level);
    ZELUMO_PLATFORM_API static void Leave(LockLevel level);
#endif

    const LockLevel level_;
    std::mutex mutex_;
};

/// Holds a mutex as long as it lives, but for what stands between Unlock and Lock.
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~MutexLock() RELEASE()
    {
        if (held_)
            mutex_.Unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void Unlock() RELEASE()
    {
        held_ = false;
        mutex_.Unlock();
    }
    void Lock() ACQUIRE()
    {
        mutex_.Lock();
        held_ = true;
    }

  private:
    Mutex& mutex_;  // outlives this object
    bool held_ = true;
};

/// A condition variable for Mutex. Waits end without a reason now and then: look at the condition again.
class CondVar {
  public:
    void Wait(Mutex& mutex) REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        changed_.wait(lock);
        lock.release();
    }
    /// False when the time has come.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point when) REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        const std::cv_status status = changed_.wait_until(lock, when);
        lock.release();
        return status == std::cv_status::no_timeout;
    }
    void NotifyOne() { changed_.notify_one(); }
    void NotifyAll() { changed_.notify_all(); }

  private:
    std::condition_variable changed_;
};

}  // namespace tv
