// SPDX-License-Identifier: Apache-2.0
#include "soak/ledger.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace soak {

const char kSignalName[] = "signal";
const char kSettingPrefix[] = "soak/";
const char kPostPrefix[] = "posted-";

namespace {

constexpr char kSignalCommand[] = "ITVS_Signal_Unmute_by_pincode_input";
/// Those below are raised by nobody but the soak.
constexpr int kFirstTvEvent = 90018;

bool Begins(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// A message as the plug-in posts it.
Json::Value Posted(const std::string& command, const Json::Value& data)
{
    Json::Value message;
    message["command"] = command;
    message["code"] = 0;
    message["errorName"] = "";
    message["errorMessage"] = "";
    message["data"] = data;
    return message;
}

}  // namespace

PageApi::PageApi()
{
    const Json::Value api = test::J(test::ReadFile(std::filesystem::path(ZELUMO_WEB) / "page-api.json"));
    for (const Json::Value& command : api["commands"]) {
        Command one{command["example"], {0}};
        for (const Json::Value& error : command["errors"])
            one.codes.push_back(error["code"].asInt());
        commands_.push_back(std::move(one));
    }
    for (const Json::Value& error : api["requestErrors"]) {
        Broken one{error["example"], error};
        one.reply.removeMember("when");
        one.reply.removeMember("example");
        broken_.push_back(std::move(one));
    }
    for (const Json::Value& event : api["events"]) {
        const int number = event["event"].asInt();
        (number < kFirstTvEvent ? events_ : tv_events_).push_back(number);
        event_commands_[number] = event["command"].asString();
    }
}

std::string EventName(int event)
{
    return "event " + std::to_string(event);
}

std::string SettingName(const std::string& key)
{
    return "change of " + key;
}

std::string PostName(const std::string& command)
{
    return "answer to " + command;
}

std::string ReportName(int value)
{
    return "report " + std::to_string(value);
}

void Ledger::Expect(const std::string& what, bool certain)
{
    const tv::MutexLock lock(mutex_);
    Range& range = expected_[what];
    ++range.most;
    if (certain)
        ++range.least;
}

void Ledger::MakeCertain()
{
    const tv::MutexLock lock(mutex_);
    for (auto& [what, range] : expected_)
        range.least = range.most;
}

void Ledger::Allow(const std::string& what, int times)
{
    const tv::MutexLock lock(mutex_);
    expected_[what].allowed += static_cast<std::uint64_t>(times);
}

void Ledger::Arrive(std::size_t listener, const Json::Value& message)
{
    const std::string name = NameOf(message);
    const tv::MutexLock lock(mutex_);
    ++count_;
    if (!name.empty())
        ++arrived_[listener][name];
}

std::uint64_t Ledger::CountArrived() const
{
    const tv::MutexLock lock(mutex_);
    return count_;
}

std::vector<std::string> Ledger::Differences() const
{
    const tv::MutexLock lock(mutex_);
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < arrived_.size(); ++i) {
        const auto& arrived = arrived_[i];
        const auto complain = [&](const std::string& what, std::uint64_t count, const Range& range) {
            lines.push_back("listener " + std::to_string(i) + " was told " + std::to_string(count) +
                            " times of \"" + what + "\", not " + std::to_string(range.least) + " to " +
                            std::to_string(range.most + range.allowed));
        };
        for (const auto& [what, range] : expected_) {
            const auto found = arrived.find(what);
            const std::uint64_t count = found == arrived.end() ? 0 : found->second;
            if (count < range.least || count > range.most + range.allowed)
                complain(what, count, range);
        }
        for (const auto& [what, count] : arrived) {
            if (expected_.count(what) == 0)
                complain(what, count, Range());
        }
    }
    return lines;
}

std::string Ledger::NameOf(const Json::Value& message) const
{
    std::string stray = "stray " + test::Text(message).substr(0, 200);
    if (!message.isObject())
        return stray;
    if (message["event"] == "ZELUMO_EVENT") {
        const int value = std::atoi(message["param1"].asCString());
        return message["type"] == kReportType && value >= kFirstReport ? ReportName(value) : "";
    }
    const std::string command = message["command"].asString();
    if (Begins(command, kPostPrefix)) {
        Json::Value refusal = Posted(command, Json::Value());
        refusal["code"] = 9;
        refusal["errorName"] = "NotSupportedError";
        refusal["errorMessage"] = "Parameters is invalid";
        return message == refusal ? PostName(command) : stray;
    }
    if (Begins(command, kSettingPrefix))
        return message == Posted(command, command) ? SettingName(command) : stray;
    Json::Value data;
    if (command == kSignalCommand) {
        data["event"] = 99999;
        return message == Posted(command, data) ? kSignalName : stray;
    }
    if (!message["data"].isObject())
        return "";
    const Json::Value& event = message["data"]["event"];
    const auto& counted = api_.events();
    if (!event.isInt() || std::find(counted.begin(), counted.end(), event.asInt()) == counted.end())
        return "";
    data["event"] = event;
    return message == Posted(api_.EventCommand(event.asInt()), data) ? EventName(event.asInt()) : stray;
}

}  // namespace soak
