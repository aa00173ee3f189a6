// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/learn.h"

#include <json/writer.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "core/clock.h"
#include "core/form.h"
#include "core/json_text.h"
#include "tvhost/compare/learned_channels.h"
#include "tvhost/compare/page_texts.h"

namespace host {
namespace {

/// Types of the player's reports.
constexpr int kSeekComplete = 35;
constexpr int kCurrentPosition = 137;
constexpr int kBeginOfStream = 144;

/// Commands that fail for no other reason than that there is no content service.
constexpr const char* kOfContentService[] = {"ZELumoProgramInfoIsAvailable", "GetAppIDAndURL",
                                             "CheckFirstBootInZELumo", "LaunchedZELumoWebApp"};
constexpr const char* kGetters[] = {"GetStringFromVconfWithKey", "GetIntegerFromVconfWithKey",
                                    "GetBooleanFromVconfWithKey"};
constexpr std::size_t kOfBoolean = 2;

template <std::size_t Count>
bool IsOneOf(const std::string& name, const char* const (&names)[Count])
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// The text, or "" for anything else.
std::string TextOf(const Json::Value& value)
{
    return value.isString() ? value.asString() : "";
}

bool IsDate(const Json::Value& value)
{
    return value.isInt64() && value.asInt64() >= 0 && value.asInt64() <= tv::kLastDate;
}

/// Goes through a recording line by line.
class Learner {
  public:
    void Read(const Block& block)
    {
        const Json::Value line = block.line ? ParseLine(*block.line) : Json::Value(Json::objectValue);
        if (line["tv"] == "clock" && IsDate(line["date"]) && !date_)
            date_ = line["date"].asInt64();
        if (line["tv"] == "advance" && line["ms"].isInt())
            playing_time_ += line["ms"].asInt();
        if (line["tv"] == "setting")
            written_.insert(TextOf(line["key"]));
        for (const Block::Expected& expected : block.expected) {
            if (line.isMember("await") && expected.line.isMember("reply"))
                ReadReply(line["await"], expected.line["reply"]);
            else if (expected.line.isMember("message"))
                ReadMessage(expected.line["message"]);
        }
    }

    std::string Write() const
    {
        Json::Value file(Json::objectValue);
        std::optional<std::int64_t> date = date_ ? date_ : now_ ? now_ : channels_.FirstProgram();
        if (date)
            file["date"] = static_cast<Json::Int64>(*date);
        channels_.Write(file, date.value_or(0));
        if (settings_)
            file["settings"] = *settings_;
        for (const auto& [section, members] : sections_)
            file[section] = members;
        for (const auto& [address, stream] : streams_) {
            if (stream.isMember("duration"))
                file["streams"].append(stream)["pattern"] = address;
        }
        // Where it fails whatever it is asked, the TV has none.
        if (content_failed_ && !content_answered_)
            file["contentService"]["available"] = false;
        Json::StreamWriterBuilder writer;
        writer["indentation"] = "  ";
        writer["emitUTF8"] = true;
        return Json::writeString(writer, file) + '\n';
    }

  private:
    void ReadReply(const Json::Value& message, const Json::Value& raw_reply)
    {
        if (!message.isObject())
            return;
        const std::string command = CommandOf(message);
        const Json::Value reply = texts_.Opened(command, raw_reply);
        const bool succeeded = reply.isObject() && reply["code"] == 0;
        const Json::Value data = succeeded ? reply["data"] : Json::Value();
        ReadContentService(command, succeeded, data);
        ReadFirstUse(command, succeeded, data);
        ReadSetting(command, message["key"], succeeded, data);
        if (!succeeded)
            return;
        if (command == "Init" && message["url"].isString())
            address_ = message["url"].asString();
        // Once there is another command of the player, the time says nothing of the buffer.
        if (texts_.IsPlayers(command))
            filling_.reset();
        if (command == "Play")
            filling_ = {kBeginOfStream, playing_time_};
        else if (command == "Seek" || command == "JumpForward" || command == "JumpBackward")
            filling_ = {kSeekComplete, playing_time_};
        if (command == "SetNextService" || command == "SetPreviousService")
            channels_.Moved(data != true ? 0 : command == "SetNextService" ? 1 : -1);
        if (command == "SetServiceByServiceid" && message["Serviceid"].isString()) {
            channels_.Exists(std::to_string(std::strtoull(message["Serviceid"].asCString(), nullptr, 0)));
            channels_.Tuned();
        }
        if (!data.isObject())
            return;
        if (command == "GetAppIDAndURL") {
            Tell("application", "id", data["appID"], data["appID"].isString());
            Tell("application", "url", data["URL"], data["URL"].isString());
        } else if (command == "GetZELumoServices") {
            channels_.ReadServiceList(data);
        } else if (command == "GetFeaturedVirtualChannelInfo") {
            channels_.ReadFeatured(data);
        } else if (command == "GetCurrentChannelInfo") {
            channels_.ReadRecord(data, true);
        } else if (command == "ExtractServiceInformationsFromServiceId") {
            channels_.ReadDescription(data);
        } else {
            ReadContent(command, message, data);
        }
    }

    void ReadMessage(const Json::Value& raw_message)
    {
        if (IsReport(raw_message))
            return ReadReport(raw_message);
        const std::string name = NameOfMessage(raw_message);
        const Json::Value message = texts_.Opened(name, raw_message);
        if (!message.isObject() || !message["data"].isObject())
            return;
        if (message["data"]["ch_info"].isObject())
            channels_.ReadRecord(message["data"]["ch_info"], false);
        if (message["data"]["program_info"].isObject())
            ReadPrograms(message["data"]["program_info"]);
    }

    /// Positions are told with the stream's duration, and the begin when its buffer is full.
    void ReadReport(const Json::Value& report)
    {
        if (address_.empty())
            return;
        Json::Value& stream = streams_[address_];
        if (filling_ && report["type"] == filling_->until) {
            // The way to the TV is a part of each, and of the least of them the least one.
            const Json::Int64 took = playing_time_ - filling_->since;
            stream["bufferMs"] = std::min(took, stream.get("bufferMs", took).asInt64());
            filling_.reset();
        }
        if (report["type"] != kSeekComplete && report["type"] != kCurrentPosition)
            return;
        const std::optional<std::uint64_t> duration = tv::ParseDecimal(TextOf(report["param2"]));
        if (duration && *duration <= std::numeric_limits<std::int32_t>::max())
            stream["duration"] = static_cast<std::int32_t>(*duration);
    }

    /// What the programme guide and the catalogue say.
    void ReadContent(const std::string& command, const Json::Value& message, const Json::Value& data)
    {
        const Json::Value input =
            message["input"].isString()
                ? tv::ParseJsonObject(message["input"].asString()).value_or(Json::Value())
                : Json::Value();
        const std::string id = TextOf(data["TCServiceId"]);
        if (command == "GetServiceIdFromOnTVProviderAndService" && tv::ParseDecimal(id)) {
            for (const char* member : {"provider", "service"}) {
                if (input[member].isString())
                    channels_.Set(id, member, input[member]);
            }
        } else if (command == "GetChannelLogo" && tv::ParseDecimal(id)) {
            if (data["url"].isString())
                channels_.Set(id, "logo", data["url"]);
        } else if (command == "GetOnDemandIdentifier" || command == "SetOnDemandProgram") {
            if (data["programId"].isString() && data["identifier"].isString())
                channels_.SetIdentifier(data["programId"].asString(), data["identifier"].asString());
        } else if (command == "GetVCConfig") {
            Tell("contentService", "version", data["version"], data["version"].isString());
            Tell("contentService", "country", data["country"], data["country"].isString());
        } else {
            ReadPrograms(data);
        }
    }

    void ReadPrograms(const Json::Value& data)
    {
        if (!now_ && IsDate(data["now"]))
            now_ = data["now"].asInt64();
        for (const char* member : {"program", "present", "following"})
            channels_.ReadProgram(data[member]);
        if (data["programs"].isArray()) {
            for (const Json::Value& program : data["programs"])
                channels_.ReadProgram(program);
        }
    }

    void ReadContentService(const std::string& command, bool succeeded, const Json::Value& data)
    {
        if (IsOneOf(command, kOfContentService))
            (succeeded ? content_answered_ : content_failed_) = true;
        content_answered_ =
            content_answered_ || (succeeded && command.rfind("GetProgram", 0) == 0 && !data.isNull());
    }

    void ReadFirstUse(const std::string& command, bool succeeded, const Json::Value& data)
    {
        if (!succeeded)
            return;
        // Either changes the state; what is told then isn't how the TV began.
        if (command == "LaunchedZELumoWebApp" || command == "RestartZelumoInfo")
            has_begun_ = true;
        if (command == "CheckIsFirstBootingInZELumo")
            Tell("firstUse", "firstBoot", data, data.isBool() && !has_begun_);
        else if (command == "IsFirstEntryToZelumo")
            Tell("firstUse", "firstEntry", data, data.isBool() && !has_begun_);
        else if (command == "IsInstantOn")
            Tell("firstUse", "instantOn", data, data.isBool());
        else if (command == "GetViewingAgreement")
            Tell("firstUse", "viewingAgreement", data, data.isBool());
        else if (command == "CheckFirstBootInZELumo" && data.isObject()) {
            Tell("firstUse", "firstEntry", data["isFirstEntry"],
                 data["isFirstEntry"].isBool() && !has_begun_);
            Tell("firstUse", "instantOn", data["isInstantOn"], data["isInstantOn"].isBool());
        }
    }

    void ReadSetting(const std::string& command, const Json::Value& key_value, bool succeeded,
                     const Json::Value& data)
    {
        if (!key_value.isString() || key_value.asString().empty())
            return;
        const std::string key = key_value.asString();
        if (command.rfind("Set", 0) == 0 && command.find("ToVconfWithKey") != std::string::npos) {
            if (succeeded)
                written_.insert(key);
            return;
        }
        if (!IsOneOf(command, kGetters) || written_.count(key) != 0)
            return;
        // One that isn't there, or holds another type, is told, too: the sample TV's own are not there then.
        if (!settings_)
            settings_ = Json::Value(Json::objectValue);
        if (!succeeded || settings_->isMember(key))
            return;
        if (command == kGetters[kOfBoolean])
            (*settings_)[key] = data.isInt() && data.asInt() != 0;
        else if (data.isString() || data.isInt())
            (*settings_)[key] = data;
    }

    /// What is told first counts.
    void Tell(const char* section, const char* member, const Json::Value& value, bool counts)
    {
        if (counts && !sections_[section].isMember(member))
            sections_[section][member] = value;
    }

    const PageTexts texts_;
    LearnedChannels channels_;
    std::map<std::string, Json::Value> sections_;
    std::optional<Json::Value> settings_;
    std::set<std::string> written_;
    std::optional<std::int64_t> date_;  ///< that the TV was set to
    std::optional<std::int64_t> now_;   ///< that it told first
    std::string address_;               ///< of the stream that plays
    std::map<std::string, Json::Value> streams_;
    std::int64_t playing_time_ = 0;  ///< that has passed
    /// A buffer that is being filled.
    struct Filling {
        int until;           ///< the type of the report that says that it is full
        std::int64_t since;  ///< a playing time
    };
    std::optional<Filling> filling_;
    bool has_begun_ = false;
    bool content_failed_ = false;
    bool content_answered_ = false;
};

}  // namespace

std::string LearnTv(const ScriptFile& recording)
{
    Learner learner;
    for (const Block& block : recording.blocks)
        learner.Read(block);
    return learner.Write();
}

}  // namespace host
