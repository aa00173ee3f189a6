// SPDX-License-Identifier: Apache-2.0
#include "soak/leftovers.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "tests/support/host_process.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace soak {

namespace fs = std::filesystem;

Census Census::Take()
{
    Census census;
    // This thread may have been renamed by the plug-in.
    const std::string self = std::to_string(gettid());
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
        if (task.path().filename() != self)
            ++census.counts_["thread " + test::ReadFile(task.path() / "comm")];
    }
    for (const fs::directory_entry& descriptor : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        std::string target = fs::read_symlink(descriptor.path(), gone).string();
        // Sockets and pipes have a number of their own: "socket:[1234]".
        target.erase(std::min(target.find(":["), target.size()));
        ++census.counts_["descriptor " + target + '\n'];
    }
    return census;
}

std::string Census::Excess(const Census& before)
{
    std::string excess;
    for (int tries = 0; tries < 500; ++tries) {
        excess.clear();
        for (const auto& [what, count] : Take().counts_) {
            const auto found = before.counts_.find(what);
            const int had = found == before.counts_.end() ? 0 : found->second;
            if (count > had)
                excess += std::to_string(count - had) + ' ' + what.substr(0, what.size() - 1) + ", ";
        }
        if (excess.empty())
            return excess;
        // A thread that was joined leaves /proc a moment later, and nobody tells when.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return excess.substr(0, excess.size() - 2);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const long long kFlatHeap = 16'384;

std::size_t HeapInUse()
{
    return __sanitizer_get_current_allocated_bytes();
}
#else
const long long kFlatHeap = 131'072;

std::size_t HeapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}
#endif

void MemoryCurve::Measure()
{
    bytes_.push_back(HeapInUse());
}

std::optional<long long> MemoryCurve::Growth() const
{
    const std::size_t quarter = bytes_.size() / 4;
    if (quarter < 3)
        return std::nullopt;
    const auto least = [&](std::size_t quarters_to_the_end) {
        const auto from = bytes_.end() - static_cast<std::ptrdiff_t>(quarters_to_the_end * quarter);
        return static_cast<long long>(*std::min_element(from, from + static_cast<std::ptrdiff_t>(quarter)));
    };
    return std::min(least(1) - least(2), least(2) - least(3));
}

}  // namespace soak
