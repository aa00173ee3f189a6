#include "core/mutex.h"

#ifndef NDEBUG
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace tv {
namespace {

/// The levels that this thread holds, in their order.
/// Nothing to destroy: locks are taken until the very end of a thread.
struct Held {
    std::array<LockLevel, static_cast<std::size_t>(LockLevel::Leaf) + 1> levels;
    std::size_t count;
};
thread_local Held held;

}  // namespace

void Mutex::Enter(LockLevel level)
{
    if (held.count > 0 && held.levels[held.count - 1] >= level) {
        std::fprintf(stderr, "a lock of level %d is taken while one of level %d is held\n",
                     static_cast<int>(level), static_cast<int>(held.levels[held.count - 1]));
        std::abort();
    }
    held.levels[held.count++] = level;
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
