// SPDX-License-Identifier: Apache-2.0
#include "tvhost/output_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "tvhost/interrupt.h"

namespace host {
namespace {

constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC;
constexpr int kLookMilliseconds = 20;    // how often a pipe is looked at that nobody reads from yet
constexpr int kLastMilliseconds = 1000;  // for what is left to be written after an interrupt

std::string Reason(int error)
{
    return std::generic_category().message(error);
}

/// Waits until the descriptor can be written, or for a while after an interrupt. False: it can't.
bool WaitToWrite(int descriptor)
{
    std::array<pollfd, 2> events{{{descriptor, POLLOUT, 0}, {InterruptDescriptor(), POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) < 0 && errno == EINTR) {
        // Interrupted by a signal.
    }
    return events[0].revents != 0 || poll(events.data(), 1, kLastMilliseconds) > 0;
}

}  // namespace

OutputFile::OutputFile(const char* what, std::filesystem::path file, Existing existing)
    : what_(what), path_(std::move(file)), existing_(existing)
{
    descriptor_ = ::open(path_.c_str(), kFlags | O_EXCL, 0666);
    is_left_over_ = descriptor_ >= 0;
    while (descriptor_ < 0 && (descriptor_ = ::open(path_.c_str(), kFlags, 0666)) < 0) {
        const int error = errno;
        std::error_code unknown;
        if (error != ENXIO || !std::filesystem::is_fifo(path_, unknown))
            Fail(Reason(error));
        pollfd event{InterruptDescriptor(), POLLIN, 0};
        if (poll(&event, 1, kLookMilliseconds) == 1)
            throw Interrupted();
    }
    struct stat status {};
    is_regular_ = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    try {
        Check();
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

OutputFile::~OutputFile()
{
    struct stat status {};
    struct stat named {};
    // Somebody may have put another file in its place.
    if (is_left_over_ && ::fstat(descriptor_, &status) == 0 && status.st_size == 0 &&
        ::stat(path_.c_str(), &named) == 0 && named.st_ino == status.st_ino && named.st_dev == status.st_dev)
        ::unlink(path_.c_str());
    ::close(descriptor_);
}

void OutputFile::Fail(const std::string& why) const
{
    throw FileError(std::string(what_) + ' ' + path_.string() + ": " + why);
}

void OutputFile::Check() const
{
    struct stat status {};
    if (existing_ == Existing::Refuse && is_regular_ && ::fstat(descriptor_, &status) == 0 &&
        status.st_size > 0)
        Fail("the file is not empty; --overwrite replaces it");
}

void OutputFile::Empty()
{
    // Somebody else may have begun to write it meanwhile.
    Check();
    if (is_regular_ && ::ftruncate(descriptor_, 0) != 0)
        Fail(Reason(errno));
    is_left_over_ = false;
}

int OutputFile::Write(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor_, text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (const int error = errno; error != EINTR && !(error == EAGAIN && WaitToWrite(descriptor_)))
            return error;
    }
    return 0;
}

bool IsSameFile(const std::filesystem::path& a, const std::filesystem::path& b)
{
    struct stat one {};
    struct stat other {};
    return ::stat(a.c_str(), &one) == 0 && ::stat(b.c_str(), &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino && !S_ISCHR(one.st_mode);
}

}  // namespace host
