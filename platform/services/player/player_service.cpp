// SPDX-License-Identifier: Apache-2.0
#include "services/player/player_service.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/form.h"
#include "services/player/simulated_engine.h"

namespace tv {
namespace {

/// Clients register for reports of this id without a player of their own, so no player has it.
constexpr BmsPlayerId kReservedId = 101;

std::int32_t Milliseconds(Clock::Time time)
{
    return static_cast<std::int32_t>(
        std::min<Clock::Time::rep>(time.count(), std::numeric_limits<std::int32_t>::max()));
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

void PlayerService::SetMedia(MediaKind media)
{
    const MutexLock lock(mutex_);
    media_ = media;
}

void PlayerService::SetOnMedia(ToldEngine::Tell on_media)
{
    const MutexLock lock(mutex_);
    on_media_ = std::move(on_media);
}

PlayerService::Entry PlayerService::Make(BmsPlayerId id, const MediaSource& source)
{
    const Clock::Time now = clock_.Now();
    if (media_ == MediaKind::Browser) {
        auto told = std::make_unique<ToldEngine>(id, source, streams_.key_systems, now,
                                                 [this](const Json::Value& command) REQUIRES(mutex_) {
                                                     if (on_media_)
                                                         on_media_(command);
                                                 });
        ToldEngine* const one = told.get();
        return {source.url, std::move(told), one};
    }
    // Posted under the lock, so that reports keep the order of what happened.
    const auto report = [this, id](_BmsEvent type, Clock::Time value1, Clock::Time value2) {
        deliveries_.Post(thread_,
                         [this, id, type, first = Milliseconds(value1), second = Milliseconds(value2)] {
                             Deliver(id, type, first, second, false);
                         });
    };
    return {source.url,
            std::make_unique<SimulatedEngine>(streams_.Find(source.url),
                                              std::chrono::seconds(source.offset_seconds), now, report)};
}

std::optional<BmsPlayerId> PlayerService::Create(const MediaSource& source)
{
    if (source.url.empty())
        return std::nullopt;
    const MutexLock lock(mutex_);
    if (next_id_ == kReservedId)
        ++next_id_;
    const BmsPlayerId id = next_id_++;
    const auto made = players_.emplace(id, Make(id, source)).first;
    const std::vector<BmsPlayerId> registered = registrations_.Topics();
    if (std::find(registered.begin(), registered.end(), id) != registered.end())
        Announce(made->second);
    return id;
}

int PlayerService::Do(BmsPlayerId id, const MediaCommand& command)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end())
        return -1;
    const Clock::Time now = clock_.Now();
    MediaEngine& engine = *found->second.engine;
    const MediaStatus status = engine.StatusAt(now);
    if (!status.Accepts(command.kind))
        return -1;
    if (!status.HasDecoder() && status.Commanded(command).HasDecoder())
        FreeDecoder(now);
    engine.CarryOut(command, now);
    Arm(id, found->second);
    return 0;
}

void PlayerService::FreeDecoder(Clock::Time now)
{
    for (auto& [id, entry] : players_) {
        if (!entry.engine->StatusAt(now).HasDecoder())
            continue;
        entry.engine->CarryOut({MediaCommand::Kind::Stop}, now);
        Arm(id, entry);
    }
}

void PlayerService::Announce(Entry& entry)
{
    if (!std::exchange(entry.announced, true))
        entry.engine->Announce();
}

void PlayerService::Arm(BmsPlayerId id, Entry& entry)
{
    if (entry.alarm)
        clock_.Cancel(*std::exchange(entry.alarm, std::nullopt));
    ++entry.armed;
    if (const std::optional<Clock::Time> next = entry.engine->NextTime())
        entry.alarm = clock_.Set(*next, [this, id, armed = entry.armed] { OnAlarm(id, armed); });
}

void PlayerService::OnAlarm(BmsPlayerId id, unsigned armed)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end() || found->second.armed != armed)
        return;
    found->second.alarm.reset();
    found->second.engine->OnTime(clock_.Now());
    Arm(id, found->second);
}

std::optional<std::int32_t> PlayerService::PlayTime(BmsPlayerId id) const
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end())
        return std::nullopt;
    const MediaStatus status = found->second.engine->StatusAt(clock_.Now());
    if (status.state == MediaState::Failed)
        return std::nullopt;
    return Milliseconds(status.position);
}

int PlayerService::SetVideoPosition(BmsPlayerId id, const MediaRect& rect)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end())
        return -1;
    found->second.rect = rect;
    found->second.engine->Place(rect);
    return 0;
}

int PlayerService::SetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* user_data)
{
    if (callback == nullptr)
        return -1;
    registrations_.Set(id, callback, user_data);
    const MutexLock lock(mutex_);
    if (const auto found = players_.find(id); found != players_.end())
        Announce(found->second);
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

bool PlayerService::Hear(BmsPlayerId id, const MediaNews& news)
{
    const MutexLock lock(mutex_);
    const auto found = players_.find(id);
    if (found == players_.end() || found->second.told == nullptr)
        return false;
    found->second.told->Hear(news, clock_.Now());
    return true;
}

Json::Value PlayerService::PlayersJson() const
{
    const MutexLock lock(mutex_);
    const Clock::Time now = clock_.Now();
    Json::Value list(Json::arrayValue);
    for (const auto& [id, entry] : players_) {
        const MediaStatus status = entry.engine->StatusAt(now);
        Json::Value one;
        one["id"] = id;
        one["url"] = entry.url;
        one["state"] = NameOf(status.state);
        one["position"] = Milliseconds(status.position);
        one["duration"] = Milliseconds(status.duration);
        one["live"] = status.live;
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

std::map<BmsPlayerId, bool> PlayerService::PlayersInBrowser() const
{
    const MutexLock lock(mutex_);
    std::map<BmsPlayerId, bool> players;
    for (const auto& [id, entry] : players_) {
        if (entry.told == nullptr)
            continue;
        const MediaStatus status = entry.told->StatusAt(clock_.Now());
        if (status.state != MediaState::Failed)
            players[id] = status.HasDecoder();
    }
    return players;
}

void PlayerService::AddState(Json::Value& state) const
{
    state["players"] = PlayersJson();
    state["subscriptions"]["players"] = ToJson(registrations_.Topics());
    const MutexLock lock(mutex_);
    state["media"] = media_ == MediaKind::Browser ? "browser" : "simulated";
}

std::size_t PlayerService::DropRegistrations()
{
    {
        const MutexLock lock(mutex_);
        for (const auto& [id, entry] : players_) {
            if (entry.alarm)
                clock_.Cancel(*entry.alarm);
        }
        while (!players_.empty())
            players_.erase(players_.begin());
        next_id_ = 1;
    }
    const std::size_t left = registrations_.RemoveAll();
    // Reports that are still queued belong to the ids as they were.
    if (!thread_.IsCurrent())
        thread_.Drain();
    return left;
}

}  // namespace tv
