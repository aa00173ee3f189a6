// SPDX-License-Identifier: Apache-2.0
#include <sys/prctl.h>

#include <memory>
#include <new>

#include "ZeLumoPluginHandler.h"
#include "ZeLumoPluginLog.h"
#include "power/device_power.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance_handle.h"

namespace pp {

// The runtime finds it by name, whatever the SDK's header says of its visibility and whichever header that
// is.
__attribute__((visibility("default"))) Module* CreateModule()
{
    return new (std::nothrow) CZeLumoPluginModule();
}

}  // namespace pp

pp::Instance* CZeLumoPluginModule::CreateInstance(PP_Instance instance)
{
    return new CZeLumoPluginInstance(instance);
}

CZeLumoPluginInstance::CZeLumoPluginInstance(PP_Instance instance)
    : pp::Instance(instance),
      handler(this),
      additional_thread_(std::make_unique<pp::SimpleThreadAwaitLoop>(pp::InstanceHandle(this)))
{
    prctl(PR_SET_NAME, "zlp.zelumopepper");

    LOG_SYSTEM_ERROR("[PluginLogging] begin additional_thread_->Start()");
    additional_thread_->Start();

    LOG_SYSTEM_ERROR("[PluginLogging] begin RegisterMessageHandler");
    if (RegisterMessageHandler(&handler, additional_thread_->message_loop()) == PP_OK)
        LOG_SYSTEM_ERROR("[PluginLogging]  RegisterMessageHandler success");
    else
        LOG_SYSTEM_ERROR("[PluginLogging]  RegisterMessageHandler Fail");

    m_bPowerOffSubscribed = device_power_subscribe_poweroff(t_OnPowerOff, this) == 0;
    if (!m_bPowerOffSubscribed)
        LOG_SYSTEM_ERROR("[main] Failed subscribing suspend event");
}

CZeLumoPluginInstance::~CZeLumoPluginInstance()
{
    // The flag first: what the services still deliver while their subscriptions end is dropped.
    handler.SetDestroyed();
    handler.PurgeAllSubscribedSignal();
    handler.PurgeAllVconfCB();
    const bool refused = device_power_unsubscribe_poweroff(t_OnPowerOff) < 0;
    // A command that is being handled ends here; what it still subscribes, the handler's own purge drops.
    additional_thread_.reset();
    m_living.End();
    if (refused && m_bPowerOffSubscribed) {
        LOG_SYSTEM_ERROR("[main] Failed unsubscribing suspend event");
        zelumo::StayLoaded();
    }
    LOG_SYSTEM_ERROR("~CZeLumoPluginInstance");
}

bool CZeLumoPluginInstance::Init(uint32_t, const char*[], const char*[])
{
    return true;
}

int CZeLumoPluginInstance::t_OnPowerOff(int type, void* userData)
{
    LOG_SYSTEM_ERROR("[zelumo-pepper] OnPowerOff is called !!");
    if ((type & DEVICE_POWER_OFF_TO_SUSPEND) == 0) {
        LOG_SYSTEM_ERROR("[zelumo-pepper] It is NOT POWER_OFF_TO_SUSPEND!!");
        return 0;
    }
    if (userData == nullptr) {
        LOG_SYSTEM_ERROR("[zelumo-pepper] pInstance is NULL!!");
        return 0;
    }
    if (const zelumo::Living::Visit visit(userData); visit)
        static_cast<CZeLumoPluginInstance*>(userData)->handler.SendPloomiaEvent(ITVS_Signal_Instant_Off);
    return 0;
}
