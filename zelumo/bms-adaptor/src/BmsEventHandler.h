// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <string>

#include "ZeLumoLiving.h"
#include "ZeLumoMutex.h"
#include "player-service/bms.h"

/// Receives a player event: its type, two texts and the user data that it was registered with.
using BmsEventCallback = void (*)(int type, std::string param1, std::string param2, void* userData);

/// The relay of player reports: registers with the player service, turns each report into an event type and
/// two texts, and hands them to one send-event callback on the player service's thread. Registrations
/// change on the worker thread, and end on the plug-in thread.
class BmsEventHandler {
  public:
    BmsEventHandler() = default;
    /// Withdraws what is still registered: afterwards no report reaches this object, unless it is destroyed
    /// from inside the send-event callback: then nothing of it is touched after the callback has returned.
    ~BmsEventHandler();
    BmsEventHandler(const BmsEventHandler&) = delete;
    BmsEventHandler& operator=(const BmsEventHandler&) = delete;

    /// No callback is stored.
    void Init() ZELUMO_EXCLUDES(m_mutex);
    /// From now on the reports of that player are relayed.
    void SetCallback(BmsPlayerId id) ZELUMO_EXCLUDES(m_mutex);
    /// Stores the callback and its user data, replacing earlier ones; `id` is not used. `userData` outlives
    /// this object, or the callback copes with it.
    void RegisterSendEventCallback(BmsPlayerId id, BmsEventCallback callback, void* userData)
        ZELUMO_EXCLUDES(m_mutex);
    /// No report of that player is relayed any more, and none is being relayed, unless it was called from
    /// inside the send-event callback; no callback is stored, so that reports of other players are dropped.
    void UnSetCallback(BmsPlayerId id) ZELUMO_EXCLUDES(m_mutex);

    /// Player service's thread; the user data are the relay, and with null the report is dropped.
    static void CallbackFunction(int id, _BmsEvent type, _BmsCallbackStruct& data, void* userData);

  private:
    // Player service's thread. Each of these ends with the send-event callback, which may destroy this
    // object: nothing of it is touched afterwards.
    void CallbackHandler(int id, _BmsEvent type, BmsSignalData data);
    void EventInitComplete(BmsSignalData data);
    void EventPauseComplete(BmsSignalData data);
    void EventResumeComplete(BmsSignalData data);
    void EventSeekComplete(BmsSignalData data);
    void EventStopSuccess(BmsSignalData data);
    void EventContentRangeOver(BmsSignalData data);
    void EventEndOfStream(BmsSignalData data);
    void EventError(BmsSignalData data);
    void EventBuffering(BmsSignalData data);
    void EventFileNotFound(BmsSignalData data);
    void EventCurrentPosition(BmsSignalData data);
    void EventBeginOfStream(BmsSignalData data);
    void EventGetWindowID(BmsSignalData data);
    void EventGetInitInfo(BmsSignalData data);
    /// Calls the send-event callback, outside the lock; without one the event is dropped.
    void SendEvent(_BmsEvent type, const std::string& param1, const std::string& param2)
        ZELUMO_EXCLUDES(m_mutex);

    void Withdraw(BmsPlayerId id) ZELUMO_EXCLUDES(m_mutex);

    struct Row {
        _BmsEvent type;
        void (BmsEventHandler::*handler)(BmsSignalData data);
    };
    static const Row kEventTable[];

    /// Neither the player service nor a callback is called under it.
    zelumo::Mutex m_mutex;
    BmsEventCallback m_sendEventCallback ZELUMO_GUARDED_BY(m_mutex) = nullptr;
    void* m_userData ZELUMO_GUARDED_BY(m_mutex) = nullptr;  // not owned
    /// Registered with the player service, each once.
    std::list<BmsPlayerId> m_listPlayerId ZELUMO_GUARDED_BY(m_mutex);
    /// What the player service said that it has registered and not that it has withdrawn it.
    std::list<BmsPlayerId> m_listStandingId ZELUMO_GUARDED_BY(m_mutex);
    zelumo::Living m_living{this};
};
