// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <thread>

#include "ZeLumoMutex.h"

namespace zelumo {

/// Says that an object lives to which the TV's services hold bare pointers. Where a subscription can't be
/// ended, since its service is away or refuses, that service calls on; so a callback uses its user data
/// inside of a Visit alone.
class Living {
  public:
    /// A callback's use of an object. Made on the callback's thread; where it is false, the object is gone
    /// and must not be touched. The object may be destroyed on this thread meanwhile, and on no other.
    class Visit {
      public:
        explicit Visit(const void* object);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        explicit operator bool() const { return m_host != nullptr; }

      private:
        friend class Living;
        const std::thread::id m_thread;
        Living* m_host;  // null: the object is gone
        Visit* m_next = nullptr;
    };

    /// `object` lives from now on; not null.
    explicit Living(const void* object);
    ~Living() { End(); }
    Living(const Living&) = delete;
    Living& operator=(const Living&) = delete;

    /// No visit begins any more, and those on other threads have ended. May be called again.
    void End();

  private:
    const void* const m_object;
    CondVar m_left;
    bool m_listed = true;
    Living* m_next = nullptr;
};

/// Keeps this library in memory, even when it is unloaded: a service may call it yet.
void StayLoaded();

}  // namespace zelumo
