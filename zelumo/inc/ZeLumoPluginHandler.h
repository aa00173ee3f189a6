#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "PloomiaEvent.h"
#include "content-service/FCAPI.h"
#include "content-service/FCEMSProxy.h"
#include "plugin-support/PPBaseMessageHandler.h"
#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/module.h"
#include "settings/vconf.h"
#include "tv-service/TVServiceAPI.h"

class BMSAdaptor;

/// The state of one plug-in instance: answers the page's messages on the worker thread and passes on what
/// the TV's services tell on their own threads. Operations return true on success; failures are logged.
class CZeLumoPluginHandler : public PPBaseMessageHandler {
  public:
    /// The player id under which the handler itself registers for player events.
    static constexpr int kPlayerIdPlugin = 101;
    static constexpr ESignalType kSignalUnmuteByPincode = ESIGNAL_UNMUTE_BY_PINCODE;

    /// Plug-in thread. `instance` holds this handler.
    explicit CZeLumoPluginHandler(pp::Instance* instance);
    /// Plug-in thread, after the worker thread was joined.
    ~CZeLumoPluginHandler() override;

    void WasUnregistered(pp::InstanceHandle instance) override;
    void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;
    pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;

    /// Teardown begins: from now on events and settings changes that still arrive are dropped.
    void SetDestroyed() { m_bDestroyed = true; }

    /// A copy that names the same instance.
    pp::Instance GetInstance();

    // Content service. Worker thread; ZELumo_GetPresentProgram also on the event proxy's thread. Texts go
    // through unchanged; without the service the result is false and nothing is written.
    bool ZELumo_GetProgram(std::string& input, std::string& output);
    bool ZELumo_GetProgramList(std::string& input, std::string& output);
    bool ZELumo_GetPresentProgram(std::string& input, std::string& output);
    bool ZELumo_GetChannelLogo(std::string& input, std::string& output);
    bool ZELumo_GetProgramThumbnail(std::string& input, std::string& output);
    bool ZELumo_GetProgramBackground(std::string& input, std::string& output);
    bool ZELumo_SetOnDemandProgram(std::string& input, std::string& output);
    bool ZELumo_UnsetOnDemandProgram(std::string& input, std::string& output);
    bool ZELumo_GetOnDemandIdentifier(std::string& input, std::string& output);
    bool ZELumo_GetVCConfig(std::string& input, std::string& output);
    bool ZELumo_GetFeaturedVirtualChannelInfo(std::string& input, std::string& output);
    bool ZELumo_GetServiceIdFromOnTVProviderAndService(std::string& input, std::string& output);
    bool ZELumoProgramInfoIsAvailable(std::string& output);
    bool GetViewingAgreement();
    bool RestartZelumoInfo();
    bool LaunchedZELumoWebApp();
    bool GetAppIDAndURL(std::string& appID, std::string& URL);
    bool CheckIsFirstBootingInZELumo();
    bool IsFirstEntryToZelumo();
    bool CheckFirstBootInZELumo(bool& isFirstEntry, bool& isInstantOn);
    bool IsInstantOn();

    // Events. Subscriptions change on the worker thread, and end on the plug-in thread.
    bool RegisterEvent(ePloomiaEvent event);
    bool UnRegisterEvent(ePloomiaEvent event);
    void PurgeAllSubscribedSignal();
    /// Any thread: posts an event to the page; a channel load carries the channel and its programme.
    void SendPloomiaEvent(ePloomiaEvent event);
    /// Any thread: posts a player event to the page.
    void OnEvent(int type, std::string param1, std::string param2);
    bool t_SendData(ESignalType signal, TSSignalData data);
    /// Callbacks, on the threads of their services; the user datum is the handler.
    static int t_VordaOnEvent(int event, FSEventData data, void* userData);
    static int t_TVSSingalHandler(ESignalType signal, TSSignalData data, void* userData);
    static void t_BMSOnEvent(int type, std::string param1, std::string param2, void* userData);

    /// Event numbers and names. False, nothing written, for what has no counterpart; only the names of
    /// content-service events lead back to their numbers.
    bool m_ePloomiaEventToStrEvent(ePloomiaEvent& value, std::string& name);
    bool m_StrEventToePloomiaEvent(std::string& name, ePloomiaEvent& value);

    // Settings keys. Worker thread; the purge on the plug-in thread.
    bool SetStringToVconfWithKey(std::string& value, std::string& key);
    bool GetStringFromVconfWithKey(std::string& key, std::string& value);
    bool SetIntegerToVconfWithKey(int value, std::string& key);
    bool GetIntegerFromVconfWithKey(std::string& key, int& value);
    bool SetBooleanToVconfWithKey(int value, std::string& key);
    bool GetBooleanFromVconfWithKey(std::string& key, int& value);
    bool AddVconfCallbackWithKey(std::string& key);
    void PurgeAllVconfCB();
    /// Settings store's thread.
    static void t_VconfChangedCallBack(_keynode_t* node, void* userData);

    // Channels. Worker thread; the current channel also on the event proxy's thread.
    bool GetZELumoServices(std::string& out);
    bool SetNextService();
    bool SetPrevService();
    bool SetServiceByServiceid(unsigned long long serviceId, std::string appId);
    bool t_GetCurrentChannelInfoWithJsonString(std::string& out);
    bool t_GetCurrentChannel(TCServiceData& data);
    bool ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                 ExtractedServiceInfomations& info);
    /// The channel record of `data` as JSON text; empty for null, or when it can't be built.
    std::string t_GetChannelInfo(TCServiceData* data);
    std::string UIntToString(const unsigned int& value);

  private:
    void Initialize();
    FCEMSProxy* GetEventProxy();

    /// Read by the services' threads; goes from false to true before any subscription is dropped.
    std::atomic<bool> m_bDestroyed;
    /// Guards the two lists, which the worker changes while teardown may be emptying them. No platform
    /// call is made under it.
    std::mutex m_mutexLists;
    std::list<int> m_listSubscribedEvent;
    std::list<std::string> m_listVconfKey;
    pp::Instance* instance_;  // not owned; holds this handler
    std::unique_ptr<BMSAdaptor> m_pBMSAdaptor;
};

/// One embedded element: its handler and the worker thread on which the handler answers the page.
class CZeLumoPluginInstance : public pp::Instance {
  public:
    /// Plug-in thread, as is the destructor.
    explicit CZeLumoPluginInstance(PP_Instance instance);
    ~CZeLumoPluginInstance() override;

    bool Init(uint32_t argc, const char* argn[], const char* argv[]) override;

    /// Power service's thread; the user datum is the instance.
    static int t_OnPowerOff(int type, void* userData);

  private:
    CZeLumoPluginHandler handler;
    std::unique_ptr<pp::SimpleThreadAwaitLoop> additional_thread_;
};

class CZeLumoPluginModule : public pp::Module {
  public:
    pp::Instance* CreateInstance(PP_Instance instance) override;
};
