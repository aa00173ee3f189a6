#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/clock.h"
#include "core/delivery.h"
#include "player-service/bms.h"
#include "services/player/player.h"
#include "tv/tv_config.h"

namespace tv {

/// The TV's media players: they play on the TV's clock, and their reports go to whoever registered for
/// them. Commands give 0, or -1 when there is no such player or the command makes no sense in its state. Any
/// thread.
class PLATFORM_API PlayerService {
  public:
    /// `clock` and `deliveries` outlive this object.
    PlayerService(Clock& clock, Deliveries& deliveries);
    ~PlayerService();

    /// The streams there are, before the built-in ones; the first whose pattern fits an address counts.
    /// Another address plays for an hour. Players that exist keep what they have.
    void SetStreams(std::vector<StreamConfig> streams);

    /// The new player's id, or nothing without an address. An offset outside the stream begins at its
    /// nearer end.
    std::optional<BmsPlayerId> Create(const char* url, int offset_seconds);
    int Play(BmsPlayerId id);
    int Pause(BmsPlayerId id);
    int Resume(BmsPlayerId id);
    int Stop(BmsPlayerId id);
    int Seek(BmsPlayerId id, std::int32_t position);
    int ResumeLive(BmsPlayerId id);
    /// Nothing without such a player, or when it has nothing to play.
    std::optional<std::int32_t> PlayTime(BmsPlayerId id) const;
    /// Kept as it is, for PlayersJson; in any state.
    int SetVideoPosition(BmsPlayerId id, int x, int y, int width, int height);

    /// As BmsSetCallback and BmsUnSetCallback have them. A player's first report waits for its first
    /// registration.
    int SetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* user_data);
    int UnsetCallback(BmsPlayerId id, void* user_data);

    /// Delivers a report as it is, whether or not there is such a player, and returns when the callbacks
    /// have returned: their number. With `null_user` they get null user data.
    std::size_t Report(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);

    /// An array of {"id", "url", "state", "position", "duration", "live", "rect"}, in the order of creation.
    Json::Value PlayersJson() const;

    /// The players registered for, in the order of registering.
    std::vector<BmsPlayerId> Registered() const;
    std::size_t CountRegistrations() const { return registrations_.List().size(); }
    /// The service's client is gone: its players end, and ids start anew. Returns how many registrations it
    /// had left.
    std::size_t DropAll();

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
    int Do(BmsPlayerId id, Command command);
    const StreamConfig& FindStream(const std::string& url) const;
    void Arm(BmsPlayerId id, Entry& entry);
    void OnAlarm(BmsPlayerId id, unsigned armed);
    std::size_t Deliver(BmsPlayerId id, int type, std::int32_t value1, std::int32_t value2, bool null_user);

    Clock& clock_;
    Deliveries& deliveries_;
    DeliveryThread thread_{"tv.player"};
    Registrations<BmsPlayerId, BmsCallbackFunction> registrations_{thread_};
    /// No callback is called under it.
    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::vector<StreamConfig> streams_;
    std::map<BmsPlayerId, Entry> players_;
    BmsPlayerId next_id_ = 1;
};

}  // namespace tv
