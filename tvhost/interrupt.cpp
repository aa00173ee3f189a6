#include "tvhost/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>
#include <utility>

namespace host {
namespace {

int interrupt_descriptor = -1;  // set before there is a handler, or another thread

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

void OnSignal(int)
{
    const int saved = errno;
    Raise(interrupt_descriptor);
    errno = saved;
}

}  // namespace

void CatchInterrupts()
{
    interrupt_descriptor = MakeEvent();
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
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
