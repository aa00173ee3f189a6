// SPDX-License-Identifier: Apache-2.0
#include <json/json.h>

#include <algorithm>

#include "BmsAdaptor.h"
#include "ZeLumoPluginHandler.h"
#include "ZeLumoPluginLog.h"
#include "ppapi/cpp/var_dictionary.h"

namespace {

/// What the page is told with signal 177; not a number of ePloomiaEvent.
constexpr int kEventUnmuteByPincode = 99999;

struct EventName {
    ePloomiaEvent value;
    const char* name;
    bool fromName;  // whether the name leads back to the number
};

// clang-format off
const EventName kEventNames[] = {
    {PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE,           "PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE",           true},
    {PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE,             "PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE",             true},
    {PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE,      "PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE",      true},
    {PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE,               "PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE",               true},
    {PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE,                      "PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE",                      true},
    {PLOOMIA_EVENT_MSO_INFO_SET,                                 "PLOOMIA_EVENT_MSO_INFO_SET",                                 true},
    {PLOOMIA_EVENT_MSO_INFO_RESET,                               "PLOOMIA_EVENT_MSO_INFO_RESET",                               true},
    {PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE,                  "PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE",                  true},
    {PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE,                "PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE",                true},
    {PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE,                       "PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE",                       true},
    {PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE, "PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE", true},
    {PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE,                      "PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE",                      true},
    {PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE,                "PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE",                true},
    {PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE,              "PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE",              true},
    {PLOMIA_EVENT_GET_SI_INFO,                                   "PLOMIA_EVENT_GET_SI_INFO",                                   true},
    {PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS,           "PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS",           true},
    {ITVS_Signal_ZELumo_Control_State_ChLoad,                    "ITVS_Signal_ZELumo_Control_State_ChLoad",                    false},
    {ITVS_Signal_ZELumo_Control_State_ChEnter,                   "ITVS_Signal_ZELumo_Control_State_ChEnter",                   false},
    {ITVS_Signal_ZELumo_Control_State_ChPause,                   "ITVS_Signal_ZELumo_Control_State_ChPause",                   false},
    {ITVS_Signal_ZELumo_Control_State_ChResume,                  "ITVS_Signal_ZELumo_Control_State_ChResume",                  false},
    {ITVS_Signal_ZELumo_Control_State_ChLeave,                   "ITVS_Signal_ZELumo_Control_State_ChLeave",                   false},
    {ITVS_Signal_Instant_On,                                     "ITVS_Signal_Instant_On",                                     false},
    {ITVS_Signal_Instant_Off,                                    "ITVS_Signal_Instant_Off",                                    false},
};
// clang-format on

std::string PresentProgramRequest(const TCServiceData& channel)
{
    unsigned long long serviceId = ~0ULL;
    channel.Get(ESERVICE_FIELD_SERVICE_ID, serviceId);
    Json::Value request;
    request["TCServiceId"] = std::to_string(serviceId);
    return Json::StyledWriter().write(request);
}

}  // namespace

bool CZeLumoPluginHandler::m_ePloomiaEventToStrEvent(ePloomiaEvent& value, std::string& name)
{
    for (const EventName& row : kEventNames) {
        if (row.value == value) {
            name = row.name;
            return true;
        }
    }
    return false;
}

bool CZeLumoPluginHandler::m_StrEventToePloomiaEvent(std::string& name, ePloomiaEvent& value)
{
    for (const EventName& row : kEventNames) {
        if (row.fromName && name == row.name) {
            value = row.value;
            return true;
        }
    }
    return false;
}

FCEMSProxy* CZeLumoPluginHandler::GetEventProxy()
{
    return FCEMSProxy::GetInstanceForPlugin(FIIPCConnection::GetInstance(), t_VordaOnEvent);
}

bool CZeLumoPluginHandler::RegisterEvent(ePloomiaEvent event)
{
    LOG_DEBUG("[CZeLumoPluginHandler::%s] event  %d", __func__, event);
    bool registered = false;
    {
        const zelumo::MutexLock lock(m_mutexLists);
        registered = std::find(m_listSubscribedEvent.begin(), m_listSubscribedEvent.end(), event) !=
                     m_listSubscribedEvent.end();
    }
    if (registered) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] already registered signal: %d", __func__, event);
        return false;
    }
    FCEMSProxy* const proxy = GetEventProxy();
    if (proxy == nullptr) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] no event proxy", __func__);
        return false;
    }
    m_pBMSAdaptor->SetCallBack(kPlayerIdPlugin);
    m_pBMSAdaptor->RegisterSendEvent(kPlayerIdPlugin, t_BMSOnEvent, this);
    LOG_DEBUG("[CZeLumoPluginHandler::%s] SetCallbackBMS PlayerID : 101", __func__);
    const bool subscribed = proxy->Subscribe(event, this) >= 0;
    const zelumo::MutexLock lock(m_mutexLists);
    m_listLeftEvent.remove(event);
    if (subscribed)
        m_listStandingEvent.push_back(event);
    m_listSubscribedEvent.push_back(event);
    return true;
}

void CZeLumoPluginHandler::EndSubscription(FCEMSProxy& proxy, int event)
{
    if (proxy.Unsubscribe(event) < 0)
        return;
    const zelumo::MutexLock lock(m_mutexLists);
    m_listStandingEvent.remove(event);
}

bool CZeLumoPluginHandler::UnRegisterEvent(ePloomiaEvent event)
{
    LOG_DEBUG(" CZeLumoPluginHandler::UnRegisterEvent is called event is %d", event);
    FCEMSProxy* const proxy = GetEventProxy();
    if (proxy != nullptr)
        EndSubscription(*proxy, event);
    const zelumo::MutexLock lock(m_mutexLists);
    if (proxy != nullptr)
        m_listLeftEvent.remove(event);
    const auto listed = std::find(m_listSubscribedEvent.begin(), m_listSubscribedEvent.end(), event);
    if (listed == m_listSubscribedEvent.end())
        return true;
    m_listSubscribedEvent.erase(listed);
    // Unregistered for the page, which may register it anew; teardown still has to end it.
    if (proxy == nullptr)
        m_listLeftEvent.push_back(event);
    return true;
}

void CZeLumoPluginHandler::PurgeAllSubscribedSignal()
{
    LOG_ERROR("[CZeLumoPluginHandler::%s]", __func__);
    // What is listed stays so while there is no proxy that could end it.
    if (FCEMSProxy* const proxy = GetEventProxy()) {
        std::list<int> events;
        {
            const zelumo::MutexLock lock(m_mutexLists);
            events.swap(m_listSubscribedEvent);
            events.splice(events.end(), m_listLeftEvent);
        }
        for (const int event : events)
            EndSubscription(*proxy, event);
    }
    ISignalSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateSignalSubscriber(t_TVSSingalHandler, &subscriber);
    if (subscriber == nullptr) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] no signal subscriber", __func__);
        return;
    }
    if (subscriber->Unsubscribe(kSignalUnmuteByPincode, 1, 0, 0) > 0)
        m_bSignalSubscribed = false;
}

int CZeLumoPluginHandler::t_VordaOnEvent(int event, FSEventData, void* userData)
{
    LOG_ERROR(" CZeLumoPluginHandler::t_onEvent is called");
    if (userData == nullptr)
        return -1;
    const zelumo::Living::Visit visit(userData);
    CZeLumoPluginHandler* const pluginVorda = static_cast<CZeLumoPluginHandler*>(userData);
    if (!visit || pluginVorda->m_bDestroyed) {
        LOG_ERROR(" pluginVorda is destroyed");
        return -1;
    }
    pluginVorda->SendPloomiaEvent(static_cast<ePloomiaEvent>(event));
    return 0;
}

void CZeLumoPluginHandler::SendPloomiaEvent(ePloomiaEvent event)
{
    pp::VarDictionary data;
    data.Set("event", static_cast<int>(event));
    if (event == ITVS_Signal_ZELumo_Control_State_ChLoad) {
        // Whatever of this fails, the page learns of the load: texts stay empty then.
        std::string channelInfo;
        t_GetCurrentChannelInfoWithJsonString(channelInfo);
        data.Set("ch_info", channelInfo);

        TCServiceData channel;
        t_GetCurrentChannel(channel);
        std::string request = PresentProgramRequest(channel);
        std::string program;
        ZELumo_GetPresentProgram(request, program);
        data.Set("program_info", program);
    }
    std::string name;
    m_ePloomiaEventToStrEvent(event, name);
    sendData(GetInstance(), name, 0, data, "", "");
    LOG_ERROR(" %s is sent", name.c_str());
}

int CZeLumoPluginHandler::t_TVSSingalHandler(ESignalType signal, TSSignalData data, void* userData)
{
    if (const zelumo::Living::Visit visit(userData); visit)
        static_cast<CZeLumoPluginHandler*>(userData)->t_SendData(signal, data);
    return 1;
}

bool CZeLumoPluginHandler::t_SendData(ESignalType signal, TSSignalData)
{
    LOG_DEBUG("[CZeLumoPluginHandler::%s] signal : %d", __func__, signal);
    if (signal != kSignalUnmuteByPincode)
        return false;
    pp::VarDictionary data;
    data.Set("event", kEventUnmuteByPincode);
    sendData(GetInstance(), "ITVS_Signal_Unmute_by_pincode_input", 0, data, "", "");
    return true;
}

void CZeLumoPluginHandler::t_BMSOnEvent(int type, std::string param1, std::string param2, void* userData)
{
    if (const zelumo::Living::Visit visit(userData); visit)
        static_cast<CZeLumoPluginHandler*>(userData)->OnEvent(type, std::move(param1), std::move(param2));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
void CZeLumoPluginHandler::OnEvent(int type, std::string param1, std::string param2)
{
    pp::VarDictionary message;
    message.Set("event", "ZELUMO_EVENT");
    message.Set("type", type);
    message.Set("param1", param1);
    message.Set("param2", param2);
    LOG_DEBUG("[OnEvent] EVENT >> eventType: %d, param1: %s, param2: %s", type, param1.c_str(),
              param2.c_str());
    instance_->PostMessage(message);
}
