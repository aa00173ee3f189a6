#include "tvhost/interrupt.h"

#include <csignal>

namespace host {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void OnSignal(int)
{
    interrupted = 1;
}

}  // namespace

void CatchInterrupts()
{
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // without SA_RESTART: reads are interrupted
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

const volatile std::sig_atomic_t* InterruptFlag()
{
    return &interrupted;
}

}  // namespace host
