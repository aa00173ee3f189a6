#include "content-service/FCEMSProxy.h"
#include "tv/calls.h"
#include "tv/tv.h"

FIIPCConnection* FIIPCConnection::GetInstance()
{
    return tv::Call<FIIPCConnection*>(tv::CallId::GetIpcConnection, std::tuple<>(), []() -> FIIPCConnection* {
        tv::Tv& tv = tv::Tv::Get();
        return tv.content().available() ? tv.event_proxy().connection() : nullptr;
    });
}

FCEMSProxy* FCEMSProxy::GetInstanceForPlugin(FIIPCConnection* connection, FEventCallback callback)
{
    return tv::Call<FCEMSProxy*>(tv::CallId::GetEventProxy, std::tuple<>(), [&]() -> FCEMSProxy* {
        if (connection == nullptr)
            return nullptr;
        return tv::Tv::Get().event_proxy().ProxyFor(callback);
    });
}
