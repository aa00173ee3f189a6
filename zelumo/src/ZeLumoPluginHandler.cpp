// SPDX-License-Identifier: Apache-2.0
#include "ZeLumoPluginHandler.h"

#include "BmsAdaptor.h"
#include "ZeLumoPluginLog.h"

CZeLumoPluginHandler::CZeLumoPluginHandler(pp::Instance* instance) : m_bDestroyed(false), instance_(instance)
{
    LOG_DEBUG("[CZeLumoPluginHandler::CZeLumoPluginHandler] start extension_system(instance_)");
    LOG_DEBUG("[CZeLumoPluginHandler::CZeLumoPluginHandler] end extension_system(instance_)");
    Initialize();
}

void CZeLumoPluginHandler::Initialize()
{
    LOG_DEBUG("[CZeLumoPluginHandler::Initialize] called");
    m_pBMSAdaptor = std::make_unique<BMSAdaptor>();

    ISignalSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateSignalSubscriber(t_TVSSingalHandler, &subscriber);
    if (subscriber == nullptr) {
        LOG_ERROR("[CZeLumoPluginHandler::Initialize] no signal subscriber");
        return;
    }
    m_bSignalSubscribed = subscriber->Subscribe(kSignalUnmuteByPincode, this, 1, 0, 0) > 0;
}

CZeLumoPluginHandler::~CZeLumoPluginHandler()
{
    LOG_DEBUG("[CZeLumoPluginHandler::~CZeLumoPluginHandler] called");
    SetDestroyed();
    // The worker is gone by now, so these purges are the last word on what was subscribed.
    PurgeAllSubscribedSignal();
    PurgeAllVconfCB();
    m_pBMSAdaptor->Destory(kPlayerIdPlugin);
    // From here on this object is nothing to whoever could not be kept from calling.
    m_living.End();
    bool left = m_bSignalSubscribed;
    {
        const zelumo::MutexLock lock(m_mutexLists);
        left = left || !m_listStandingEvent.empty() || !m_listStandingKey.empty();
    }
    if (left) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] subscriptions could not be ended", __func__);
        zelumo::StayLoaded();
    }
}

void CZeLumoPluginHandler::WasUnregistered(pp::InstanceHandle) {}

pp::Instance CZeLumoPluginHandler::GetInstance()
{
    return *instance_;
}
