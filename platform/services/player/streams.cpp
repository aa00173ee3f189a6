#include "services/player/streams.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tv {
namespace {

using namespace std::chrono_literals;

const std::vector<StreamConfig>& BuiltInStreams()
{
    static const std::vector<StreamConfig> streams{
        {"*film*", 10min, false, 0ms, StreamFault::None},
        {"*short*", 30s, false, 0ms, StreamFault::None},
        {"*live*", 10min, true, 0ms, StreamFault::None},
        {"*missing*", 0ms, false, 0ms, StreamFault::Missing},
        {"*broken*", 0ms, false, 0ms, StreamFault::Broken},
        {"*", 1h, false, 0ms, StreamFault::None},
    };
    return streams;
}

bool Fits(std::string_view pattern, std::string_view text)
{
    std::size_t at = 0;
    std::size_t star = std::string_view::npos;  // the last one passed
    std::size_t taken = 0;                      // where what that one stands for ends
    std::size_t next = 0;
    while (next < text.size()) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            taken = next;
        } else if (at < pattern.size() && pattern[at] == text[next]) {
            ++at;
            ++next;
        } else if (star != std::string_view::npos) {
            at = star + 1;
            next = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

StreamConfig ReadStream(const JsonNode& node)
{
    JsonObject object(node);
    StreamConfig stream;
    stream.pattern = object.Get("pattern").As<std::string>();
    object.Read("duration", stream.duration);
    object.Read("live", stream.live);
    object.Read("bufferMs", stream.buffer);
    if (const auto fault = object.Find("fault")) {
        if (fault->json() == "missing")
            stream.fault = StreamFault::Missing;
        else if (fault->json() == "broken")
            stream.fault = StreamFault::Broken;
        else
            fault->Fail("must be \"missing\" or \"broken\"");
    }
    object.End();
    return stream;
}

}  // namespace

void StreamsConfig::Read(JsonObject& file)
{
    const std::optional<JsonNode> section = file.Find("streams");
    if (!section)
        return;
    streams.clear();
    for (const JsonNode& element : section->Elements())
        streams.push_back(ReadStream(element));
}

StreamConfig StreamsConfig::Find(const std::string& url) const
{
    const auto fits = [&](const StreamConfig& stream) { return Fits(stream.pattern, url); };
    const auto own = std::find_if(streams.begin(), streams.end(), fits);
    // The last of the built-in patterns fits everything.
    return own != streams.end() ? *own
                                : *std::find_if(BuiltInStreams().begin(), BuiltInStreams().end(), fits);
}

}  // namespace tv
