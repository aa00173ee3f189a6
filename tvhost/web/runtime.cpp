// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/runtime.h"

#include <chrono>
#include <map>
#include <utility>

#include "tv/tv.h"
#include "tvhost/json_text.h"

namespace host {
namespace {

using namespace std::chrono_literals;

/// How long a page that has left may take to say so, before its connection counts as lost.
constexpr auto kFarewell = 300ms;

/// What a browser would tell of a player that it can't play any more. Only one that has the decoder has
/// something to report.
Json::Value LossLine(int player, bool has_decoder)
{
    Json::Value line;
    line["tv"] = "media";
    line["player"] = player;
    Json::Value& status = line["status"];
    status["state"] = "failed";
    for (const char* const member : {"position", "duration", "rate"})
        status[member] = 0;
    status["live"] = false;
    if (has_decoder)
        line["type"] = BMS_EVENT_ERROR;
    line["detail"] = "the page has lost its connection to the TV host";
    return line;
}

}  // namespace

void Runtime::Begin()
{
    tv::RemoteControl::Get().SetOnKey([this](const tv::RemoteKey& key) {
        pages_.TellByRuntime(
            WriteJson(OrderedObject{{"key", key.key}, {"keyCode", key.key_code}, {"code", key.code}}));
    });
    tv::PlayerService::Get().SetOnMedia([this](const Json::Value& command) {
        pages_.TellByRuntime(WriteJson(OrderedObject{{"media", command}}));
    });
}

void Runtime::End()
{
    tv::RemoteControl::Get().SetOnKey(nullptr);
    tv::PlayerService::Get().SetOnMedia(nullptr);
}

Channel::Events Runtime::EventsOf(long long page)
{
    return {[this, page](std::size_t listeners) {
                if (listeners == 0)
                    OnUnheard(page);
            },
            [this, page](std::string text) { Hear(page, std::move(text)); }};
}

void Runtime::Hear(long long page, std::string text)
{
    static const WebResponse unanswered = ErrorResponse(500, "the line was given up");
    WebAnswer answer(
        [this, page](const WebResponse& response) {
            if (response.status != 200)
                pages_.TellByRuntime(response.body, page);
        },
        unanswered);
    Answering(answer, [&] {
        Json::Value line = ParseRequest(text, kMaxMessageDepth + 1);
        if (!line.isObject() || line["tv"] != "media")
            throw Refused(400, "expected {\"tv\": \"media\", …}");
        // Its players are gone with a page, and their numbers may be another page's by now.
        const auto check = [this, page] { pages_.ChannelsOf(page); };
        check();
        lines_.TakeVerb(std::move(line), text, answer, nullptr, check);
    });
}

void Runtime::OnUnheard(long long page)
{
    std::vector<int> players;
    for (const auto& [id, has_decoder] : tv::PlayerService::Get().PlayersInBrowser())
        players.push_back(id);
    if (!players.empty())
        LoseSoon(page, players);
}

void Runtime::LoseSoon(long long page, const std::vector<int>& players)
{
    server_.After(kFarewell, [this, page, players] {
        try {
            Lose(page, players);
        } catch (const Refused&) {
            LoseSoon(page, players);  // once less waits
        }
    });
}

void Runtime::Lose(long long page, const std::vector<int>& players)
{
    const auto lose = [this, players](WebAnswer&) {
        const std::map<int, bool> left = tv::PlayerService::Get().PlayersInBrowser();
        for (const int player : players) {
            if (const auto found = left.find(player); found != left.end())
                lines_.CarryOut(LossLine(player, found->second));
        }
    };
    WebAnswer nobody;
    turns_.Take(
        [this, page, lose](WebAnswer&, Turns::Turn turn) {
            pages_.ChannelsOf(page);
            turns_.OnPluginThread(lose, {}, std::move(turn));
        },
        nobody);
}

}  // namespace host
