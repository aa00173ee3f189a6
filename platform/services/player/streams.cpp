// SPDX-License-Identifier: Apache-2.0
#include "services/player/streams.h"

#include <algorithm>
#include <utility>

#include "core/pattern.h"

namespace tv {
namespace {

using namespace std::chrono_literals;

constexpr int kMaxSteps = 100;

StreamConfig MakeStream(const char* pattern, std::chrono::milliseconds duration, bool live = false,
                        StreamFault fault = StreamFault::None)
{
    StreamConfig stream;
    stream.pattern = pattern;
    stream.duration = duration;
    stream.live = live;
    stream.fault = fault;
    return stream;
}

const std::vector<StreamConfig>& BuiltInStreams()
{
    static const std::vector<StreamConfig> streams{
        MakeStream("*film*", 10min),
        MakeStream("*short*", 30s),
        MakeStream("*live*", 10min, true),
        MakeStream("*missing*", 0ms, false, StreamFault::Missing),
        MakeStream("*broken*", 0ms, false, StreamFault::Broken),
        MakeStream("*", 1h),
    };
    return streams;
}

std::vector<StreamStall> ReadStalls(const JsonNode& node)
{
    std::vector<StreamStall> stalls;
    for (const JsonNode& element : node.Elements()) {
        JsonObject object(element);
        StreamStall stall;
        for (const auto& [key, time] : {std::pair("atMs", &stall.at), std::pair("forMs", &stall.length)}) {
            object.Get(key);
            object.Read(key, *time);
        }
        object.End();
        stalls.push_back(stall);
    }
    std::sort(stalls.begin(), stalls.end(),
              [](const StreamStall& one, const StreamStall& other) { return one.at < other.at; });
    if (std::adjacent_find(stalls.begin(), stalls.end(),
                           [](const StreamStall& one, const StreamStall& other) {
                               return one.at == other.at;
                           }) != stalls.end())
        node.Fail("must be at different positions");
    return stalls;
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
    if (const auto steps = object.Find("bufferSteps"))
        stream.buffer_steps = static_cast<int>(steps->Whole(1, kMaxSteps));
    object.Read("failAfterMs", stream.fail_after);
    if (const auto stalls = object.Find("stalls"))
        stream.stalls = ReadStalls(*stalls);
    object.Read("windowMs", stream.window);
    if (stream.window && !stream.live)
        object.Get("windowMs").Fail("is for live streams only");
    object.End();
    return stream;
}

}  // namespace

void StreamsConfig::Read(JsonObject& file)
{
    if (const std::optional<JsonNode> section = file.Find("streams")) {
        streams.clear();
        for (const JsonNode& element : section->Elements())
            streams.push_back(ReadStream(element));
    }
    if (const std::optional<JsonNode> section = file.Find("drm")) {
        if (!section->json().isObject())
            section->Fail("must be an object");
        key_systems.clear();
        for (const std::string& type : section->json().getMemberNames())
            key_systems[type] = (*section)[type].As<std::string>();
    }
}

StreamConfig StreamsConfig::Find(const std::string& url) const
{
    const auto fits = [&](const StreamConfig& stream) { return FitsPattern(stream.pattern, url); };
    const auto own = std::find_if(streams.begin(), streams.end(), fits);
    // The last of the built-in patterns fits everything.
    return own != streams.end() ? *own
                                : *std::find_if(BuiltInStreams().begin(), BuiltInStreams().end(), fits);
}

}  // namespace tv
