// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/calls.h"
#include "core/clock.h"
#include "core/delivery.h"
#include "core/mutex.h"
#include "core/registrations.h"
#include "core/service.h"
#include "core/verb.h"
#include "player-service/bms.h"
#include "services/player/media_engine.h"
#include "services/player/streams.h"
#include "services/player/told_engine.h"
#include "zelumo-platform/export.h"

namespace tv {

/// Who plays streams.
enum class MediaKind {
    Simulated,  ///< nobody really: what a stream does is in the TV file
    Browser,    ///< whoever is told of the commands, and tells what has become of them
};

/// The TV's media players: an engine plays for each, on the TV's clock, and its reports go to whoever
/// registered for them. One of them has the decoder. Commands give 0, or -1 when there is no such player or
/// the command makes no sense in its state. Any thread.
class ZELUMO_PLATFORM_API PlayerService : public Service {
  public:
    /// The one of the process, never destroyed.
    static PlayerService& Get();

    /// `clock` and `deliveries` outlive this object.
    PlayerService(Clock& clock, Deliveries& deliveries);
    ~PlayerService() override;

    /// The streams and rights that there are. Players that exist keep what they have.
    void Load(const StreamsConfig& streams) EXCLUDES(mutex_);
    /// Who plays for the players that are made from now on; at first it is simulated.
    void SetMedia(MediaKind media) EXCLUDES(mutex_);
    /// Whoever shows the page in a browser gets the commands for what plays there, in their order, on the
    /// thread on which they are given. It never waits, and doesn't call this service. May be empty.
    void SetOnMedia(ToldEngine::Tell on_media) EXCLUDES(mutex_);

    /// The new player's id, or nothing without an address. An offset outside the stream begins at its
    /// nearer end.
    std::optional<BmsPlayerId> Create(const MediaSource& source) EXCLUDES(mutex_);
    /// The position of a Seek in milliseconds.
    int Do(BmsPlayerId id, const MediaCommand& command) EXCLUDES(mutex_);
    int Do(BmsPlayerId id, MediaCommand::Kind command) { return Do(id, MediaCommand{command}); }
    /// Nothing without such a player, or when it has nothing to play.
    std::optional<std::int32_t> PlayTime(BmsPlayerId id) const EXCLUDES(mutex_);
    /// Kept as it is, for the state; in any state.
    int SetVideoPosition(BmsPlayerId id, const MediaRect& rect) EXCLUDES(mutex_);

    /// As BmsSetCallback and BmsUnSetCallback have them. The first report of a player that is simulated waits
    /// for its first registration.
    int SetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* user_data) EXCLUDES(mutex_);
    int UnsetCallback(BmsPlayerId id, void* user_data);

    /// Delivers a report as it is, whether or not there is such a player, and returns when the callbacks
    /// have returned: their number. With `null_user` they get null user data.
    std::size_t Report(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);
    /// Whoever plays tells how a player stands. False: nobody does for such a player.
    bool Hear(BmsPlayerId id, const MediaNews& news) EXCLUDES(mutex_);

    /// An array of {"id", "url", "state", "position", "duration", "live", "rect"}, in the order of creation.
    Json::Value PlayersJson() const EXCLUDES(mutex_);
    /// The players that a browser plays for, and that haven't failed, by their ids; and whether they have the
    /// decoder.
    std::map<BmsPlayerId, bool> PlayersInBrowser() const EXCLUDES(mutex_);

    const CallTable* calls() const override;
    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override EXCLUDES(mutex_);
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    /// Its players end as well, and ids start anew.
    std::size_t DropRegistrations() override EXCLUDES(mutex_);

  private:
    struct Entry {
        std::string url;
        std::unique_ptr<MediaEngine> engine;
        ToldEngine* told = nullptr;  ///< the same, if it is one
        bool announced = false;
        std::optional<MediaRect> rect = std::nullopt;
        std::optional<Clock::AlarmId> alarm = std::nullopt;
        unsigned armed = 0;  ///< counts alarms, so that one that was taken up too late is told apart
    };
    Entry Make(BmsPlayerId id, const MediaSource& source) REQUIRES(mutex_);
    void FreeDecoder(Clock::Time now) REQUIRES(mutex_);
    void Announce(Entry& entry) REQUIRES(mutex_);
    void Arm(BmsPlayerId id, Entry& entry) REQUIRES(mutex_);
    void OnAlarm(BmsPlayerId id, unsigned armed) EXCLUDES(mutex_);
    std::size_t Deliver(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);

    Clock& clock_;
    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.player"};
    Registrations<BmsPlayerId, BmsCallbackFunction, ToldApartBy::UserData> registrations_{thread_};
    mutable Mutex mutex_{LockLevel::Service};  ///< no callback is called under it; engines are
    StreamsConfig streams_ GUARDED_BY(mutex_);
    MediaKind media_ GUARDED_BY(mutex_) = MediaKind::Simulated;
    ToldEngine::Tell on_media_ GUARDED_BY(mutex_);
    std::map<BmsPlayerId, Entry> players_ GUARDED_BY(mutex_);
    BmsPlayerId next_id_ GUARDED_BY(mutex_) = 1;
};

}  // namespace tv
