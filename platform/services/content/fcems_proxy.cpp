#include "content-service/FCEMSProxy.h"
#include "core/calls.h"
#include "tv/tv.h"

FIIPCConnection* FIIPCConnection::GetInstance()
{
    tv::Tv& tv = tv::Tv::Get();
    return tv::CallForInterface(tv::CallId::GetIpcConnection, tv.event_proxy().connection(),
                                [&] { return tv.content().available(); });
}

FCEMSProxy* FCEMSProxy::GetInstanceForPlugin(FIIPCConnection* connection, FEventCallback callback)
{
    return tv::CallForInterface(tv::CallId::GetEventProxy, tv::Tv::Get().event_proxy().ProxyFor(callback),
                                [&] { return connection != nullptr; });
}
