// SPDX-License-Identifier: Apache-2.0
#include "soak/people.h"

#include <algorithm>
#include <thread>

#include "tests/support/page.h"
#include "tv/tv.h"

namespace soak {
namespace {

constexpr int kUnknownError = 9999;
/// Watched by every page that registers for events: the plug-in's own player id.
constexpr int kPluginPlayer = 101;

/// A platform call that fails or only takes its time. None of them keeps the plug-in from withdrawing what
/// it has registered, and none touches what identifies a reply.
struct Fault {
    const char* call;
    const char* answer;
};
const Fault kFaults[] = {
    {"vconf_set_str", R"({"result":-1})"},
    {"vconf_set_int", R"({"result":-1})"},
    {"vconf_get_str", R"({"result":null})"},
    {"vconf_get_int", R"({"result":-1})"},
    {"vconf_notify_key_changed", R"({"result":-1})"},
    {"FCAPI::GetVirtualChannelsAPI", R"({"result":null})"},
    {"FCAPI::GetZELumoAPI", R"({"result":null})"},
    {"FIVirtualChannelsAPI::GetProgramList", R"({"result":false})"},
    {"FIIPCConnection::GetInstance", "{}"},
    {"FCEMSProxy::GetInstanceForPlugin", "{}"},
    {"FCEMSProxy::Subscribe", R"({"result":-1})"},
    {"TVServiceAPI::CreateSignalSubscriber", R"({"out":[true]})"},
    {"TVServiceAPI::CreateServiceNavigation", R"({"result":0})"},
    {"IServiceNavigation::GetCurrentService", R"({"result":0})"},
    {"IServiceNavigation::GetServiceList", R"({"result":-1})"},
    {"BmsCreatePlayer", R"({"result":-1})"},
    {"BmsPlay", R"({"result":-1})"},
    {"BmsGetPlayTime", R"({"result":-1})"},
};

const std::vector<const char*>& OtherVerbs()
{
    static const std::vector<const char*> verbs{
        R"({"tv":"poweroff","type":1073741824})",
        R"({"tv":"poweroff","type":1})",
        R"({"tv":"setting","key":"db/menu/volume","value":7})",
        R"({"tv":"setting","key":"db/menu/language","value":"日本語"})",
        R"({"tv":"report","player":1,"type":97})",
        R"({"tv":"clock","date":1767294000000})",
    };
    return verbs;
}

Json::Value Verb(const char* verb)
{
    Json::Value json;
    json["tv"] = verb;
    return json;
}

Json::Value Command(const char* command)
{
    Json::Value json;
    json["command"] = command;
    return json;
}

void Unexpected(Scene& scene, const Json::Value& message, const Json::Value& reply)
{
    scene.stage.findings.Add(test::Text(message).substr(0, 300) + " was answered " +
                             test::Text(reply).substr(0, 300));
}

/// Whether an operation failed because of a fault that may be there.
bool FailedByFault(const Scene& scene, const Json::Value& reply)
{
    return scene.plan.faults && reply["code"] == kUnknownError;
}

/// An event is raised and tells the page as often as a callback returned 0.
void ExpectEvent(Scene& scene, int event, const Json::Value& results)
{
    int told = 0;
    for (const Json::Value& result : results)
        told += result == 0 ? 1 : 0;
    for (int i = 0; i < told; ++i)
        scene.page.ledger.Expect(EventName(event), true);
    const auto& events = scene.plan.events;
    const bool subscribed = std::find(events.begin(), events.end(), event) != events.end();
    if (scene.plan.end == Plan::End::Calm && !scene.plan.faults && told != (subscribed ? 1 : 0))
        scene.stage.findings.Add("event " + std::to_string(event) + " was told " + std::to_string(told) +
                                 " times to a page that " + (subscribed ? "has" : "has not") +
                                 " subscribed it");
}

/// What was delivered so many times is certain to arrive only while the page is not closing.
void ExpectDelivered(Scene& scene, const std::string& what, const Json::Value& delivered)
{
    for (int i = 0; i < delivered.asInt(); ++i)
        scene.page.ledger.Expect(what, !scene.page.closing);
}

void BreakCall(Seat& seat, Dice& dice)
{
    const Fault& fault = dice.Pick(kFaults);
    Json::Value verb = test::J(fault.answer);
    verb["tv"] = "answer";
    verb["call"] = fault.call;
    const int kind = dice.Below(10);
    if (kind < 8)
        verb["times"] = dice.Between(1, 3);
    if (kind < 5)
        verb["delay"] = dice.Between(1, 15);
    if (kind >= 8)
        verb["delay"] = 600'000;
    seat.Do(verb);
    // What would hold for long is taken back at once; whoever ran into it goes on.
    if (kind >= 8) {
        Json::Value restore = Verb("restore");
        restore["call"] = fault.call;
        seat.Do(restore);
    }
}

}  // namespace

Plan::Plan(const PageApi& api, Dice& dice)
{
    const int kind = dice.Below(10);
    end = kind < 4 ? End::Calm : kind < 7 ? End::Rough : End::Replaced;
    faults = dice.Chance(50);
    listeners = dice.Chance(25) ? 2 : 1;
    senders = dice.Between(1, kMostSenders);
    messages = dice.Between(20, 150);
    ends_after = dice.Below(2 * messages);
    // Never none: the first event registers for the player's reports as well.
    for (int i = dice.Between(1, 6); i > 0; --i) {
        const int event = dice.Pick(api.events());
        if (std::find(events.begin(), events.end(), event) == events.end())
            events.push_back(event);
    }
}

std::optional<Json::Value> Ask(Scene& scene, Seat& seat, const Json::Value& message)
{
    Counts& counts = scene.stage.counts;
    ++counts.sent;
    std::optional<Json::Value> reply;
    {
        const Watchdog::Waiting waiting(scene.stage.watchdog, test::Text(message));
        reply = seat.Await(message);
    }
    if (reply) {
        ++counts.answered;
        if (!reply->isObject() || !(*reply)["code"].isInt() || !reply->isMember("data"))
            Unexpected(scene, message, *reply);
    } else {
        ++counts.gone;
        if (!scene.page.closing)
            scene.stage.findings.Add(test::Text(message).substr(0, 300) + " got no reply from an open page");
    }
    return reply;
}

Sender::Sender(int number) : number_(number)
{
    for (const char* type : {"text", "number"})
        keys_.push_back(kSettingPrefix + std::to_string(number) + '/' + type);
}

void Sender::Speak(Scene& scene, Seat& seat, Dice& dice)
{
    constexpr int kEnoughGone = 5;
    try {
        const std::uint64_t gone = scene.stage.counts.gone;
        for (int i = 0; i < scene.plan.messages; ++i) {
            SayOne(scene, seat, dice);
            scene.page.senders.Step();
            if (scene.page.closing && scene.stage.counts.gone > gone + kEnoughGone)
                break;
        }
        if (!seat.IsQuiet())
            scene.stage.findings.Add("sender " + std::to_string(number_) + " got an answer too many");
    } catch (const std::exception& error) {
        scene.stage.findings.Add("sender " + std::to_string(number_) + ": " + error.what());
    }
    scene.page.senders.Leave();
}

void Sender::SayOne(Scene& scene, Seat& seat, Dice& dice)
{
    const int kind = dice.Below(100);
    if (kind < 30)
        AskForIdentity(scene, seat, dice);
    else if (kind < 42)
        WriteSetting(scene, seat, dice);
    else if (kind < 54)
        ReadSetting(scene, seat, dice);
    else if (kind < 75)
        AskExample(scene, seat, dice);
    else if (kind < 80)
        AskBroken(scene, seat, dice);
    else if (kind < 86)
        Toggle(scene, seat, dice);
    else
        Post(scene, seat);
}

/// A programme that nobody else asks for: its reply names it.
void Sender::AskForIdentity(Scene& scene, Seat& seat, Dice& dice)
{
    constexpr std::uint64_t kProgramStarts = 10'800;  // a programme begins at every multiple, in seconds
    constexpr std::uint64_t kManyPrograms = 20'000'000;
    const std::uint64_t ticket = scene.stage.next_ticket++ % kManyPrograms;
    const std::string program = "1001-" + std::to_string(ticket * kProgramStarts);
    Json::Value message = Command("GetOnDemandIdentifier");
    message["input"] = R"({"programId":")" + program + "\"}";
    if (dice.Chance(3))
        message["padding"] = std::string(static_cast<std::size_t>(dice.Below(100'000)), 'p');
    const std::optional<Json::Value> reply = Ask(scene, seat, message);
    if (!reply || FailedByFault(scene, *reply))
        return;
    if ((*reply)["code"] != 0 || test::J((*reply)["data"].asString())["programId"] != program)
        Unexpected(scene, message, *reply);
}

void Sender::WriteSetting(Scene& scene, Seat& seat, Dice& dice)
{
    const bool text = dice.Chance(50);
    const std::string& key = keys_[text ? 0 : 1];
    const std::uint64_t ticket = scene.stage.next_ticket++;
    Json::Value message = Command(text ? "SetStringToVconfWithKey" : "SetIntegerToVconfWithKey");
    message["key"] = key;
    message["input"] = text ? Json::Value("v" + std::to_string(ticket))
                            : Json::Value(static_cast<int>(ticket % 2'000'000'000));
    const std::optional<Json::Value> reply = Ask(scene, seat, message);
    if (!reply || FailedByFault(scene, *reply))
        return;
    if ((*reply)["code"] != 0)
        Unexpected(scene, message, *reply);
    written_[key] = message["input"];
    // The page watches it; a page that closes may not hear of it any more.
    scene.page.ledger.Expect(SettingName(key), scene.stage.delivers_in_turn && !scene.page.closing);
}

void Sender::ReadSetting(Scene& scene, Seat& seat, Dice& dice)
{
    const bool text = dice.Chance(50);
    const auto written = written_.find(keys_[text ? 0 : 1]);
    if (written == written_.end())
        return;
    Json::Value message = Command(text ? "GetStringFromVconfWithKey" : "GetIntegerFromVconfWithKey");
    message["key"] = written->first;
    const std::optional<Json::Value> reply = Ask(scene, seat, message);
    if (reply && !FailedByFault(scene, *reply) && (*reply)["data"] != written->second)
        Unexpected(scene, message, *reply);
}

void Sender::AskExample(Scene& scene, Seat& seat, Dice& dice)
{
    const PageApi::Command& command = dice.Pick(scene.stage.api.commands());
    const std::optional<Json::Value> reply = Ask(scene, seat, command.example);
    if (reply && std::find(command.codes.begin(), command.codes.end(), (*reply)["code"].asInt()) ==
                     command.codes.end())
        Unexpected(scene, command.example, *reply);
}

void Sender::AskBroken(Scene& scene, Seat& seat, Dice& dice)
{
    const PageApi::Broken& broken = dice.Pick(scene.stage.api.broken());
    const std::optional<Json::Value> reply = Ask(scene, seat, broken.message);
    if (reply && *reply != broken.reply)
        Unexpected(scene, broken.message, *reply);
}

/// Events come and go, in a life in which their number is known from what the callbacks return alone.
void Sender::Toggle(Scene& scene, Seat& seat, Dice& dice)
{
    Json::Value message = Command(dice.Chance(50) ? "RegisterEvent" : "UnRegisterEvent");
    message["event"] = dice.Pick(scene.stage.api.events());
    if (scene.plan.end == Plan::End::Calm)
        message["event"] = dice.Pick(scene.stage.api.tv_events());
    Ask(scene, seat, message);
}

void Sender::Post(Scene& scene, Seat& seat)
{
    const std::string command = kPostPrefix + std::to_string(scene.stage.next_ticket++);
    const bool taken = seat.Post(Command(command.c_str()));
    ++scene.stage.counts.posted;
    // What waits for its turn when the host ends is dropped.
    if (taken)
        scene.page.ledger.Expect(PostName(command),
                                 !scene.page.closing && scene.plan.end != Plan::End::HostEnds);
    else if (!scene.page.closing)
        scene.stage.findings.Add(command + " was refused by an open page");
}

const std::vector<std::string>& TvKeys()
{
    static const std::vector<std::string> keys{std::string(kSettingPrefix) + "tv/1",
                                               std::string(kSettingPrefix) + "tv/2"};
    return keys;
}

void PlayTv(Scene& scene, Seat& seat, Dice& dice)
{
    try {
        for (int i = dice.Between(10, 60); i > 0; --i) {
            const int kind = dice.Below(100);
            if (kind < 50) {
                Json::Value verb = Verb("event");
                const int event = dice.Pick(scene.stage.api.events());
                verb["event"] = event;
                ExpectEvent(scene, event, seat.Do(verb)["results"]);
            } else if (kind < 65) {
                Json::Value verb = Verb("setting");
                const std::string& key = dice.Pick(TvKeys());
                verb["key"] = key;
                verb["value"] = dice.Below(1000);
                ExpectDelivered(scene, SettingName(key), seat.Do(verb)["delivered"]);
            } else if (kind < 75) {
                Json::Value verb = Verb("report");
                const int value = scene.stage.next_report++;
                verb["player"] = kPluginPlayer;
                verb["type"] = kReportType;
                verb["value1"] = value;
                ExpectDelivered(scene, ReportName(value), seat.Do(verb)["delivered"]);
            } else if (kind < 80) {
                Json::Value verb = Verb("signal");
                verb["signal"] = 177;
                ++scene.signals;
                ExpectDelivered(scene, kSignalName, seat.Do(verb)["delivered"]);
            } else if (kind < 90 && scene.plan.faults) {
                BreakCall(seat, dice);
            } else if (kind < 93 && !scene.stage.delivers_in_turn) {
                Json::Value verb = Verb("advance");
                verb["ms"] = dice.Below(2000);
                seat.Do(verb);
            } else {
                seat.Do(test::J(dice.Pick(OtherVerbs())));
            }
        }
    } catch (const std::exception& error) {
        scene.stage.findings.Add(std::string("the TV: ") + error.what());
    }
}

void TellThings(Scene& scene, Dice& dice, const std::atomic<bool>& stop)
{
    for (int left = dice.Below(300); left > 0 || !stop; --left) {
        // Its share is done: what is more only keeps the others company, and must not crowd them out.
        if (left <= 0)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        const int kind = dice.Below(10);
        if (kind < 6) {
            const int event = dice.Pick(scene.stage.api.events());
            Json::Value results(Json::arrayValue);
            const bool null_user = dice.Chance(5) && scene.plan.end != Plan::End::Calm;
            for (const int result : tv::EventProxyService::Get().Notify(event, null_user))
                results.append(result);
            ExpectEvent(scene, event, results);
        } else if (kind < 8) {
            const std::string& key = dice.Pick(TvKeys());
            const auto told = tv::SettingsStore::Get().SetAndTell(key, dice.Below(1000), false);
            ExpectDelivered(scene, SettingName(key), static_cast<Json::UInt>(told.value_or(0)));
        } else if (kind < 9) {
            const int value = scene.stage.next_report++;
            const std::size_t told =
                tv::PlayerService::Get().Report(kPluginPlayer, kReportType, value, 0, false);
            ExpectDelivered(scene, ReportName(value), static_cast<Json::UInt>(told));
        } else {
            ++scene.signals;
            const std::size_t told = tv::SignalService::Get().Notify(ESIGNAL_UNMUTE_BY_PINCODE, false).size();
            ExpectDelivered(scene, kSignalName, static_cast<Json::UInt>(told));
        }
    }
}

}  // namespace soak
