// SPDX-License-Identifier: Apache-2.0
#include "tvhost/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

#include "tvhost/interrupt.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

/// How soon the end of a process that keeps silent is noticed.
constexpr std::chrono::milliseconds kLookInterval{10};

[[noreturn]] void BeChild(const std::function<int(int)>& body, int descriptor, pid_t parent)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        std::signal(signal, SIG_DFL);
    int status = 1;
    try {
        status = body(descriptor);
    } catch (...) {
        // `body` has said what there was to say.
    }
    _exit(status);
}

/// Takes what is there. False at the end.
bool ReadSome(int descriptor, std::string& out, std::size_t max_out)
{
    std::array<char, 65536> buffer{};
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    out.append(buffer.data(), std::min(static_cast<std::size_t>(count), max_out - out.size()));
    return count > 0;
}

}  // namespace

ChildEnd RunChild(const std::function<int(int)>& body, std::chrono::milliseconds limit, std::size_t max_out)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    const pid_t parent = getpid();
    const Clock::time_point begin = Clock::now();
    const pid_t child = fork();
    if (child == 0)
        BeChild(body, ends[1], parent);
    const int error = errno;
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        throw std::system_error(error, std::generic_category(), "fork");
    }
    setpgid(child, child);  // whichever of the two comes first

    ChildEnd end;
    int status = 0;
    bool open = true;
    bool ended = false;
    while (!ended) {
        const Clock::duration left = begin + limit - Clock::now();
        if (left <= Clock::duration::zero()) {
            end.how = ChildEnd::How::TimedOut;
            break;
        }
        const auto wait = std::min(std::chrono::ceil<std::chrono::milliseconds>(left), kLookInterval);
        std::array<pollfd, 2> events{{{InterruptDescriptor(), POLLIN, 0}, {open ? ends[0] : -1, POLLIN, 0}}};
        poll(events.data(), events.size(), static_cast<int>(wait.count()));
        if (IsInterrupted()) {
            end.how = ChildEnd::How::Interrupted;
            break;
        }
        if (events[1].revents != 0)
            open = ReadSome(ends[0], end.out, max_out);
        ended = waitpid(child, &status, WNOHANG) == child;
    }
    kill(-child, SIGKILL);
    if (!ended)
        waitpid(child, &status, 0);
    // What it has written last; whoever else has the pipe's other end is not waited for.
    for (pollfd event{ends[0], POLLIN, 0}; open && end.out.size() < max_out && poll(&event, 1, 0) > 0;)
        open = ReadSome(ends[0], end.out, max_out);
    close(ends[0]);
    end.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    if (ended && WIFSIGNALED(status)) {
        end.how = ChildEnd::How::Signalled;
        end.status = WTERMSIG(status);
    } else if (ended) {
        end.status = WEXITSTATUS(status);
    }
    return end;
}

std::string SignalName(int signal)
{
    const char* const name = sigabbrev_np(signal);
    const char* const about = sigdescr_np(signal);
    if (name == nullptr || about == nullptr)
        return "signal " + std::to_string(signal);
    return std::string("SIG") + name + " (" + about + ')';
}

}  // namespace host
