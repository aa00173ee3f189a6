// SPDX-License-Identifier: Apache-2.0
#include "tvhost/line_reader.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace host {

LineReader::LineReader(int descriptor, std::size_t max_bytes, int interrupt_descriptor)
    : descriptor_(descriptor), max_bytes_(max_bytes), interrupt_descriptor_(interrupt_descriptor)
{}

bool LineReader::Wait() const
{
    std::array<pollfd, 2> events{{{interrupt_descriptor_, POLLIN, 0}, {descriptor_, POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) < 0) {
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category());
    }
    return events[0].revents == 0;
}

bool LineReader::Fill()
{
    used_ = 0;
    ssize_t count = 0;
    do {
        buffer_.clear();
        if (!Wait())
            return false;
        buffer_.resize(std::size_t{64} * 1024);
        count = ::read(descriptor_, buffer_.data(), buffer_.size());
    } while (count < 0 && (errno == EINTR || errno == EAGAIN));
    if (count < 0)
        throw std::system_error(errno, std::generic_category());
    buffer_.resize(static_cast<std::size_t>(count));
    return count > 0;
}

std::optional<InputLine> LineReader::Next()
{
    InputLine line;
    bool any = false;
    while (true) {
        if (used_ == buffer_.size() && !Fill()) {
            if (!any)
                return std::nullopt;
            break;
        }
        any = true;
        const std::size_t end = buffer_.find('\n', used_);
        const std::size_t stop = std::min(end, buffer_.size());
        const std::size_t room = max_bytes_ - line.text.size();
        line.too_long = line.too_long || stop - used_ > room;
        line.text.append(buffer_, used_, std::min(stop - used_, room));
        used_ = end == std::string::npos ? buffer_.size() : end + 1;
        line.ended = end != std::string::npos;
        if (line.ended)
            break;
    }
    if (!line.text.empty() && line.text.back() == '\r')
        line.text.pop_back();
    line.number = ++number_;
    return line;
}

}  // namespace host
