#include "tv/tv_file.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <utility>

#include "core/values.h"
#include "services/tv/tv_service_json.h"
#include "tv/sample_tv_text.h"

namespace tv {
namespace {

constexpr long long kLastDateMs = 253402300799999;  // the end of the year 9999
constexpr int kMaxMinutes = 24 * 60;
constexpr int kMaxDepth = 64;

bool IsUtf8(std::string_view text)
{
    using Traits = boost::locale::utf::utf_traits<char>;
    for (auto next = text.begin(); next != text.end();) {
        if (!boost::locale::utf::is_valid_codepoint(Traits::decode(next, text.end())))
            return false;
    }
    return true;
}

bool IsDigits(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// A value of the file and where it stands. Reads it as what is asked for, or fails with its place.
class Node {
  public:
    /// `value` outlives this object.
    Node(const Json::Value& value, std::string path) : value_(&value), path_(std::move(path)) {}

    const Json::Value& json() const { return *value_; }

    [[noreturn]] void Fail(const std::string& why) const
    {
        throw TvFileError((path_.empty() ? "the file" : path_) + ": " + why);
    }

    Node operator[](const std::string& key) const
    {
        const bool plain = std::all_of(key.begin(), key.end(), [](unsigned char c) {
            return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        });
        if (!plain || key.empty())
            return {(*value_)[key], path_ + '[' + Json::valueToQuotedString(key.c_str()) + ']'};
        return {(*value_)[key], path_.empty() ? key : path_ + '.' + key};
    }
    std::vector<Node> Elements() const
    {
        if (!value_->isArray())
            Fail("must be an array");
        std::vector<Node> elements;
        for (Json::ArrayIndex i = 0; i < value_->size(); ++i)
            elements.emplace_back((*value_)[i], path_ + '[' + std::to_string(i) + ']');
        return elements;
    }

    std::string Text() const
    {
        if (!value_->isString())
            Fail("must be a string");
        std::string text = value_->asString();
        if (!IsUtf8(text))
            Fail("must be whole characters");
        return text;
    }
    bool Bool() const
    {
        if (!value_->isBool())
            Fail("must be true or false");
        return value_->asBool();
    }
    int Int32() const
    {
        if (!IsInt32(*value_))
            Fail("must be a whole number of 32 bits");
        return value_->asInt();
    }
    long long Whole(long long least, long long most) const
    {
        if (!value_->isNumeric() || !value_->isInt64() || value_->asInt64() < least ||
            value_->asInt64() > most)
            Fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
        return value_->asInt64();
    }
    std::chrono::milliseconds Milliseconds() const { return std::chrono::milliseconds(Whole(0, 0x7FFFFFFF)); }
    unsigned long long ServiceId() const
    {
        DecimalId id;
        if (!FromJson(*value_, id))
            Fail("must be a string of decimal digits, of 64 bits");
        return id.value;
    }

  private:
    const Json::Value* value_;
    std::string path_;
};

/// An object of the file: what is read of it is known, the rest is a mistake.
class Object {
  public:
    explicit Object(Node node) : node_(std::move(node))
    {
        if (!node_.json().isObject())
            node_.Fail("must be an object");
    }

    const Node& node() const { return node_; }

    /// The member of that name, if there is one.
    std::optional<Node> Find(const std::string& key)
    {
        known_.push_back(key);
        if (!node_.json().isMember(key))
            return std::nullopt;
        return node_[key];
    }
    Node Get(const std::string& key)
    {
        const std::optional<Node> member = Find(key);
        if (!member)
            node_[key].Fail("is missing");
        return *member;
    }

    void Read(const char* key, std::string& target)
    {
        if (const auto member = Find(key))
            target = member->Text();
    }
    void Read(const char* key, bool& target)
    {
        if (const auto member = Find(key))
            target = member->Bool();
    }
    void Read(const char* key, int& target)
    {
        if (const auto member = Find(key))
            target = member->Int32();
    }
    void Read(const char* key, std::chrono::milliseconds& target)
    {
        if (const auto member = Find(key))
            target = member->Milliseconds();
    }

    void End() const
    {
        for (const std::string& key : node_.json().getMemberNames()) {
            if (std::find(known_.begin(), known_.end(), key) == known_.end())
                node_[key].Fail("is not known");
        }
    }

  private:
    Node node_;
    std::vector<std::string> known_;
};

ProgramText ReadProgramText(Object& object)
{
    ProgramText text;
    text.title = object.Get("title").Text();
    object.Read("synopsis", text.synopsis);
    object.Read("genre", text.genre);
    object.Read("identifier", text.identifier);
    return text;
}

std::vector<GuideEntry> ReadGuide(const Node& node)
{
    std::vector<GuideEntry> guide;
    for (const Node& element : node.Elements()) {
        Object object(element);
        GuideEntry entry;
        entry.text = ReadProgramText(object);
        entry.length = std::chrono::minutes(object.Get("minutes").Whole(1, kMaxMinutes));
        object.End();
        guide.push_back(std::move(entry));
    }
    return guide;
}

std::vector<ProgramText> ReadPrograms(const Node& node)
{
    std::vector<ProgramText> programs;
    for (const Node& element : node.Elements()) {
        Object object(element);
        programs.push_back(ReadProgramText(object));
        object.End();
    }
    if (programs.empty())
        node.Fail("must hold at least one programme");
    return programs;
}

const char* DescribeField(int field)
{
    switch (field) {
        case ESERVICE_FIELD_SERVICE_ID:
            return "must be a string of decimal digits, of 64 bits";
        case ESERVICE_FIELD_NAME:
            return "must be a string, or {\"hex\": its units in hexadecimal}";
        case ESERVICE_FIELD_EXTRA:
            return "must be an object or a string, or {\"hex\": its units in hexadecimal}";
        case ESERVICE_FIELD_TYPE:
        case ESERVICE_FIELD_FREQUENCY:
        case ESERVICE_FIELD_TUNE_MODE:
            return "must be a whole number of 32 bits";
        case ESERVICE_FIELD_MAJOR:
        case ESERVICE_FIELD_MINOR:
        case ESERVICE_FIELD_PTC:
        case ESERVICE_FIELD_LOCK:
        case ESERVICE_FIELD_PROGRAM_NUMBER:
        case ESERVICE_FIELD_SOURCE_ID:
        case ESERVICE_FIELD_ORIGINAL_NETWORK_ID:
        case ESERVICE_FIELD_TRANSPORT_STREAM_ID:
            return "must be a whole number from 0 to 65535";
        default:
            return "must be a whole number";
    }
}

/// The text of the extra members may be written as the object that it says.
Json::Value WithExtraAsText(int field, const Json::Value& value)
{
    const bool raw = value.isObject() && value.size() == 1 && value.isMember("hex");
    if (field != ESERVICE_FIELD_EXTRA || !value.isObject() || raw)
        return value;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

/// The fields of a channel, by name or by number.
TCServiceData ReadService(Object& object)
{
    struct FieldName {
        const char* name;
        int field;
    };
    // clang-format off
    constexpr FieldName kNames[] = {
        {"id",                ESERVICE_FIELD_SERVICE_ID},
        {"name",              ESERVICE_FIELD_NAME},
        {"major",             ESERVICE_FIELD_MAJOR},
        {"minor",             ESERVICE_FIELD_MINOR},
        {"type",              ESERVICE_FIELD_TYPE},
        {"lock",              ESERVICE_FIELD_LOCK},
        {"ptc",               ESERVICE_FIELD_PTC},
        {"frequency",         ESERVICE_FIELD_FREQUENCY},
        {"tuneMode",          ESERVICE_FIELD_TUNE_MODE},
        {"programNumber",     ESERVICE_FIELD_PROGRAM_NUMBER},
        {"sourceId",          ESERVICE_FIELD_SOURCE_ID},
        {"originalNetworkId", ESERVICE_FIELD_ORIGINAL_NETWORK_ID},
        {"transportStreamId", ESERVICE_FIELD_TRANSPORT_STREAM_ID},
        {"extra",             ESERVICE_FIELD_EXTRA},
    };
    // clang-format on
    TCServiceData service;
    const auto add = [&service](int field, const Node& node) {
        Json::Value one;
        one[std::to_string(field)] = WithExtraAsText(field, node.json());
        TCServiceData read;
        if (!FromJson(one, read))
            node.Fail(DescribeField(field));
        if (service.Find(field) != nullptr)
            node.Fail("field " + std::to_string(field) + " is given twice");
        service.Set(field, *read.Find(field));
    };
    for (const FieldName& row : kNames) {
        if (const auto member = object.Find(row.name))
            add(row.field, *member);
    }
    for (const std::string& key : object.node().json().getMemberNames()) {
        const std::optional<std::uint64_t> number = IsDigits(key) ? ParseDecimal(key) : std::nullopt;
        if (!number)
            continue;
        const Node member = *object.Find(key);
        if (*number > 0x7FFFFFFF || (key.size() > 1 && key[0] == '0'))
            member.Fail("is not the number of a field");
        add(static_cast<int>(*number), member);
    }
    return service;
}

ChannelConfig ReadChannel(const Node& node)
{
    Object object(node);
    ChannelConfig channel;
    channel.service = ReadService(object);
    if (!channel.service.Get(ESERVICE_FIELD_SERVICE_ID, channel.id))
        node["id"].Fail("is missing");
    if (const TCServiceData::Value* const name = channel.service.Find(ESERVICE_FIELD_NAME))
        channel.name = DecodeUnits(std::get<std::string>(*name));
    object.Read("provider", channel.provider);
    object.Read("service", channel.provider_service);
    object.Read("logo", channel.logo);
    object.Read("channelType", channel.channel_type);
    object.Read("profile", channel.profile);
    object.Read("directTune", channel.direct_tune);
    object.Read("genre", channel.genre);
    if (const auto guide = object.Find("guide"))
        channel.guide = ReadGuide(*guide);
    object.End();
    return channel;
}

std::vector<ChannelConfig> ReadChannels(const Node& node)
{
    std::vector<ChannelConfig> channels;
    std::map<unsigned long long, std::size_t> places;
    for (const Node& element : node.Elements()) {
        channels.push_back(ReadChannel(element));
        const auto [place, is_new] = places.emplace(channels.back().id, channels.size() - 1);
        if (!is_new)
            element["id"].Fail("is that of channels[" + std::to_string(place->second) + "] as well");
    }
    return channels;
}

std::map<std::string, SettingValue> ReadSettings(const Node& node)
{
    const Object object(node);
    std::map<std::string, SettingValue> settings;
    for (const std::string& key : object.node().json().getMemberNames()) {
        const Node member = object.node()[key];
        if (key.empty())
            member.Fail("a key must not be empty");
        SettingValue value;
        if (!FromJson(member.json(), value))
            member.Fail("must be a string, a whole number of 32 bits, or true or false");
        if (std::holds_alternative<std::string>(value))
            member.Text();
        settings.emplace(key, std::move(value));
    }
    return settings;
}

std::vector<StreamConfig> ReadStreams(const Node& node)
{
    std::vector<StreamConfig> streams;
    for (const Node& element : node.Elements()) {
        Object object(element);
        StreamConfig stream;
        stream.pattern = object.Get("pattern").Text();
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
        streams.push_back(std::move(stream));
    }
    return streams;
}

void ReadExtension(const Node& node, TvConfig::Extension& extension)
{
    Object object(node);
    object.Read("embedderName", extension.embedder_name);
    if (const auto info = object.Find("extensionInfo"))
        extension.extension_info = info->json();
    if (const auto privileges = object.Find("privileges")) {
        extension.privileges.clear();
        for (const Node& element : privileges->Elements())
            extension.privileges.push_back(element.Text());
    }
    object.Read("windowId", extension.window_id);
    object.End();
}

/// What holds only of the whole.
void CheckTogether(const Node& root, const TvConfig& config)
{
    const auto has_id = [&](const ChannelConfig& channel) { return channel.id == config.current; };
    if (config.current && std::none_of(config.channels.begin(), config.channels.end(), has_id))
        root["current"].Fail("no channel has this id");
    for (std::size_t i = 0; i < config.channels.size(); ++i) {
        const std::string& genre = config.channels[i].genre;
        const auto fits = [&](const ProgramText& program) { return program.genre == genre; };
        if (!genre.empty() && std::none_of(config.programs.begin(), config.programs.end(), fits))
            Node(root.json(), "channels[" + std::to_string(i) + "].genre").Fail("no programme has it");
    }
}

TvConfig ReadTv(const Json::Value& json, const TvConfig& base)
{
    TvConfig config = base;
    Object root(Node(json, ""));
    if (const auto date = root.Find("date"))
        config.date = std::chrono::milliseconds(date->Whole(0, kLastDateMs));
    if (const auto channels = root.Find("channels")) {
        config.channels = ReadChannels(*channels);
        config.current.reset();
    }
    if (const auto current = root.Find("current"))
        config.current = current->ServiceId();
    if (const auto programs = root.Find("programs"))
        config.programs = ReadPrograms(*programs);
    const auto section = [&root](const char* key, auto read) {
        if (const auto member = root.Find(key)) {
            Object object(*member);
            read(object);
            object.End();
        }
    };
    section("tvMode", [&](Object& object) {
        object.Read("antennaMode", config.tv_mode.antennaMode);
        object.Read("serviceMode", config.tv_mode.serviceMode);
    });
    section("source", [&](Object& object) {
        object.Read("value", config.source.value);
        object.Read("flag", config.source.flag);
    });
    section("contentService", [&](Object& object) {
        object.Read("available", config.content_service.available);
        object.Read("version", config.content_service.version);
        object.Read("country", config.content_service.country);
    });
    section("firstUse", [&](Object& object) {
        object.Read("firstBoot", config.first_use.first_boot);
        object.Read("firstEntry", config.first_use.first_entry);
        object.Read("instantOn", config.first_use.instant_on);
        object.Read("viewingAgreement", config.first_use.viewing_agreement);
    });
    section("application", [&](Object& object) {
        object.Read("id", config.application.id);
        object.Read("url", config.application.url);
    });
    if (const auto settings = root.Find("settings"))
        config.settings = ReadSettings(*settings);
    if (const auto streams = root.Find("streams"))
        config.streams = ReadStreams(*streams);
    if (const auto extension = root.Find("extension"))
        ReadExtension(*extension, config.extension);
    root.End();
    CheckTogether(root.node(), config);
    return config;
}

/// The first of the parser's errors, in one line: "line 3, column 5: Missing ',' or '}' …".
std::string FirstError(std::string errors)
{
    if (errors.rfind("* Line", 0) == 0)
        errors.replace(0, 6, "line");
    const std::size_t column = errors.find("Column");
    if (column != std::string::npos)
        errors[column] = 'c';
    const std::size_t first = errors.find('\n');
    if (first == std::string::npos)
        return errors;
    const std::size_t text = errors.find_first_not_of(" \n", first);
    if (text == std::string::npos)
        return errors.substr(0, first);
    return errors.substr(0, first) + ": " + errors.substr(text, errors.find('\n', text) - text);
}

}  // namespace

TvConfig ParseTv(std::string_view text, const TvConfig& base)
{
    if (!IsUtf8(text))
        throw TvFileError("the file: is not UTF-8");
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = kMaxDepth;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value json;
    std::string errors;
    try {
        if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors))
            throw TvFileError(FirstError(errors));
    } catch (const Json::Exception&) {
        throw TvFileError("the file: is nested too deeply");
    }
    return ReadTv(json, base);
}

TvConfig ReadTvFile(const std::filesystem::path& file)
{
    const auto fail = [&file](const std::string& why) -> TvFileError {
        return TvFileError(file.string() + ": " + why);
    };
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw fail(std::generic_category().message(EISDIR));
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream.is_open() || stream.bad())
        throw fail(std::generic_category().message(errno != 0 ? errno : EIO));
    try {
        return ParseTv(text, SampleTv());
    } catch (const TvFileError& mistake) {
        throw fail(mistake.what());
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
