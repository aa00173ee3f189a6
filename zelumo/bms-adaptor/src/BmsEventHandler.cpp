// SPDX-License-Identifier: Apache-2.0
#include "BmsEventHandler.h"

#include <algorithm>
#include <cstring>

#include "BmsLog.h"
#include "ZeLumoTrace.h"

// clang-format off
const BmsEventHandler::Row BmsEventHandler::kEventTable[] = {
    {BMS_EVENT_INIT_COMPLETE,      &BmsEventHandler::EventInitComplete},
    {BMS_EVENT_PAUSE_COMPLETE,     &BmsEventHandler::EventPauseComplete},
    {BMS_EVENT_RESUME_COMPLETE,    &BmsEventHandler::EventResumeComplete},
    {BMS_EVENT_SEEK_COMPLETE,      &BmsEventHandler::EventSeekComplete},
    {BMS_EVENT_STOP_SUCCESS,       &BmsEventHandler::EventStopSuccess},
    {BMS_EVENT_CONTENT_RANGE_OVER, &BmsEventHandler::EventContentRangeOver},
    {BMS_EVENT_END_OF_STREAM,      &BmsEventHandler::EventEndOfStream},
    {BMS_EVENT_ERROR,              &BmsEventHandler::EventError},
    {BMS_EVENT_BUFFERING,          &BmsEventHandler::EventBuffering},
    {BMS_EVENT_FILE_NOT_FOUND,     &BmsEventHandler::EventFileNotFound},
    {BMS_EVENT_CURRENT_POSITION,   &BmsEventHandler::EventCurrentPosition},
    {BMS_EVENT_BEGIN_OF_STREAM,    &BmsEventHandler::EventBeginOfStream},
    {BMS_EVENT_GET_WINDOW_ID,      &BmsEventHandler::EventGetWindowID},
    {BMS_EVENT_GET_INIT_INFO,      &BmsEventHandler::EventGetInitInfo},
};
// clang-format on

BmsEventHandler::~BmsEventHandler()
{
    std::list<BmsPlayerId> registered;
    {
        const zelumo::MutexLock lock(m_mutex);
        registered.swap(m_listPlayerId);
    }
    for (const BmsPlayerId id : registered)
        Withdraw(id);
    m_living.End();
    bool left = false;
    {
        const zelumo::MutexLock lock(m_mutex);
        left = !m_listStandingId.empty();
    }
    if (left) {
        BMS_LOG_ERROR("[BmsEventHandler::~BmsEventHandler] registrations could not be withdrawn");
        zelumo::StayLoaded();
    }
}

void BmsEventHandler::Withdraw(BmsPlayerId id)
{
    if (BmsUnSetCallback(id, this) != 0)
        return;
    const zelumo::MutexLock lock(m_mutex);
    m_listStandingId.remove(id);
}

void BmsEventHandler::Init()
{
    BMS_LOG_ERROR("[BmsEventHandler::Init] is called");
    const zelumo::MutexLock lock(m_mutex);
    m_sendEventCallback = nullptr;
    m_userData = nullptr;
}

void BmsEventHandler::SetCallback(BmsPlayerId id)
{
    BMS_LOG_ERROR("[BmsEventHandler::SetCallback] is called - playerId:[%d]", id);
    ZELUMO_TRACE(id);
    {
        const zelumo::MutexLock lock(m_mutex);
        if (std::find(m_listPlayerId.begin(), m_listPlayerId.end(), id) == m_listPlayerId.end())
            m_listPlayerId.push_back(id);
    }
    if (BmsSetCallback(id, CallbackFunction, this) != 0)
        return;
    const zelumo::MutexLock lock(m_mutex);
    m_listStandingId.push_back(id);
}

void BmsEventHandler::RegisterSendEventCallback(BmsPlayerId, BmsEventCallback callback, void* userData)
{
    BMS_LOG_ERROR("[BmsEventHandler::RegisterSendEventCallback] is called");
    const zelumo::MutexLock lock(m_mutex);
    m_sendEventCallback = callback;
    m_userData = userData;
}

void BmsEventHandler::UnSetCallback(BmsPlayerId id)
{
    BMS_LOG_ERROR("[BmsEventHandler::UnSetCallback] is called - playerId:[%d]", id);
    Withdraw(id);
    const zelumo::MutexLock lock(m_mutex);
    m_listPlayerId.remove(id);
    m_sendEventCallback = nullptr;
}

void BmsEventHandler::CallbackFunction(int id, _BmsEvent type, _BmsCallbackStruct& data, void* userData)
{
    unsigned long long values = 0;
    std::memcpy(&values, &data, sizeof values);
    BMS_LOG_ERROR(
        "[BmsEventHandler::CallbackFunction] is called - id:[%d], callbacktype:[%d], callbackdata:[%llu]", id,
        type, values);
    ZELUMO_TRACE(id);
    if (const zelumo::Living::Visit visit(userData); visit)
        static_cast<BmsEventHandler*>(userData)->CallbackHandler(id, type, data);
}

void BmsEventHandler::CallbackHandler(int id, _BmsEvent type, BmsSignalData data)
{
    BMS_LOG_ERROR("[BmsEventHandler::CallbackHandler] is called - id:[%d], callbacktype:[%d]", id, type);
    ZELUMO_TRACE(id, static_cast<int>(type));
    for (const Row& row : kEventTable) {
        if (row.type == type)
            return (this->*row.handler)(data);
    }
}

void BmsEventHandler::SendEvent(_BmsEvent type, const std::string& param1, const std::string& param2)
{
    BmsEventCallback callback = nullptr;
    void* userData = nullptr;
    {
        const zelumo::MutexLock lock(m_mutex);
        callback = m_sendEventCallback;
        userData = m_userData;
    }
    if (callback != nullptr)
        callback(type, param1, param2, userData);
}

void BmsEventHandler::EventInitComplete(BmsSignalData data)
{
    BMS_LOG_ERROR("BmsEventHandler::EventInitComplete");
    ZELUMO_TRACE(data.value1);
    const std::string sParam1 = std::to_string(data.value1) + "<BMS_PLAYER-0.5";
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventInitComplete-sParam1:[%s], EventCurrentPosition:[%s]",
                  sParam1.c_str(), sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_INIT_COMPLETE, sParam1, sParam2);
}

void BmsEventHandler::EventPauseComplete(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventPauseComplete");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventPauseComplete-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_PAUSE_COMPLETE, sParam1, sParam2);
}

void BmsEventHandler::EventResumeComplete(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventResumeComplete");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventResumeComplete-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_RESUME_COMPLETE, sParam1, sParam2);
}

void BmsEventHandler::EventSeekComplete(BmsSignalData data)
{
    BMS_LOG_ERROR("BmsEventHandler::EventSeekComplete");
    const std::string sParam1 = std::to_string(data.value1);
    const std::string sParam2 = std::to_string(data.value2);
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventSeekComplete -position:[%s], duration:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_SEEK_COMPLETE, sParam1, sParam2);
}

void BmsEventHandler::EventStopSuccess(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventStopSuccess");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventStopSuccess-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_STOP_SUCCESS, sParam1, sParam2);
}

void BmsEventHandler::EventContentRangeOver(BmsSignalData)
{
    BMS_LOG_ERROR("[BmsEventHandler::EventContentRangeOver]");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventContentRangeOver-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_CONTENT_RANGE_OVER, sParam1, sParam2);
}

void BmsEventHandler::EventEndOfStream(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventEndOfStream");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventEndOfStream-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_END_OF_STREAM, sParam1, sParam2);
}

void BmsEventHandler::EventError(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventError");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventError-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_ERROR, sParam1, sParam2);
}

void BmsEventHandler::EventBuffering(BmsSignalData data)
{
    BMS_LOG_ERROR("BmsEventHandler::EventBuffering");
    ZELUMO_TRACE(data.value1);
    const std::string sParam1 = std::to_string(data.value1);
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventBuffering-sParam1:[%s], EventCurrentPosition:[%s]",
                  sParam1.c_str(), sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_BUFFERING, sParam1, sParam2);
}

void BmsEventHandler::EventFileNotFound(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventFileNotFound");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventFileNotFound-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_FILE_NOT_FOUND, sParam1, sParam2);
}

void BmsEventHandler::EventCurrentPosition(BmsSignalData data)
{
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventCurrentPosition-position:[%d], duration:[%d]", data.value1,
                  data.value2);
    const std::string sParam1 = std::to_string(data.value1);
    const std::string sParam2 = std::to_string(data.value2);
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventCurrentPosition-sParam1:[%s], EventCurrentPosition:[%s]",
                  sParam1.c_str(), sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_CURRENT_POSITION, sParam1, sParam2);
}

void BmsEventHandler::EventBeginOfStream(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventBeginOfStream");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventBeginOfStream-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_BEGIN_OF_STREAM, sParam1, sParam2);
}

void BmsEventHandler::EventGetWindowID(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventGetWindowID");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventGetWindowID-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_GET_WINDOW_ID, sParam1, sParam2);
}

void BmsEventHandler::EventGetInitInfo(BmsSignalData)
{
    BMS_LOG_ERROR("BmsEventHandler::EventGetInitInfo");
    const std::string sParam1;
    const std::string sParam2;
    BMS_LOG_ERROR("CZeLumoPluginHandler::EventGetInitInfo-sParam1:[%s], sParam2:[%s]", sParam1.c_str(),
                  sParam2.c_str());
    ZELUMO_TRACE(sParam1, sParam2);
    SendEvent(BMS_EVENT_GET_INIT_INFO, sParam1, sParam2);
}
