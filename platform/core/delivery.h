#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {

/// The thread on which one of the TV's services calls back, one callback at a time. It starts with the
/// first delivery and ends with the object.
class PLATFORM_API DeliveryThread {
  public:
    using Work = std::function<void()>;

    /// `name` is given to the thread: at most 15 characters.
    explicit DeliveryThread(std::string name) : name_(std::move(name)) {}
    /// Runs what is still queued, then ends the thread.
    ~DeliveryThread();
    DeliveryThread(const DeliveryThread&) = delete;
    DeliveryThread& operator=(const DeliveryThread&) = delete;

    /// Any thread: runs `work` on the delivery thread some time later, in the order of the posts.
    void Post(Work work);
    /// Any thread: runs `work` on the delivery thread, after what was posted before, and returns when it
    /// is done. On the delivery thread itself it runs at once.
    void Run(const Work& work);
    /// Returns when everything that was posted before has been run. Not on the delivery thread.
    void Drain();
    /// Whether the caller is on it.
    bool IsCurrent() const;

  private:
    void Loop();

    const std::string name_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    std::deque<Work> queue_;
    bool ending_ = false;
    std::thread thread_;
    std::thread::id thread_id_;
};

/// What the TV wants to deliver by itself, service by service. Usually each delivery goes straight to its
/// service's thread. While held, deliveries wait in one line, in the order in which they came up, until
/// Release: so a script sees the same order every time.
class PLATFORM_API Deliveries {
  public:
    /// Any thread. `thread` outlives the delivery.
    void Post(DeliveryThread& thread, DeliveryThread::Work work);
    /// Any thread. From now on deliveries wait.
    void Hold();
    /// Runs the waiting deliveries one after the other, each on its own thread, those included that they
    /// set off themselves; returns how many ran. Deliveries still wait afterwards. One thread at a time.
    std::size_t Release();
    /// Any thread. Deliveries go straight to their threads again, the waiting ones first.
    void Resume();

  private:
    struct Waiting {
        DeliveryThread* thread;
        DeliveryThread::Work work;
    };
    std::mutex mutex_;
    // Guarded by mutex_.
    bool held_ = false;
    std::deque<Waiting> waiting_;
};

/// Who is called back for what by one service, with the guarantee that all services give: when Remove has
/// returned, no callback that it covers is running or will start, unless it was called from inside that
/// very callback. Key says for what, Callback is the client's function. Any thread. `same` and `covers` are
/// called under a lock: they look at the entry alone.
template <typename Key, typename Callback>
class Registrations {
  public:
    struct Entry {
        Key key;
        Callback callback;
        void* user_data;
    };

    explicit Registrations(DeliveryThread& thread) : thread_(thread) {}

    /// One registration for each key that `same` calls equal: a second one replaces it, whole.
    template <typename Same>
    void Set(Entry entry, Same same)
    {
        const std::lock_guard lock(mutex_);
        for (Slot& slot : slots_) {
            if (same(slot.entry)) {
                slot.entry = std::move(entry);
                return;
            }
        }
        slots_.push_back({next_id_++, std::move(entry)});
    }

    /// Removes the registrations that `covers` picks and waits out a call of theirs that is running.
    /// Returns how many there were.
    template <typename Covers>
    std::size_t Remove(Covers covers)
    {
        std::unique_lock lock(mutex_);
        std::size_t removed = 0;
        bool running_removed = false;
        for (auto slot = slots_.begin(); slot != slots_.end();) {
            if (covers(slot->entry)) {
                running_removed = running_removed || slot->id == running_;
                slot = slots_.erase(slot);
                ++removed;
            } else {
                ++slot;
            }
        }
        // A call that runs may belong to an entry that an earlier Remove, from inside it, took away.
        if (running_ != 0 && !running_removed)
            running_removed = covers(*running_entry_);
        if (running_removed && !thread_.IsCurrent()) {
            const std::uint64_t run = run_;
            ended_.wait(lock, [&] { return run_ != run; });
        }
        return removed;
    }

    std::size_t RemoveAll()
    {
        return Remove([](const Entry&) { return true; });
    }

    /// On the delivery thread: calls `invoke(entry)` for each registration that `covers` picks, in the
    /// order of registering. Returns how many were called. Not inside `invoke`: which callback runs is noted
    /// for one delivery at a time.
    template <typename Covers, typename Invoke>
    std::size_t Deliver(Covers covers, Invoke invoke)
    {
        std::unique_lock lock(mutex_);
        std::vector<std::uint64_t> ids;
        for (const Slot& slot : slots_) {
            if (covers(slot.entry))
                ids.push_back(slot.id);
        }
        std::size_t called = 0;
        for (const std::uint64_t id : ids) {
            const Slot* slot = Find(id);
            if (slot == nullptr)
                continue;
            const Entry entry = slot->entry;
            running_ = id;
            running_entry_ = &entry;
            lock.unlock();
            invoke(entry);
            lock.lock();
            running_ = 0;
            running_entry_ = nullptr;
            ++run_;
            ended_.notify_all();
            ++called;
        }
        return called;
    }

    std::vector<Entry> List() const
    {
        const std::lock_guard lock(mutex_);
        std::vector<Entry> entries;
        for (const Slot& slot : slots_)
            entries.push_back(slot.entry);
        return entries;
    }

  private:
    struct Slot {
        std::uint64_t id;
        Entry entry;
    };
    const Slot* Find(std::uint64_t id) const
    {
        for (const Slot& slot : slots_) {
            if (slot.id == id)
                return &slot;
        }
        return nullptr;
    }

    DeliveryThread& thread_;  // outlives this object
    mutable std::mutex mutex_;
    std::condition_variable ended_;
    // Guarded by mutex_.
    std::vector<Slot> slots_;
    std::uint64_t next_id_ = 1;
    std::uint64_t running_ = 0;             ///< the slot whose callback runs, 0: none
    const Entry* running_entry_ = nullptr;  ///< while running_ is not 0
    std::uint64_t run_ = 0;                 ///< counts finished callbacks
};

}  // namespace tv
