// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/sent_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace host {
namespace {

constexpr auto kEnd = std::numeric_limits<std::uint64_t>::max();

struct Range {
    std::uint64_t first;
    std::uint64_t size;
};

/// A number of any length, or nothing. Where it is too large to be a position it is past every end.
std::optional<std::uint64_t> Number(std::string_view digits)
{
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    return digits.size() > 18 ? kEnd : std::stoull(std::string(digits));
}

/// The one part that is asked for; nothing where the header is none that is understood, and then the whole is
/// meant. Empty where the file has no such part.
std::optional<Range> Parse(std::string_view header, std::uint64_t size)
{
    constexpr std::string_view kUnit = "bytes=";
    const std::size_t dash = header.find('-');
    if (header.substr(0, kUnit.size()) != kUnit || dash == std::string_view::npos)
        return std::nullopt;
    const std::string_view begin = header.substr(kUnit.size(), dash - kUnit.size());
    const std::string_view end = header.substr(dash + 1);
    const std::optional<std::uint64_t> first = Number(begin);
    const std::optional<std::uint64_t> last = Number(end);
    if ((!first && !begin.empty()) || (!last && !end.empty()) || (!first && !last))
        return std::nullopt;
    if (!first)
        return Range{size - std::min(*last, size), std::min(*last, size)};
    if (last && *last < *first)
        return std::nullopt;
    if (*first >= size)
        return Range{0, 0};
    return Range{*first, std::min(last.value_or(kEnd), size - 1) - *first + 1};
}

/// What tells this content from any other that the file has had, or "" while it may change again within the
/// same tick of the file system's clock.
std::string Tag(const struct stat& file)
{
    if (std::time(nullptr) - file.st_mtim.tv_sec < 2)
        return "";
    return '"' + std::to_string(file.st_mtim.tv_sec) + '.' + std::to_string(file.st_mtim.tv_nsec) + '-' +
           std::to_string(file.st_ino) + '-' + std::to_string(file.st_size) + '"';
}

}  // namespace

int SentFile::Open(WebResponse& response)
{
    Close();
    // It was a plain file when it was found; what it may have become meanwhile is neither waited for nor
    // followed.
    file_ = open(response.file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    struct stat status {};
    if (file_ < 0 || fstat(file_, &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return EINVAL;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const std::string tag = Tag(status);
    std::optional<Range> range;
    if (response.if_range.empty() || (!tag.empty() && response.if_range == tag))
        range = Parse(response.range, size);
    if (range && range->size == 0) {
        response = ErrorResponse(416, "the file has " + std::to_string(size) + " bytes");
        response.lines = "Content-Range: bytes */" + std::to_string(size) + "\r\n";
        Close();
        return 0;
    }
    response.lines = "Accept-Ranges: bytes\r\n";
    if (!tag.empty())
        response.lines += "ETag: " + tag + "\r\n";
    at_ = 0;
    left_ = size;
    if (range) {
        response.status = 206;
        at_ = range->first;
        left_ = range->size;
        response.lines += "Content-Range: bytes " + std::to_string(at_) + '-' +
                          std::to_string(at_ + left_ - 1) + '/' + std::to_string(size) + "\r\n";
    }
    return 0;
}

bool SentFile::Read(std::string& text, std::size_t most)
{
    const std::size_t begin = text.size();
    text.resize(begin + static_cast<std::size_t>(std::min<std::uint64_t>(left_, most)));
    const ssize_t count = pread(file_, text.data() + begin, text.size() - begin, static_cast<off_t>(at_));
    text.resize(begin + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count <= 0)
        return false;
    at_ += static_cast<std::uint64_t>(count);
    left_ -= static_cast<std::uint64_t>(count);
    return true;
}

void SentFile::Close()
{
    if (file_ >= 0)
        close(std::exchange(file_, -1));
    left_ = 0;
}

}  // namespace host
