#include "tvhost/web/recording.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <system_error>

namespace host {

Recording::Recording(const std::filesystem::path& file)
    : file_(file),
      descriptor_(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666))
{
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "recording " + file.string());
}

Recording::~Recording()
{
    ::close(descriptor_);
}

void Recording::Comment(const std::string& text)
{
    Append("# " + text + '\n');
}

void Recording::Write(const std::string& line_in, const std::vector<std::string>& lines_out)
{
    Flush();
    std::string block = line_in + '\n';
    for (const std::string& line : lines_out)
        block += line + '\n';
    Append(block);
}

void Recording::Advance(long long ms, const std::vector<std::string>& lines_out)
{
    if (advanced_ms_ + ms > std::numeric_limits<std::int32_t>::max())
        Flush();
    advanced_ms_ += ms;
    advanced_out_ = lines_out;
    if (lines_out.size() > 1)
        Flush();
}

void Recording::Flush()
{
    if (advanced_out_.empty())
        return;
    std::string block = R"({"tv":"advance","ms":)" + std::to_string(advanced_ms_) + "}\n";
    for (const std::string& line : advanced_out_)
        block += line + '\n';
    advanced_ms_ = 0;
    advanced_out_.clear();
    Append(block);
}

void Recording::Append(const std::string& block)
{
    for (std::size_t written = 0; written < block.size() && !failed_;) {
        const ssize_t count = ::write(descriptor_, block.data() + written, block.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            failed_ = true;
            std::fprintf(stderr, "zelumo-tv: %s: %s; the recording ends here\n", file_.c_str(),
                         std::generic_category().message(errno).c_str());
        }
    }
}

}  // namespace host
