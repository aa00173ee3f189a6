// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "ZeLumoPluginHandler.h"
#include "ZeLumoPluginLog.h"

bool CZeLumoPluginHandler::SetStringToVconfWithKey(std::string& value, std::string& key)
{
    if (vconf_set_str(key.c_str(), value.c_str()) == 0)
        return true;
    LOG_ERROR("[CZeLumoPluginHandler::SetStringToVconfWithKey] vconf_set_str is failed");
    return false;
}

bool CZeLumoPluginHandler::GetStringFromVconfWithKey(std::string& key, std::string& value)
{
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key.c_str()), &std::free);
    if (!text) {
        LOG_ERROR("[CZeLumoPluginHandler::GetStringFromVconfWithKey] vconf_get_str is failed");
        return false;
    }
    value = text.get();
    return true;
}

bool CZeLumoPluginHandler::SetIntegerToVconfWithKey(int value, std::string& key)
{
    if (vconf_set_int(key.c_str(), value) == 0)
        return true;
    LOG_ERROR("[CZeLumoPluginHandler::SetIntegerToVconfWithKey] vconf_set_int is failed");
    return false;
}

bool CZeLumoPluginHandler::GetIntegerFromVconfWithKey(std::string& key, int& value)
{
    if (vconf_get_int(key.c_str(), &value) == 0)
        return true;
    LOG_ERROR("[CZeLumoPluginHandler::GetIntegerFromVconfWithKey] vconf_get_int is failed");
    return false;
}

bool CZeLumoPluginHandler::SetBooleanToVconfWithKey(int value, std::string& key)
{
    if (vconf_set_bool(key.c_str(), value) == 0)
        return true;
    LOG_ERROR("[CZeLumoPluginHandler::SetBooleanToVconfWithKey] vconf_set_bool is failed");
    return false;
}

bool CZeLumoPluginHandler::GetBooleanFromVconfWithKey(std::string& key, int& value)
{
    if (vconf_get_bool(key.c_str(), &value) == 0)
        return true;
    LOG_ERROR("[CZeLumoPluginHandler::GetBooleanFromVconfWithKey] vconf_get_bool is failed");
    return false;
}

bool CZeLumoPluginHandler::AddVconfCallbackWithKey(std::string& key)
{
    bool registered = false;
    {
        const zelumo::MutexLock lock(m_mutexLists);
        registered = std::find(m_listVconfKey.begin(), m_listVconfKey.end(), key) != m_listVconfKey.end();
    }
    if (registered) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] already registered vconf key cb: %s", __func__, key.c_str());
        return false;
    }
    const int watched = vconf_notify_key_changed(key.c_str(), t_VconfChangedCallBack, this);
    if (watched < 0) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] failed to vconf_notify_key_changed() with key:%s", __func__,
                  key.c_str());
        return false;
    }
    const zelumo::MutexLock lock(m_mutexLists);
    m_listVconfKey.push_back(key);
    if (watched == 0)
        m_listStandingKey.push_back(key);
    return true;
}

void CZeLumoPluginHandler::PurgeAllVconfCB()
{
    LOG_ERROR("[CZeLumoPluginHandler::%s]", __func__);
    std::list<std::string> keys;
    {
        const zelumo::MutexLock lock(m_mutexLists);
        keys.swap(m_listVconfKey);
    }
    for (const std::string& key : keys) {
        if (vconf_ignore_key_changed(key.c_str(), t_VconfChangedCallBack) < 0)
            continue;
        const zelumo::MutexLock lock(m_mutexLists);
        m_listStandingKey.remove(key);
    }
}

void CZeLumoPluginHandler::t_VconfChangedCallBack(_keynode_t* node, void* userData)
{
    if (userData == nullptr)
        return;
    const zelumo::Living::Visit visit(userData);
    CZeLumoPluginHandler* const pluginVorda = static_cast<CZeLumoPluginHandler*>(userData);
    if (!visit || pluginVorda->m_bDestroyed) {
        LOG_ERROR("[CZeLumoPluginHandler::%s] pluginVorda is destroyed", __func__);
        return;
    }
    const std::string key = vconf_keynode_get_name(node);
    LOG_DEBUG(" Key Change callback received for key : %s", key.c_str());
    pluginVorda->sendData(pluginVorda->GetInstance(), key, 0, key, "", "");
}
