// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/recording.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <system_error>

namespace host {

void Recording::Comment(const std::string& text)
{
    std::string line = text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    Append("# " + line + '\n');
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
    if (failed_)
        return;
    if (const int error = file_.Write(block); error != 0) {
        failed_ = true;
        std::fprintf(stderr, "zelumo-tv: %s: %s; the recording ends here\n", file_.path().c_str(),
                     std::generic_category().message(error).c_str());
    }
}

}  // namespace host
