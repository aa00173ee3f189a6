#pragma once

#include "BmsEventHandler.h"
#include "ppapi/cpp/var.h"

/// Answers the page's player commands. Until they are built it declines every message.
class BMSAdaptor {
  public:
    /// True when the message was a player command and `reply` holds its answer.
    bool HandleBlockingMessageImp(const pp::Var& message, pp::Var& reply);
    void SetCallBack(BmsPlayerId id);
    void RegisterSendEvent(BmsPlayerId id, BmsEventCallback callback, void* userData);
    void Destory(BmsPlayerId id);
};
