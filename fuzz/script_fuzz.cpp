// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include "core/calls.h"
#include "fuzz/session.h"
#include "tv/tv.h"

/// Lines in, separated by line ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    host::Session& session = fuzz::TheSession();
    // The last bit says who plays, so that media lines are heard, too.
    const bool in_browser = size != 0 && data[size - 1] % 2 != 0;
    tv::PlayerService::Get().SetMedia(in_browser ? tv::MediaKind::Browser : tv::MediaKind::Simulated);
    std::string_view text(reinterpret_cast<const char*>(data), size);
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        // A delay is real time, and a long stretch of playing time is work that was asked for.
        if (line.find("delay") != std::string_view::npos || line.find("advance") != std::string_view::npos)
            continue;
        try {
            session.CarryOut(host::ParseJson(line, host::kMaxMessageDepth + 1));
        } catch (const host::JsonError&) {
        } catch (const host::LineError&) {
        }
    }
    tv::TheCalls().RestoreAll();
    if (!session.is_open())
        session.Open();
    return 0;
}
