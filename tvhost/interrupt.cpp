// SPDX-License-Identifier: Apache-2.0
#include "tvhost/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>
#include <utility>

namespace host {
namespace {

int interrupt_descriptor = -1;  // set before there is a handler, or another thread
std::atomic<bool> signalled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler uses it");

int MakeEvent()
{
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

/// Fails only when the count is full, and then it is readable all the same.
void Raise(int descriptor)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(descriptor, &one, sizeof one);
}

void OnSignal(int signal)
{
    const int saved = errno;
    if (!signalled.exchange(true)) {
        Raise(interrupt_descriptor);
    } else if (signal != SIGHUP) {
        // It is blocked while this runs, and ends the program on return.
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    errno = saved;
}

void ReadToEndOfInput()
{
    std::array<char, 4096> ignored{};
    while (true) {
        pollfd event{STDIN_FILENO, POLLIN, 0};
        if (poll(&event, 1, -1) < 0)
            continue;
        const ssize_t count = read(STDIN_FILENO, ignored.data(), ignored.size());
        // Input that can't be read has ended as well.
        if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN))
            return Raise(interrupt_descriptor);
    }
}

}  // namespace

void CatchInterrupts()
{
    interrupt_descriptor = MakeEvent();
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    sigset_t caught;
    sigemptyset(&caught);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (signal == SIGHUP && before.sa_handler == SIG_IGN)
            continue;
        sigaction(signal, &action, nullptr);
        sigaddset(&caught, signal);
    }
    // Whoever started the program may have left them blocked.
    pthread_sigmask(SIG_UNBLOCK, &caught, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void InterruptAtEndOfInput()
{
    // It may wait in a read for as long as the process lives, and touches nothing that goes before.
    std::thread(ReadToEndOfInput).detach();
}

int InterruptDescriptor()
{
    return interrupt_descriptor;
}

bool IsInterrupted()
{
    pollfd event{interrupt_descriptor, POLLIN, 0};
    return poll(&event, 1, 0) == 1;
}

OnInterrupt::OnInterrupt(std::function<void()> act)
    : ended_(MakeEvent()), thread_([this, act = std::move(act)] {
          std::array<pollfd, 2> events{{{interrupt_descriptor, POLLIN, 0}, {ended_, POLLIN, 0}}};
          while (poll(events.data(), events.size(), -1) < 0) {
              // Interrupted by a signal.
          }
          if (events[0].revents != 0)
              act();
      })
{}

OnInterrupt::~OnInterrupt()
{
    Raise(ended_);
    thread_.join();
    close(ended_);
}

}  // namespace host
