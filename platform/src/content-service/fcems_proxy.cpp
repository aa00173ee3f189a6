#include "content-service/FCEMSProxy.h"

FIIPCConnection::~FIIPCConnection() = default;
FCEMSProxy::~FCEMSProxy() = default;

FIIPCConnection* FIIPCConnection::GetInstance()
{
    return nullptr;
}

FCEMSProxy* FCEMSProxy::GetInstanceForPlugin(FIIPCConnection*, FEventCallback)
{
    return nullptr;
}
