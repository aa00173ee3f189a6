// SPDX-License-Identifier: Apache-2.0
#include "services/tv/line_up.h"

#include <algorithm>
#include <map>
#include <utility>

#include "core/form.h"
#include "core/json_text.h"

namespace tv {
namespace {

constexpr int kMaxMinutes = 24 * 60;

ProgramText ReadProgramText(JsonObject& object)
{
    ProgramText text;
    text.title = object.Get("title").As<std::string>();
    object.Read("synopsis", text.synopsis);
    object.Read("genre", text.genre);
    object.Read("identifier", text.identifier);
    return text;
}

std::vector<GuideEntry> ReadGuide(const JsonNode& node)
{
    std::vector<GuideEntry> guide;
    for (const JsonNode& element : node.Elements()) {
        JsonObject object(element);
        GuideEntry entry;
        entry.text = ReadProgramText(object);
        entry.length = std::chrono::minutes(object.Get("minutes").Whole(1, kMaxMinutes));
        object.End();
        guide.push_back(std::move(entry));
    }
    return guide;
}

std::vector<ProgramText> ReadPrograms(const JsonNode& node)
{
    std::vector<ProgramText> programs;
    for (const JsonNode& element : node.Elements()) {
        JsonObject object(element);
        programs.push_back(ReadProgramText(object));
        object.End();
    }
    if (programs.empty())
        node.Fail("must hold at least one programme");
    return programs;
}

/// The text of the extra members may be written as the object that it says.
Json::Value WithExtraAsText(FieldKind kind, const Json::Value& value)
{
    const bool raw = value.isObject() && value.size() == 1 && value.isMember("hex");
    return kind == FieldKind::Extra && value.isObject() && !raw ? Json::Value(WriteJsonBytes(value)) : value;
}

void AddField(TCServiceData& service, int field, FieldKind kind, const JsonNode& node)
{
    const std::optional<ServiceRecord::Value> value = ReadField(kind, WithExtraAsText(kind, node.json()));
    if (!value)
        node.Fail(std::string("must be ") + WhatIs(kind));
    if (ServiceRecord::Find(service, field) != nullptr)
        node.Fail("field " + std::to_string(field) + " is given twice");
    ServiceRecord::Set(service, field, *value);
}

/// The fields of a channel, by name or by number.
TCServiceData ReadService(JsonObject& object)
{
    TCServiceData service;
    for (const ServiceField& field : ServiceFields()) {
        if (const auto member = object.Find(field.name))
            AddField(service, field.id, field.kind, *member);
    }
    for (const std::string& key : object.node().json().getMemberNames()) {
        const bool digits = !key.empty() && key.find_first_not_of("0123456789") == std::string::npos;
        const std::optional<std::uint64_t> number = digits ? ParseDecimal(key) : std::nullopt;
        if (!number)
            continue;
        const JsonNode member = *object.Find(key);
        if (*number > 0x7FFFFFFF || (key.size() > 1 && key[0] == '0'))
            member.Fail("is not the number of a field");
        AddField(service, static_cast<int>(*number), KindOf(static_cast<int>(*number)), member);
    }
    return service;
}

ChannelConfig ReadChannel(const JsonNode& node)
{
    JsonObject object(node);
    ChannelConfig channel;
    channel.service = ReadService(object);
    if (!channel.service.Get(ESERVICE_FIELD_SERVICE_ID, channel.id))
        node["id"].Fail("is missing");
    if (const ServiceRecord::Value* const name = ServiceRecord::Find(channel.service, ESERVICE_FIELD_NAME))
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

std::vector<ChannelConfig> ReadChannels(const JsonNode& node)
{
    std::vector<ChannelConfig> channels;
    std::map<unsigned long long, std::size_t> places;
    for (const JsonNode& element : node.Elements()) {
        channels.push_back(ReadChannel(element));
        const auto [place, is_new] = places.emplace(channels.back().id, channels.size() - 1);
        if (!is_new)
            element["id"].Fail("is that of channels[" + std::to_string(place->second) + "] as well");
    }
    return channels;
}

}  // namespace

std::optional<std::size_t> LineUp::PlaceOf(unsigned long long id) const
{
    for (std::size_t place = 0; place < channels.size(); ++place) {
        if (channels[place].id == id)
            return place;
    }
    return std::nullopt;
}

void LineUp::Read(JsonObject& file)
{
    if (const auto section = file.Find("channels")) {
        channels = ReadChannels(*section);
        current.reset();
    }
    if (const auto section = file.Find("current"))
        current = section->As<DecimalId>().value;
    if (const auto section = file.Find("programs"))
        programs = ReadPrograms(*section);
    file.ReadObject("tvMode", [&](JsonObject& section) {
        section.Read("antennaMode", tv_mode.antennaMode);
        section.Read("serviceMode", tv_mode.serviceMode);
    });
    file.ReadObject("source", [&](JsonObject& section) {
        section.Read("value", source.value);
        section.Read("flag", source.flag);
    });
}

void LineUp::Check(const JsonNode& file) const
{
    if (current && !PlaceOf(*current))
        file["current"].Fail("no channel has this id");
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::string& genre = channels[i].genre;
        const auto fits = [&](const ProgramText& program) { return program.genre == genre; };
        // The channel may be another TV's, which the file builds upon.
        if (!genre.empty() && std::none_of(programs.begin(), programs.end(), fits))
            file["channels"].Element(i)["genre"].Fail("no programme has it");
    }
}

}  // namespace tv
