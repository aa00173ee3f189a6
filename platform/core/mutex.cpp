// SPDX-License-Identifier: Apache-2.0
#include "core/mutex.h"

#ifndef NDEBUG
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace tv {
namespace {

/// The levels that this thread holds, in their order.
/// Nothing to destroy: locks are taken until the very end of a thread.
struct Held {
    std::array<LockLevel, static_cast<std::size_t>(LockLevel::Leaf) + 1> levels;
    std::size_t count;
};
thread_local Held held;

const char* NameOf(LockLevel level)
{
    constexpr const char* kNames[] = {"Turns", "Service", "Registrations", "Clock",   "Deliveries",
                                      "Queue", "Calls",   "Journal",       "Tracer",  "Output",
                                      "Lines", "Kept",    "Page",          "Channel", "Leaf"};
    static_assert(std::size(kNames) == static_cast<std::size_t>(LockLevel::Leaf) + 1);
    return kNames[static_cast<std::size_t>(level)];
}

}  // namespace

void Mutex::Enter(LockLevel level)
{
    if (held.count > 0 && held.levels[held.count - 1] >= level) {
        std::fprintf(stderr, "a lock of the level %s is taken under one of the level %s\n", NameOf(level),
                     NameOf(held.levels[held.count - 1]));
        std::abort();
    }
    held.levels[held.count++] = level;
}

void Mutex::CheckNoneHeld()
{
    if (held.count > 0) {
        std::fprintf(stderr, "another thread is waited for under a lock of the level %s\n",
                     NameOf(held.levels[held.count - 1]));
        std::abort();
    }
}

void Mutex::Leave(LockLevel level)
{
    // Locks are nearly always given back in the reverse order.
    std::size_t place = held.count - 1;
    while (held.levels[place] != level)
        --place;
    for (--held.count; place < held.count; ++place)
        held.levels[place] = held.levels[place + 1];
}

}  // namespace tv
#endif
