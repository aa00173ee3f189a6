// SPDX-License-Identifier: Apache-2.0
#include "services/content/content_service.h"

#include <algorithm>

#include "core/form.h"
#include "core/json_text.h"
#include "services/content/guide.h"
#include "services/content/pictures.h"
#include "services/tv/line_up.h"
#include "services/tv/tv_service.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kUsualSpan = std::chrono::hours(6);
constexpr milliseconds kLongestSpan = std::chrono::hours(7 * 24);

Json::Value TimeJson(milliseconds time)
{
    return static_cast<Json::Int64>(time.count());
}

std::optional<milliseconds> ReadTime(const Json::Value& json)
{
    std::int64_t time = 0;
    if (!FromJson(json, time) || time < 0 || time > kLastDate)
        return std::nullopt;
    return milliseconds(time);
}

std::string ProgramId(const ChannelConfig& channel, const Program& program)
{
    return std::to_string(channel.id) + '-' + std::to_string(program.start.count());
}

std::string Identifier(const ChannelConfig& channel, const Program& program)
{
    return program.text->identifier.empty() ? "od-" + ProgramId(channel, program) : program.text->identifier;
}

Json::Value ProgramJson(const ChannelConfig& channel, const Program& program)
{
    Json::Value json;
    json["programId"] = ProgramId(channel, program);
    json["TCServiceId"] = ToJson(DecimalId{channel.id});
    json["title"] = program.text->title;
    json["synopsis"] = program.text->synopsis;
    json["genre"] = program.text->genre;
    json["startTime"] = TimeJson(program.start);
    json["endTime"] = TimeJson(program.end);
    return json;
}

const ChannelConfig* FindChannel(const LineUp& line_up, unsigned long long id)
{
    const std::optional<std::size_t> place = line_up.PlaceOf(id);
    return place ? &line_up.channels[*place] : nullptr;
}

/// The channel that a request names by "TCServiceId".
const ChannelConfig* RequestedChannel(const LineUp& line_up, const std::optional<Json::Value>& request)
{
    DecimalId id;
    if (!request || !FromJson((*request)["TCServiceId"], id))
        return nullptr;
    return FindChannel(line_up, id.value);
}

struct ChannelProgram {
    const ChannelConfig& channel;
    Program program;
};

std::optional<std::string> RequestedProgramId(const std::string& text)
{
    const std::optional<Json::Value> request = ParseJsonObject(text);
    std::string id;
    if (!request || !FromJson((*request)["programId"], id))
        return std::nullopt;
    return id;
}

std::optional<ChannelProgram> FindProgram(const LineUp& line_up, const Guide& guide, const std::string& id)
{
    const std::size_t dash = id.find('-');
    if (dash == std::string::npos)
        return std::nullopt;
    const std::optional<std::uint64_t> service_id = ParseDecimal(id.substr(0, dash));
    const std::optional<std::uint64_t> start = ParseDecimal(id.substr(dash + 1));
    if (!service_id || !start || *start > static_cast<std::uint64_t>(kLastDate / 1000))
        return std::nullopt;
    const ChannelConfig* const channel = FindChannel(line_up, *service_id);
    if (channel == nullptr)
        return std::nullopt;
    const auto program = guide.StartingAt(*channel, seconds(static_cast<std::int64_t>(*start)));
    // An id has one spelling: no zeros in front.
    if (!program || ProgramId(*channel, *program) != id)
        return std::nullopt;
    return ChannelProgram{*channel, *program};
}

std::optional<ChannelProgram> RequestedProgram(const LineUp& line_up, const Guide& guide,
                                               const std::string& text)
{
    const std::optional<std::string> id = RequestedProgramId(text);
    if (!id)
        return std::nullopt;
    return FindProgram(line_up, guide, *id);
}

}  // namespace

void ContentConfig::Read(JsonObject& file)
{
    file.ReadObject("contentService", [&](JsonObject& section) {
        section.Read("available", available);
        section.Read("version", version);
        section.Read("country", country);
    });
    file.ReadObject("firstUse", [&](JsonObject& section) {
        section.Read("firstBoot", first_use.first_boot);
        section.Read("firstEntry", first_use.first_entry);
        section.Read("instantOn", first_use.instant_on);
        section.Read("viewingAgreement", first_use.viewing_agreement);
    });
    file.ReadObject("application", [&](JsonObject& section) {
        section.Read("id", application.id);
        section.Read("url", application.url);
    });
}

void ContentService::Load(const ContentConfig& config)
{
    const MutexLock lock(mutex_);
    config_ = config;
    on_demand_.clear();
}

bool ContentService::available() const
{
    const MutexLock lock(mutex_);
    return config_.available;
}

ContentConfig::FirstUse ContentService::first_use() const
{
    const MutexLock lock(mutex_);
    return config_.first_use;
}

ContentConfig::Application ContentService::application() const
{
    const MutexLock lock(mutex_);
    return config_.application;
}

void ContentService::SetLaunched()
{
    const MutexLock lock(mutex_);
    config_.first_use.first_boot = false;
    config_.first_use.first_entry = false;
}

void ContentService::Restart()
{
    const MutexLock lock(mutex_);
    config_.first_use.first_boot = true;
    config_.first_use.first_entry = true;
    on_demand_.clear();
}

ContentService::Answer ContentService::GetProgramList(const std::string& request) const
{
    const auto whole = TvService::Get().line_up();
    const std::optional<Json::Value> members = ParseJsonObject(request);
    const ChannelConfig* const channel = RequestedChannel(*whole, members);
    if (channel == nullptr)
        return std::nullopt;
    const milliseconds now = clock_.Date();
    const auto from = members->isMember("from") ? ReadTime((*members)["from"]) : now;
    if (!from)
        return std::nullopt;
    auto to = members->isMember("to") ? ReadTime((*members)["to"]) : *from + kUsualSpan;
    if (!to || *to < *from)
        return std::nullopt;
    to = std::min(*to, *from + kLongestSpan);

    const Guide guide(*whole, clock_.DateAsSet());
    Json::Value programs(Json::arrayValue);
    Program program = guide.At(*channel, *from);
    do {
        programs.append(ProgramJson(*channel, program));
        program = guide.At(*channel, program.end);
    } while (program.start < *to);
    Json::Value answer;
    answer["TCServiceId"] = ToJson(DecimalId{channel->id});
    answer["now"] = TimeJson(now);
    answer["programs"] = std::move(programs);
    return WriteJson(answer);
}

template <typename Fill>
ContentService::Answer ContentService::OfProgram(const std::string& request, Fill fill) const
{
    const auto whole = TvService::Get().line_up();
    const auto found = RequestedProgram(*whole, Guide(*whole, clock_.DateAsSet()), request);
    if (!found)
        return std::nullopt;
    Json::Value answer;
    fill(*found, answer);
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetProgram(const std::string& request) const
{
    return OfProgram(request, [](const ChannelProgram& found, Json::Value& answer) {
        answer["program"] = ProgramJson(found.channel, found.program);
    });
}

ContentService::Answer ContentService::GetPresentProgram(const std::string& request) const
{
    const auto whole = TvService::Get().line_up();
    const ChannelConfig* const channel = RequestedChannel(*whole, ParseJsonObject(request));
    if (channel == nullptr)
        return std::nullopt;
    const milliseconds now = clock_.Date();
    const Guide guide(*whole, clock_.DateAsSet());
    const Program present = guide.At(*channel, now);
    Json::Value answer;
    answer["TCServiceId"] = ToJson(DecimalId{channel->id});
    answer["now"] = TimeJson(now);
    answer["present"] = ProgramJson(*channel, present);
    answer["following"] = ProgramJson(*channel, guide.At(*channel, present.end));
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetChannelLogo(const std::string& request) const
{
    const auto whole = TvService::Get().line_up();
    const ChannelConfig* const channel = RequestedChannel(*whole, ParseJsonObject(request));
    if (channel == nullptr)
        return std::nullopt;
    Json::Value answer;
    answer["TCServiceId"] = ToJson(DecimalId{channel->id});
    answer["url"] = channel->logo.empty() ? DrawLogo(channel->id, channel->name) : channel->logo;
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetProgramThumbnail(const std::string& request) const
{
    return OfProgram(request, [](const ChannelProgram& found, Json::Value& answer) {
        const std::string id = ProgramId(found.channel, found.program);
        answer["programId"] = id;
        answer["url"] = DrawThumbnail(id, found.program.text->title);
    });
}

ContentService::Answer ContentService::GetProgramBackground(const std::string& request) const
{
    return OfProgram(request, [](const ChannelProgram& found, Json::Value& answer) {
        const std::string id = ProgramId(found.channel, found.program);
        answer["programId"] = id;
        answer["url"] = DrawBackground(id);
    });
}

ContentService::Answer ContentService::SetOnDemandProgram(const std::string& request)
{
    Answer answer = GetOnDemandIdentifier(request);
    if (answer) {
        const MutexLock lock(mutex_);
        on_demand_.insert(*RequestedProgramId(request));
    }
    return answer;
}

ContentService::Answer ContentService::UnsetOnDemandProgram(const std::string& request)
{
    const std::optional<std::string> id = RequestedProgramId(request);
    if (!id)
        return std::nullopt;
    const auto whole = TvService::Get().line_up();
    const bool exists = FindProgram(*whole, Guide(*whole, clock_.DateAsSet()), *id).has_value();
    const MutexLock lock(mutex_);
    // A mark may be older than the guide that its programme stood in.
    const bool removed = on_demand_.erase(*id) > 0;
    if (!removed && !exists)
        return std::nullopt;
    Json::Value answer;
    answer["programId"] = *id;
    answer["removed"] = removed;
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetOnDemandIdentifier(const std::string& request) const
{
    return OfProgram(request, [](const ChannelProgram& found, Json::Value& answer) {
        answer["programId"] = ProgramId(found.channel, found.program);
        answer["identifier"] = Identifier(found.channel, found.program);
    });
}

ContentService::Answer ContentService::GetVCConfig(const std::string& request) const
{
    if (!ParseJsonObject(request))
        return std::nullopt;
    const std::size_t channels = TvService::Get().line_up()->channels.size();
    const MutexLock lock(mutex_);
    Json::Value answer;
    answer["version"] = config_.version;
    answer["country"] = config_.country;
    answer["channels"] = static_cast<Json::UInt64>(channels);
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetFeaturedVirtualChannelInfo(const std::string& request) const
{
    if (!ParseJsonObject(request))
        return std::nullopt;
    Json::Value list(Json::arrayValue);
    const auto whole = TvService::Get().line_up();
    for (const ChannelConfig& channel : whole->channels) {
        int major = 0;
        int minor = 0;
        channel.service.Get(ESERVICE_FIELD_MAJOR, major);
        channel.service.Get(ESERVICE_FIELD_MINOR, minor);
        Json::Value one;
        one["TCServiceId"] = ToJson(DecimalId{channel.id});
        one["name"] = channel.name;
        one["major"] = major;
        one["minor"] = minor;
        list.append(std::move(one));
    }
    Json::Value answer;
    answer["channels"] = std::move(list);
    return WriteJson(answer);
}

ContentService::Answer ContentService::GetServiceIdFromOnTVProviderAndService(
    const std::string& request) const
{
    const std::optional<Json::Value> members = ParseJsonObject(request);
    std::string provider;
    std::string service;
    if (!members || !FromJson((*members)["provider"], provider) || !FromJson((*members)["service"], service))
        return std::nullopt;
    const auto whole = TvService::Get().line_up();
    for (const ChannelConfig& channel : whole->channels) {
        const bool named = !channel.provider.empty() || !channel.provider_service.empty();
        if (!named || channel.provider != provider || channel.provider_service != service)
            continue;
        Json::Value answer;
        answer["TCServiceId"] = ToJson(DecimalId{channel.id});
        return WriteJson(answer);
    }
    return std::nullopt;
}

ContentService::Answer ContentService::ProgramInfoIsAvailable() const
{
    Json::Value answer;
    answer["available"] = true;
    return WriteJson(answer);
}

std::optional<ExtractedServiceInfomations> ContentService::DescribeService(
    unsigned long long service_id) const
{
    const auto whole = TvService::Get().line_up();
    const ChannelConfig* const channel = FindChannel(*whole, service_id);
    if (channel == nullptr)
        return std::nullopt;
    ExtractedServiceInfomations info;
    info.serviceId = channel->id;
    info.isForDirectTune = channel->direct_tune;
    info.channelType = channel->channel_type;
    info.serviceProfile = channel->profile;
    channel->service.Get(ESERVICE_FIELD_MAJOR, info.channelNumber);
    channel->service.Get(ESERVICE_FIELD_MAJOR, info.major);
    channel->service.Get(ESERVICE_FIELD_MINOR, info.minor);
    channel->service.Get(ESERVICE_FIELD_PROGRAM_NUMBER, info.programNumber);
    return info;
}

}  // namespace tv
