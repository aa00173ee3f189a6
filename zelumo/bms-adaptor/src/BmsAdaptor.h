// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "BmsEventHandler.h"
#include "player-service/bms.h"
#include "ppapi/cpp/var.h"
#include "ppapi/cpp/var_dictionary.h"

/// Answers the page's player commands, each with at most two calls of the player service, and connects the
/// player's events to the page. Commands and registrations on the worker thread; made, torn down and
/// destroyed on the plug-in thread.
class BMSAdaptor {
  public:
    BMSAdaptor();

    /// True when the message was a player command and `reply` holds its answer, a refusal of its parameters
    /// included; else `reply` is untouched.
    bool HandleBlockingMessageImp(const pp::Var& message, pp::Var& reply);

    /// These pass on to the event relay, whose contracts they have.
    void SetCallBack(BmsPlayerId id);
    void RegisterSendEvent(BmsPlayerId id, BmsEventCallback callback, void* userData);
    void Destory(BmsPlayerId id);

  private:
    // One for each command. Each answers and returns true.
    bool InitializeBMS(pp::VarDictionary& request, pp::Var& reply);
    bool PlayBMS(pp::VarDictionary& request, pp::Var& reply);
    bool PauseBMS(pp::VarDictionary& request, pp::Var& reply);
    bool ResumeBMS(pp::VarDictionary& request, pp::Var& reply);
    bool JumpForwardBMS(pp::VarDictionary& request, pp::Var& reply);
    bool JumpBackwradBMS(pp::VarDictionary& request, pp::Var& reply);
    bool SeekBMS(pp::VarDictionary& request, pp::Var& reply);
    bool StopBMS(pp::VarDictionary& request, pp::Var& reply);
    bool PauseLiveBMS(pp::VarDictionary& request, pp::Var& reply);
    bool ResumeLiveBMS(pp::VarDictionary& request, pp::Var& reply);
    bool SetDisplayRectBMS(pp::VarDictionary& request, pp::Var& reply);
    bool GetPlayerWindowIDBMS(pp::VarDictionary& request, pp::Var& reply);

    /// Seeks to `offset` milliseconds after the play position, held at the ends of 32 bits; false when the
    /// play time can't be had or the seek fails.
    bool SeekRelative(long long offset);

    struct Row {
        std::string_view command;
        bool (BMSAdaptor::*handler)(pp::VarDictionary& request, pp::Var& reply);
    };
    static const Row kCommandTable[];

    BmsPlayerId m_playerId = -1;  ///< of the newest player; until there is one, an id that no player has
    BmsEventHandler m_eventHandler;
};
