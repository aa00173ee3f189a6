// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/outlet.h"

#include <sys/socket.h>

#include <utility>

namespace host {

void Outlet::Begin(bool awaited)
{
    const tv::MutexLock lock(mutex_);
    answering_ = true;
    awaited_ = awaited;
}

bool Outlet::is_answering() const
{
    const tv::MutexLock lock(mutex_);
    return answering_;
}

bool Outlet::Await()
{
    const tv::MutexLock lock(mutex_);
    awaited_ = answering_;
    return awaited_;
}

bool Outlet::End()
{
    const tv::MutexLock lock(mutex_);
    answering_ = false;
    return std::exchange(awaited_, false);
}

void Outlet::Close()
{
    const tv::MutexLock lock(mutex_);
    socket_ = -1;
}

Outlet::Sent Outlet::Send(const std::string& text, bool last)
{
    // Held while it is sent, so that the number is the socket's still.
    const tv::MutexLock lock(mutex_);
    if (socket_ < 0)
        return {0, false};
    const ssize_t count = ::send(socket_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    const Sent sent{count < 0 ? 0 : static_cast<std::size_t>(count), !last && !awaited_};
    if (sent.bytes != text.size())
        return {sent.bytes, false};
    if (sent.done)
        answering_ = false;
    return sent;
}

}  // namespace host
