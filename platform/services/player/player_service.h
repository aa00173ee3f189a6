#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
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
#include "services/player/player.h"
#include "zelumo-platform/export.h"

namespace tv {

/// The TV's media players: they play on the TV's clock, and their reports go to whoever registered for
/// them. Commands give 0, or -1 when there is no such player or the command makes no sense in its state. Any
/// thread.
class PLATFORM_API PlayerService : public Service {
  public:
    /// The one of the process, never destroyed.
    static PlayerService& Get();

    /// `clock` and `deliveries` outlive this object.
    PlayerService(Clock& clock, Deliveries& deliveries);
    ~PlayerService() override;

    /// The streams that there are. Players that exist keep what they have.
    void Load(const StreamsConfig& streams) EXCLUDES(mutex_);

    /// The new player's id, or nothing without an address. An offset outside the stream begins at its
    /// nearer end.
    std::optional<BmsPlayerId> Create(const char* url, int offset_seconds) EXCLUDES(mutex_);
    int Play(BmsPlayerId id) EXCLUDES(mutex_);
    int Pause(BmsPlayerId id) EXCLUDES(mutex_);
    int Resume(BmsPlayerId id) EXCLUDES(mutex_);
    int Stop(BmsPlayerId id) EXCLUDES(mutex_);
    int Seek(BmsPlayerId id, std::int32_t position) EXCLUDES(mutex_);
    int ResumeLive(BmsPlayerId id) EXCLUDES(mutex_);
    /// Nothing without such a player, or when it has nothing to play.
    std::optional<std::int32_t> PlayTime(BmsPlayerId id) const EXCLUDES(mutex_);
    /// Kept as it is, for the state; in any state.
    int SetVideoPosition(BmsPlayerId id, int x, int y, int width, int height) EXCLUDES(mutex_);

    /// As BmsSetCallback and BmsUnSetCallback have them. A player's first report waits for its first
    /// registration.
    int SetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* user_data) EXCLUDES(mutex_);
    int UnsetCallback(BmsPlayerId id, void* user_data);

    /// Delivers a report as it is, whether or not there is such a player, and returns when the callbacks
    /// have returned: their number. With `null_user` they get null user data.
    std::size_t Report(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);

    /// An array of {"id", "url", "state", "position", "duration", "live", "rect"}, in the order of creation.
    Json::Value PlayersJson() const EXCLUDES(mutex_);

    const CallTable* calls() const override;
    std::vector<Verb> verbs() const override;
    void AddState(Json::Value& state) const override EXCLUDES(mutex_);
    std::size_t CountRegistrations() const override { return registrations_.Count(); }
    /// Its players end as well, and ids start anew.
    std::size_t DropRegistrations() override EXCLUDES(mutex_);

  private:
    struct Rect {
        int x, y, width, height;
    };
    struct Entry {
        std::string url;
        Player player;
        std::optional<Rect> rect;
        std::optional<Clock::AlarmId> alarm;
        unsigned armed = 0;  ///< counts alarms, so that one that was taken up too late is told apart
    };
    template <typename Command>
    int Do(BmsPlayerId id, Command command) EXCLUDES(mutex_);
    void Arm(BmsPlayerId id, Entry& entry) REQUIRES(mutex_);
    void OnAlarm(BmsPlayerId id, unsigned armed) EXCLUDES(mutex_);
    std::size_t Deliver(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);

    Clock& clock_;
    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.player"};
    Registrations<BmsPlayerId, BmsCallbackFunction, ToldApartBy::UserData> registrations_{thread_};
    mutable Mutex mutex_{LockLevel::Service};  ///< no callback is called under it
    StreamsConfig streams_ GUARDED_BY(mutex_);
    std::map<BmsPlayerId, Entry> players_ GUARDED_BY(mutex_);
    BmsPlayerId next_id_ GUARDED_BY(mutex_) = 1;
};

}  // namespace tv
