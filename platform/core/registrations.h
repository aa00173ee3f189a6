// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/delivery.h"
#include "core/mutex.h"

namespace tv {

/// What tells the registrations for one topic apart.
enum class ToldApartBy { Callback, UserData };

/// Who is called back for what by one service: for a topic (an event, a key, a player), the client's function
/// and its user data. The guarantee that all services give: when Remove has returned, no callback that it
/// covers is running or will start, unless it was called from inside that very callback. Any thread.
template <typename Topic, typename Callback, ToldApartBy by = ToldApartBy::Callback>
class Registrations {
  public:
    /// What tells apart: the callback, or the user data.
    using Client = std::conditional_t<by == ToldApartBy::Callback, Callback, void*>;

    /// `thread` is the service's; outlives this object.
    explicit Registrations(DeliveryThread& thread) : thread_(thread) {}

    /// One registration for each topic and client: a second one replaces it.
    void Set(Topic topic, Callback callback, void* user_data) EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        Entry entry{std::move(topic), callback, user_data};
        for (Slot& slot : slots_) {
            if (slot.entry.IsOf(entry.topic, entry.client())) {
                slot.entry = std::move(entry);
                return;
            }
        }
        slots_.push_back({next_id_++, std::move(entry)});
    }

    /// Removes the registration and waits out a call of it that is running. False when there was none.
    bool Remove(const Topic& topic, Client client) EXCLUDES(mutex_)
    {
        return RemoveIf([&](const Entry& entry) { return entry.IsOf(topic, client); }) != 0;
    }
    /// The same for all of them; returns how many there were.
    std::size_t RemoveAll() EXCLUDES(mutex_)
    {
        return RemoveIf([](const Entry&) { return true; });
    }

    /// On the delivery thread: calls `invoke(callback, user_data)` for each registration for the topic, in
    /// the order of registering, with null user data where `null_user` says so. Returns how many were called.
    /// Not inside `invoke`: which callback runs is noted for one delivery at a time.
    template <typename Invoke>
    std::size_t Deliver(const Topic& topic, bool null_user, Invoke invoke) EXCLUDES(mutex_)
    {
        MutexLock lock(mutex_);
        std::vector<std::uint64_t> ids;
        for (const Slot& slot : slots_) {
            if (slot.entry.topic == topic)
                ids.push_back(slot.id);
        }
        std::size_t called = 0;
        for (const std::uint64_t id : ids) {
            const Slot* const slot = Find(id);
            if (slot == nullptr)
                continue;
            const Entry entry = slot->entry;
            running_ = id;
            running_entry_ = &entry;
            lock.Unlock();
            invoke(entry.callback, null_user ? nullptr : entry.user_data);
            lock.Lock();
            running_ = 0;
            running_entry_ = nullptr;
            ++run_;
            ended_.NotifyAll();
            ++called;
        }
        return called;
    }

    bool Contains(const Topic& topic, Client client) const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        for (const Slot& slot : slots_) {
            if (slot.entry.IsOf(topic, client))
                return true;
        }
        return false;
    }
    /// The topics registered for, in the order of registering.
    std::vector<Topic> Topics() const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        std::vector<Topic> topics;
        for (const Slot& slot : slots_)
            topics.push_back(slot.entry.topic);
        return topics;
    }
    std::size_t Count() const EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
        return slots_.size();
    }

  private:
    struct Entry {
        Topic topic;
        Callback callback;
        void* user_data;

        Client client() const
        {
            if constexpr (by == ToldApartBy::Callback)
                return callback;
            else
                return user_data;
        }
        bool IsOf(const Topic& one, Client other) const { return topic == one && client() == other; }
    };
    struct Slot {
        std::uint64_t id;
        Entry entry;
    };

    template <typename Covers>
    std::size_t RemoveIf(Covers covers) EXCLUDES(mutex_)
    {
        const MutexLock lock(mutex_);
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
        // A call that runs may belong to an entry that an earlier removal, from inside it, took away.
        if (running_ != 0 && !running_removed)
            running_removed = covers(*running_entry_);
        if (running_removed && !thread_.IsCurrent()) {
            const std::uint64_t run = run_;
            // cppcheck-suppress knownConditionTrueFalse ; while it waits others change it
            while (run_ == run)
                ended_.Wait(mutex_);
        }
        return removed;
    }
    const Slot* Find(std::uint64_t id) const REQUIRES(mutex_)
    {
        for (const Slot& slot : slots_) {
            if (slot.id == id)
                return &slot;
        }
        return nullptr;
    }

    DeliveryThread& thread_;
    mutable Mutex mutex_{LockLevel::Registrations};
    CondVar ended_;
    std::vector<Slot> slots_ GUARDED_BY(mutex_);
    std::uint64_t next_id_ GUARDED_BY(mutex_) = 1;
    std::uint64_t running_ GUARDED_BY(mutex_) = 0;             ///< whose callback runs, 0: none's
    const Entry* running_entry_ GUARDED_BY(mutex_) = nullptr;  ///< while running_ is not 0
    std::uint64_t run_ GUARDED_BY(mutex_) = 0;                 ///< counts finished callbacks
};

}  // namespace tv
