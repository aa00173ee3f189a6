#pragma once

#include <csignal>

namespace host {

/// From now on Ctrl-C and a polite kill set a flag and interrupt reads, so that the program can end in
/// order; a second Ctrl-C ends it at once. A write to a closed pipe becomes an error instead of a signal.
void CatchInterrupts();

/// Not 0 once such a signal came.
const volatile std::sig_atomic_t* InterruptFlag();

}  // namespace host
