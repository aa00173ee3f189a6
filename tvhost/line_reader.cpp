#include "tvhost/line_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace host {

LineReader::LineReader(int descriptor, std::size_t max_bytes, const volatile std::sig_atomic_t* interrupted)
    : descriptor_(descriptor), max_bytes_(max_bytes), interrupted_(interrupted)
{}

bool LineReader::Fill()
{
    buffer_.resize(64 * 1024);
    used_ = 0;
    while (true) {
        if (interrupted_ != nullptr && *interrupted_ != 0) {
            buffer_.clear();
            return false;
        }
        const ssize_t count = ::read(descriptor_, buffer_.data(), buffer_.size());
        if (count >= 0) {
            buffer_.resize(static_cast<std::size_t>(count));
            return count > 0;
        }
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category());
    }
}

std::optional<InputLine> LineReader::Next()
{
    InputLine line;
    bool any = false;
    if (interrupted_ != nullptr && *interrupted_ != 0)
        return std::nullopt;
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
