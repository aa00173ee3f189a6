#include "services/player/player_service.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/form.h"
#include "core/json_node.h"

namespace tv {
namespace {

/// Clients register for reports of this id without a player of their own, so no player has it.
constexpr BmsPlayerId kReservedId = 101;

std::int32_t Milliseconds(Clock::Time time)
{
    return static_cast<std::int32_t>(
        std::min<Clock::Time::rep>(time.count(), std::numeric_limits<std::int32_t>::max()));
}

VerbAction ReportPlayer(JsonObject& fields)
{
    const int player = fields.Get("player").As<int>();
    const int type = fields.Get("type").As<int>();
    int value1 = 0;
    int value2 = 0;
    fields.Read("value1", value1);
    fields.Read("value2", value2);
    const bool null_user = ReadNullUser(fields);
    fields.End();
    return [=]() -> VerbResults {
        const std::size_t delivered = PlayerService::Get().Report(player, type, value1, value2, null_user);
        return {{"delivered", static_cast<Json::UInt>(delivered)}};
    };
}

}  // namespace

PlayerService& PlayerService::Get()
{
    static PlayerService& service = *new PlayerService(TheClock(), TheDeliveries());
    return service;
}

PlayerService::PlayerService(Clock& clock, Deliveries& deliveries) : clock_(clock), deliveries_(deliveries) {}

PlayerService::~PlayerService()
{
    for (const auto& [id, entry] : players_) {
        if (entry.alarm)
            clock_.Cancel(*entry.alarm);
    }
    if (!thread_.IsCurrent())
        thread_.Drain();
}

void PlayerService::Load(const StreamsConfig& streams)
{
    const MutexLock lock(mutex_);
    streams_ = streams;
}

std::optional<BmsPlayerId> PlayerService::Create(const char* url, int offset_seconds)
{
    if (url == nullptr || *url == '\0')
        return std::nullopt;
    const MutexLock lock(mutex_);
    if (next_id_ == kReservedId)
        ++next_id_;
    const BmsPlayerId id = next_id_++;
    // Posted under the lock, so that reports keep the order of what happened.
    const auto report = [this, id](_BmsEvent type, Player::Time value1, Player::Time value2) {
        deliveries_.Post(thread_,
                         [this, id, type, first = Milliseconds(value1), second = Milliseconds(value2)] {
                             Deliver(id, type, first, second, false);
                         });
    };
    const auto made = players_.emplace(
        id, Entry{url, Player(streams_.Find(url), std::chrono::seconds(offset_seconds), clock_.Now(), report),
                  std::nullopt, std::nullopt});
    const std::vector<BmsPlayerId> registered = registrations_.Topics();
    if (std::find(registered.begin(), registered.end(), id) != registered.end())
        made.first->second.player.Announce();
    return id;
}

template <typename Command>
int PlayerService::Do(BmsPlayerId id, Command command)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end() || !command(found->second.player, clock_.Now()))
        return -1;
    Arm(id, found->second);
    return 0;
}

int PlayerService::Play(BmsPlayerId id)
{
    return Do(id, [](Player& player, Clock::Time now) { return player.Play(now); });
}

int PlayerService::Pause(BmsPlayerId id)
{
    return Do(id, [](Player& player, Clock::Time now) { return player.Pause(now); });
}

int PlayerService::Resume(BmsPlayerId id)
{
    return Do(id, [](Player& player, Clock::Time now) { return player.Resume(now); });
}

int PlayerService::Stop(BmsPlayerId id)
{
    return Do(id, [](Player& player, Clock::Time) { return player.Stop(); });
}

int PlayerService::Seek(BmsPlayerId id, std::int32_t position)
{
    return Do(id, [&](Player& player, Clock::Time now) { return player.Seek(Clock::Time(position), now); });
}

int PlayerService::ResumeLive(BmsPlayerId id)
{
    return Do(id, [](Player& player, Clock::Time now) { return player.ResumeLive(now); });
}

void PlayerService::Arm(BmsPlayerId id, Entry& entry)
{
    if (entry.alarm)
        clock_.Cancel(*std::exchange(entry.alarm, std::nullopt));
    ++entry.armed;
    if (const std::optional<Clock::Time> next = entry.player.NextTime())
        entry.alarm = clock_.Set(*next, [this, id, armed = entry.armed] { OnAlarm(id, armed); });
}

void PlayerService::OnAlarm(BmsPlayerId id, unsigned armed)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end() || found->second.armed != armed)
        return;
    found->second.alarm.reset();
    found->second.player.OnTime(clock_.Now());
    Arm(id, found->second);
}

std::optional<std::int32_t> PlayerService::PlayTime(BmsPlayerId id) const
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end() || found->second.player.state() == Player::State::Failed)
        return std::nullopt;
    return Milliseconds(found->second.player.Position(clock_.Now()));
}

int PlayerService::SetVideoPosition(BmsPlayerId id, int x, int y, int width, int height)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end())
        return -1;
    found->second.rect = {x, y, width, height};
    return 0;
}

int PlayerService::SetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* user_data)
{
    if (callback == nullptr)
        return -1;
    registrations_.Set(id, callback, user_data);
    const MutexLock lock(mutex_);
    if (const auto found = players_.find(id); found != players_.end())
        found->second.player.Announce();
    return 0;
}

int PlayerService::UnsetCallback(BmsPlayerId id, void* user_data)
{
    return registrations_.Remove(id, user_data) ? 0 : -1;
}

std::size_t PlayerService::Deliver(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2,
                                   bool null_user)
{
    return registrations_.Deliver(id, null_user, [&](BmsCallbackFunction callback, void* user_data) {
        _BmsCallbackStruct data{value1, value2, 0};
        callback(id, static_cast<_BmsEvent>(type), data, user_data);
    });
}

std::size_t PlayerService::Report(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2,
                                  bool null_user)
{
    std::size_t delivered = 0;
    thread_.Run([&] { delivered = Deliver(id, type, value1, value2, null_user); });
    return delivered;
}

Json::Value PlayerService::PlayersJson() const
{
    const MutexLock lock(mutex_);
    const Clock::Time now = clock_.Now();
    Json::Value list(Json::arrayValue);
    for (const auto& [id, entry] : players_) {
        Json::Value one;
        one["id"] = id;
        one["url"] = entry.url;
        one["state"] = NameOf(entry.player.state());
        one["position"] = Milliseconds(entry.player.Position(now));
        one["duration"] = Milliseconds(entry.player.Duration(now));
        one["live"] = entry.player.live();
        // cppcheck-suppress variableScope ; asking for the member makes it null where there is no rectangle
        Json::Value& rect = one["rect"];
        if (entry.rect) {
            rect["x"] = entry.rect->x;
            rect["y"] = entry.rect->y;
            rect["width"] = entry.rect->width;
            rect["height"] = entry.rect->height;
        }
        list.append(one);
    }
    return list;
}

std::vector<Verb> PlayerService::verbs() const
{
    return {{"report", ReportPlayer}};
}

void PlayerService::AddState(Json::Value& state) const
{
    state["players"] = PlayersJson();
    state["subscriptions"]["players"] = ToJson(registrations_.Topics());
}

std::size_t PlayerService::DropRegistrations()
{
    {
        const MutexLock lock(mutex_);
        for (const auto& [id, entry] : players_) {
            if (entry.alarm)
                clock_.Cancel(*entry.alarm);
        }
        players_.clear();
        next_id_ = 1;
    }
    const std::size_t left = registrations_.RemoveAll();
    // Reports that are still queued belong to the ids as they were.
    if (!thread_.IsCurrent())
        thread_.Drain();
    return left;
}

}  // namespace tv
