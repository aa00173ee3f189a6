// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <regex>
#include <string>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace test {

/// What `zelumo-tv compare` found to differ: "GetVCConfig data.country", "message X: missing", without line
/// numbers and values.
inline Lines Found(const std::string& out)
{
    static const std::regex block("line [0-9]+: (.*)");
    static const std::regex member("  (\\S.*): recorded .*");
    Lines found;
    std::string what;
    bool has_members = true;
    const auto end_block = [&] {
        if (!has_members)
            found.push_back(what);
    };
    for (const std::string& line : LinesOf(out)) {
        std::smatch match;
        if (std::regex_match(line, match, block)) {
            end_block();
            what = match[1];
            has_members = false;
        } else if (std::regex_match(line, match, member)) {
            found.push_back(what + ' ' + match[1].str());
            has_members = true;
        }
    }
    end_block();
    return found;
}

/// Its count.
inline std::string LastLine(const std::string& out)
{
    const Lines lines = LinesOf(out);
    return lines.empty() ? "" : lines.back();
}

/// Lines of a recording: a blocking message and its reply.
inline std::string Await(const std::string& message, const std::string& reply)
{
    return "{\"await\":" + message + "}\n{\"reply\":" + reply + "}\n";
}

/// A message that came from the TV.
inline std::string Told(const std::string& message)
{
    return "{\"message\":" + message + "}\n";
}

}  // namespace test
