#include "BmsAdaptor.h"

bool BMSAdaptor::HandleBlockingMessageImp(const pp::Var&, pp::Var&)
{
    return false;
}

void BMSAdaptor::SetCallBack(BmsPlayerId) {}

void BMSAdaptor::RegisterSendEvent(BmsPlayerId, BmsEventCallback, void*) {}

void BMSAdaptor::Destory(BmsPlayerId) {}
