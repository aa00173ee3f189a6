#include "services/content/content_service.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>

#include "core/values.h"
#include "services/content/guide.h"
#include "services/content/pictures.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kUsualSpan = std::chrono::hours(6);
constexpr milliseconds kLongestSpan = std::chrono::hours(7 * 24);
constexpr milliseconds kLastTime{253402300799999};  // the end of the year 9999

std::string Write(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

/// A request's members; nothing when the text is no JSON object.
std::optional<Json::Value> ParseRequest(const std::string& text)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["rejectDupKeys"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value request;
    try {
        if (!reader->parse(text.data(), text.data() + text.size(), &request, nullptr) || !request.isObject())
            return std::nullopt;
    } catch (const Json::Exception&) {
        return std::nullopt;
    }
    return request;
}

Json::Value TimeJson(milliseconds time)
{
    return static_cast<Json::Int64>(time.count());
}

std::optional<milliseconds> ReadTime(const Json::Value& json)
{
    if (!json.isNumeric() || !json.isInt64() || json.asInt64() < 0 || json.asInt64() > kLastTime.count())
        return std::nullopt;
    return milliseconds(json.asInt64());
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

const ChannelConfig* FindChannel(const TvConfig& config, unsigned long long id)
{
    const auto channel = std::find_if(config.channels.begin(), config.channels.end(),
                                      [id](const ChannelConfig& one) { return one.id == id; });
    return channel == config.channels.end() ? nullptr : &*channel;
}

/// The channel that a request names by "TCServiceId".
const ChannelConfig* RequestedChannel(const TvConfig& config, const std::optional<Json::Value>& request)
{
    DecimalId id;
    if (!request || !FromJson((*request)["TCServiceId"], id))
        return nullptr;
    return FindChannel(config, id.value);
}

struct ChannelProgram {
    const ChannelConfig& channel;
    Program program;
};

std::optional<std::string> RequestedProgramId(const std::string& text)
{
    const std::optional<Json::Value> request = ParseRequest(text);
    std::string id;
    if (!request || !FromJson((*request)["programId"], id))
        return std::nullopt;
    return id;
}

std::optional<ChannelProgram> FindProgram(const TvConfig& config, const Guide& guide, const std::string& id)
{
    const std::size_t dash = id.find('-');
    if (dash == std::string::npos)
        return std::nullopt;
    const std::optional<std::uint64_t> service_id = ParseDecimal(id.substr(0, dash));
    const std::optional<std::uint64_t> start = ParseDecimal(id.substr(dash + 1));
    if (!service_id || !start || *start > static_cast<std::uint64_t>(kLastTime.count() / 1000))
        return std::nullopt;
    const ChannelConfig* const channel = FindChannel(config, *service_id);
    if (channel == nullptr)
        return std::nullopt;
    const auto program = guide.StartingAt(*channel, seconds(static_cast<std::int64_t>(*start)));
    // An id has one spelling: no zeros in front.
    if (!program || ProgramId(*channel, *program) != id)
        return std::nullopt;
    return ChannelProgram{*channel, *program};
}

std::optional<ChannelProgram> RequestedProgram(const TvConfig& config, const Guide& guide,
                                               const std::string& text)
{
    const std::optional<std::string> id = RequestedProgramId(text);
    if (!id)
        return std::nullopt;
    return FindProgram(config, guide, *id);
}

}  // namespace

ContentService::Snapshot ContentService::snapshot() const
{
    const std::lock_guard lock(mutex_);
    return {config_, first_use_};
}

void ContentService::Load(std::shared_ptr<const TvConfig> config)
{
    const std::lock_guard lock(mutex_);
    config_ = std::move(config);
    first_use_ = config_->first_use;
    on_demand_.clear();
}

void ContentService::SetLaunched()
{
    const std::lock_guard lock(mutex_);
    first_use_.first_boot = false;
    first_use_.first_entry = false;
}

void ContentService::Restart()
{
    const std::lock_guard lock(mutex_);
    first_use_.first_boot = true;
    first_use_.first_entry = true;
    on_demand_.clear();
}

ContentService::Answer ContentService::GetProgramList(const std::string& request) const
{
    const auto config = snapshot().config;
    const std::optional<Json::Value> members = ParseRequest(request);
    const ChannelConfig* const channel = RequestedChannel(*config, members);
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

    const Guide guide(*config, clock_.DateAsSet());
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
    return Write(answer);
}

ContentService::Answer ContentService::GetProgram(const std::string& request) const
{
    const auto config = snapshot().config;
    const auto found = RequestedProgram(*config, Guide(*config, clock_.DateAsSet()), request);
    if (!found)
        return std::nullopt;
    Json::Value answer;
    answer["program"] = ProgramJson(found->channel, found->program);
    return Write(answer);
}

ContentService::Answer ContentService::GetPresentProgram(const std::string& request) const
{
    const auto config = snapshot().config;
    const ChannelConfig* const channel = RequestedChannel(*config, ParseRequest(request));
    if (channel == nullptr)
        return std::nullopt;
    const milliseconds now = clock_.Date();
    const Guide guide(*config, clock_.DateAsSet());
    const Program present = guide.At(*channel, now);
    Json::Value answer;
    answer["TCServiceId"] = ToJson(DecimalId{channel->id});
    answer["now"] = TimeJson(now);
    answer["present"] = ProgramJson(*channel, present);
    answer["following"] = ProgramJson(*channel, guide.At(*channel, present.end));
    return Write(answer);
}

ContentService::Answer ContentService::GetChannelLogo(const std::string& request) const
{
    const auto config = snapshot().config;
    const ChannelConfig* const channel = RequestedChannel(*config, ParseRequest(request));
    if (channel == nullptr)
        return std::nullopt;
    Json::Value answer;
    answer["TCServiceId"] = ToJson(DecimalId{channel->id});
    answer["url"] = channel->logo.empty() ? DrawLogo(channel->id, channel->name) : channel->logo;
    return Write(answer);
}

ContentService::Answer ContentService::GetProgramThumbnail(const std::string& request) const
{
    const auto config = snapshot().config;
    const auto found = RequestedProgram(*config, Guide(*config, clock_.DateAsSet()), request);
    if (!found)
        return std::nullopt;
    Json::Value answer;
    const std::string id = ProgramId(found->channel, found->program);
    answer["programId"] = id;
    answer["url"] = DrawThumbnail(id, found->program.text->title);
    return Write(answer);
}

ContentService::Answer ContentService::GetProgramBackground(const std::string& request) const
{
    const auto config = snapshot().config;
    const auto found = RequestedProgram(*config, Guide(*config, clock_.DateAsSet()), request);
    if (!found)
        return std::nullopt;
    Json::Value answer;
    const std::string id = ProgramId(found->channel, found->program);
    answer["programId"] = id;
    answer["url"] = DrawBackground(id);
    return Write(answer);
}

ContentService::Answer ContentService::SetOnDemandProgram(const std::string& request)
{
    Answer answer = GetOnDemandIdentifier(request);
    if (answer) {
        const std::lock_guard lock(mutex_);
        on_demand_.insert(*RequestedProgramId(request));
    }
    return answer;
}

ContentService::Answer ContentService::UnsetOnDemandProgram(const std::string& request)
{
    const std::optional<std::string> id = RequestedProgramId(request);
    if (!id)
        return std::nullopt;
    const auto config = snapshot().config;
    const bool exists = FindProgram(*config, Guide(*config, clock_.DateAsSet()), *id).has_value();
    const std::lock_guard lock(mutex_);
    // A mark may be older than the guide that its programme stood in.
    const bool removed = on_demand_.erase(*id) > 0;
    if (!removed && !exists)
        return std::nullopt;
    Json::Value answer;
    answer["programId"] = *id;
    answer["removed"] = removed;
    return Write(answer);
}

ContentService::Answer ContentService::GetOnDemandIdentifier(const std::string& request) const
{
    const auto config = snapshot().config;
    const auto found = RequestedProgram(*config, Guide(*config, clock_.DateAsSet()), request);
    if (!found)
        return std::nullopt;
    Json::Value answer;
    answer["programId"] = ProgramId(found->channel, found->program);
    answer["identifier"] = Identifier(found->channel, found->program);
    return Write(answer);
}

ContentService::Answer ContentService::GetVCConfig(const std::string& request) const
{
    if (!ParseRequest(request))
        return std::nullopt;
    const auto config = snapshot().config;
    Json::Value answer;
    answer["version"] = config->content_service.version;
    answer["country"] = config->content_service.country;
    answer["channels"] = static_cast<Json::UInt64>(config->channels.size());
    return Write(answer);
}

ContentService::Answer ContentService::GetFeaturedVirtualChannelInfo(const std::string& request) const
{
    if (!ParseRequest(request))
        return std::nullopt;
    Json::Value channels(Json::arrayValue);
    const auto config = snapshot().config;
    for (const ChannelConfig& channel : config->channels) {
        int major = 0;
        int minor = 0;
        channel.service.Get(ESERVICE_FIELD_MAJOR, major);
        channel.service.Get(ESERVICE_FIELD_MINOR, minor);
        Json::Value one;
        one["TCServiceId"] = ToJson(DecimalId{channel.id});
        one["name"] = channel.name;
        one["major"] = major;
        one["minor"] = minor;
        channels.append(std::move(one));
    }
    Json::Value answer;
    answer["channels"] = std::move(channels);
    return Write(answer);
}

ContentService::Answer ContentService::GetServiceIdFromOnTVProviderAndService(
    const std::string& request) const
{
    const std::optional<Json::Value> members = ParseRequest(request);
    std::string provider;
    std::string service;
    if (!members || !FromJson((*members)["provider"], provider) || !FromJson((*members)["service"], service))
        return std::nullopt;
    const auto config = snapshot().config;
    for (const ChannelConfig& channel : config->channels) {
        const bool named = !channel.provider.empty() || !channel.provider_service.empty();
        if (!named || channel.provider != provider || channel.provider_service != service)
            continue;
        Json::Value answer;
        answer["TCServiceId"] = ToJson(DecimalId{channel.id});
        return Write(answer);
    }
    return std::nullopt;
}

ContentService::Answer ContentService::ProgramInfoIsAvailable() const
{
    Json::Value answer;
    answer["available"] = true;
    return Write(answer);
}

std::optional<ExtractedServiceInfomations> ContentService::DescribeService(
    unsigned long long service_id) const
{
    const auto config = snapshot().config;
    const ChannelConfig* const channel = FindChannel(*config, service_id);
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
