// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "tv/tv_config.h"
#include "zelumo-platform/export.h"

namespace tv {

/// A TV file that can't be used. what() is one line that begins with the place:
/// "channels[3].major: must be a whole number from 0 to 65535".
class ZELUMO_PLATFORM_API TvFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads a TV from JSON text. What the text leaves out is taken from `base`. Throws TvFileError.
ZELUMO_PLATFORM_API TvConfig ParseTv(std::string_view text, const TvConfig& base);

/// The largest file that is read.
constexpr std::size_t kMaxTvFileBytes = std::size_t{64} * 1024 * 1024;

/// The same from a file, on the base of the sample TV. In what(), the file's name comes first. A pipe is read
/// to its end, and waited for until somebody writes. Nothing when `interrupt_descriptor` became readable
/// before; -1: there is none, and it is not owned.
ZELUMO_PLATFORM_API std::optional<TvConfig> ReadTvFile(const std::filesystem::path& file,
                                                       int interrupt_descriptor = -1);

/// The TV that is built in, as the text of a TV file and read; both are valid for the life of the process.
/// Any thread.
ZELUMO_PLATFORM_API std::string_view SampleTvText();
ZELUMO_PLATFORM_API const TvConfig& SampleTv();

}  // namespace tv
