// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "core/mutex.h"

namespace host {

/// The way out of a browser's connection, which takes one answer to each request. Whoever answers holds it,
/// and may do so after the connection has ended. Any thread; what changes the connection is said on the
/// server's.
class Outlet {
  public:
    explicit Outlet(int socket) : socket_(socket) {}

    /// A request was taken and waits for its answer. `awaited`: the server's thread has something to do when
    /// it was sent.
    void Begin(bool awaited) EXCLUDES(mutex_);
    bool is_answering() const EXCLUDES(mutex_);
    /// Whether a request still waits: the server's thread wants to know then when its answer was sent.
    bool Await() EXCLUDES(mutex_);
    /// The answer was sent. Whether the server's thread wanted to know.
    bool End() EXCLUDES(mutex_);
    /// The socket is about to be closed: nothing is sent any more.
    void Close() EXCLUDES(mutex_);

    struct Sent {
        std::size_t bytes;
        bool done;  ///< all was sent, and the server's thread need not know
    };
    /// Sends what the socket takes without waiting. `last`: the connection ends with it.
    Sent Send(const std::string& text, bool last) EXCLUDES(mutex_);

  private:
    mutable tv::Mutex mutex_{tv::LockLevel::Leaf};
    int socket_ GUARDED_BY(mutex_);  ///< not owned; -1: closed
    bool answering_ GUARDED_BY(mutex_) = false;
    bool awaited_ GUARDED_BY(mutex_) = false;
};

}  // namespace host
