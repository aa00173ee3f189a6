#include "content-service/FCEMSProxy.h"
#include "tv/calls.h"
#include "tv/tv.h"

FIIPCConnection* FIIPCConnection::GetInstance()
{
    return tv::Call<FIIPCConnection*>(tv::CallId::GetIpcConnection, std::tuple<>(),
                                      [] { return tv::Tv::Get().event_proxy().connection(); });
}

FCEMSProxy* FCEMSProxy::GetInstanceForPlugin(FIIPCConnection* connection, FEventCallback callback)
{
    return tv::Call<FCEMSProxy*>(tv::CallId::GetEventProxy, std::tuple<>(), [&]() -> FCEMSProxy* {
        if (connection == nullptr)
            return nullptr;
        return tv::Tv::Get().event_proxy().ProxyFor(callback);
    });
}
