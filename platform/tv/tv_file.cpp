// SPDX-License-Identifier: Apache-2.0
#include "tv/tv_file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "core/clock.h"
#include "core/json_node.h"
#include "core/json_text.h"
#include "tv/sample_tv_text.h"

namespace tv {
namespace {

constexpr int kMaxDepth = 64;

[[noreturn]] void FailWith(int error)
{
    throw std::system_error(error, std::generic_category());
}

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor()
    {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

  private:
    const int number_;
};

/// What the file holds, or nothing when waiting for it was interrupted. Throws std::system_error, or
/// TvFileError for a file that is too large or has no end.
std::optional<std::string> ReadWhole(const std::filesystem::path& path, int interrupt_descriptor)
{
    // A pipe that nobody writes to is waited for below, where an interrupt ends that.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.number() < 0)
        FailWith(errno);
    std::string text;
    std::vector<char> buffer(std::size_t{64} * 1024);
    while (true) {
        std::array<pollfd, 2> events{{{interrupt_descriptor, POLLIN, 0}, {file.number(), POLLIN, 0}}};
        if (poll(events.data(), events.size(), -1) < 0) {
            if (errno != EINTR)
                FailWith(errno);
            continue;
        }
        if (events[1].revents == 0)
            return std::nullopt;
        const ssize_t count = read(file.number(), buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            FailWith(errno);
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        if (text.size() > kMaxTvFileBytes)
            throw TvFileError("larger than 64 MiB");
    }
}

}  // namespace

TvConfig ParseTv(std::string_view text, const TvConfig& base)
{
    try {
        const Json::Value json = ParseJsonFile(text, kMaxDepth);
        JsonObject file(JsonNode(json, JsonPlaces::Path));
        TvConfig config = base;
        if (const auto date = file.Find("date"))
            config.date = std::chrono::milliseconds(date->Whole(0, kLastDate));
        TvConfig::ForEachSection(config, [&](auto& section, const auto&) { section.Read(file); });
        file.End();
        config.line_up.Check(file.node());
        return config;
    } catch (const JsonError& error) {
        throw TvFileError(error.what());
    } catch (const JsonMistake& mistake) {
        throw TvFileError(mistake.what());
    }
}

std::optional<TvConfig> ReadTvFile(const std::filesystem::path& file, int interrupt_descriptor)
{
    try {
        const std::optional<std::string> text = ReadWhole(file, interrupt_descriptor);
        return text ? std::optional(ParseTv(*text, SampleTv())) : std::nullopt;
    } catch (const std::system_error& error) {
        throw TvFileError(file.string() + ": " + error.code().message());
    } catch (const TvFileError& mistake) {
        throw TvFileError(file.string() + ": " + mistake.what());
    }
}

std::string_view SampleTvText()
{
    return {reinterpret_cast<const char*>(kSampleTvText), kSampleTvTextSize};
}

const TvConfig& SampleTv()
{
    static const TvConfig sample = ParseTv(SampleTvText(), TvConfig());
    return sample;
}

}  // namespace tv
