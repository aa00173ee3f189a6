// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <string>

#include "PloomiaEvent.h"
#include "ZeLumoLiving.h"
#include "ZeLumoMutex.h"
#include "content-service/FCAPI.h"
#include "content-service/FCEMSProxy.h"
#include "plugin-support/PPBaseMessageHandler.h"
#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var.h"
#include "settings/vconf.h"
#include "tv-service/TVServiceAPI.h"

class BMSAdaptor;

/// The state of one plug-in instance: answers the page's messages on the worker thread and passes on what
/// the TV's services report on their own threads. Operations return true on success.
class CZeLumoPluginHandler : public PPBaseMessageHandler {
  public:
    /// The player id under which the handler itself registers for player events.
    static constexpr int kPlayerIdPlugin = 101;
    static constexpr ESignalType kSignalUnmuteByPincode = ESIGNAL_UNMUTE_BY_PINCODE;

    /// Plug-in thread. `instance` holds this handler. Subscribes to signal 177, so that signals may come at
    /// once.
    explicit CZeLumoPluginHandler(pp::Instance* instance);
    /// Plug-in thread, after the worker thread was joined.
    ~CZeLumoPluginHandler() override;

    // Worker thread.
    void WasUnregistered(pp::InstanceHandle instance) override;
    /// No command can be posted: every message is answered with a refusal.
    void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;
    /// The answer is a dictionary, whatever the message is: a player command's, a command's, or a refusal.
    pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;

    /// Teardown begins: from now on content-service events and settings changes that still arrive are
    /// dropped. Signals and player events arrive until their subscriptions have ended. Any thread.
    void SetDestroyed() { m_bDestroyed = true; }

    /// A copy that names the same instance. Any thread.
    pp::Instance GetInstance();

    // Content service. Worker thread; ZELumo_GetPresentProgram also on the event proxy's thread. Texts go
    // through unchanged; without the service, or when it refuses, the result is false and nothing is written.
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
    /// Also asks for the events of player 101. False when the event is subscribed to already, or without an
    /// event proxy: then nothing has changed.
    bool RegisterEvent(ePloomiaEvent event) ZELUMO_EXCLUDES(m_mutexLists);
    /// True, whether or not the event was subscribed to. Without a proxy it comes on until teardown ends it.
    bool UnRegisterEvent(ePloomiaEvent event) ZELUMO_EXCLUDES(m_mutexLists);
    /// Ends every event subscription and signal 177's. Without a proxy the events stay listed for the next
    /// call. When it has returned, no callback of what has ended is running or will start, unless it was
    /// called from inside one.
    void PurgeAllSubscribedSignal() ZELUMO_EXCLUDES(m_mutexLists);
    /// Any thread: posts an event to the page; a channel load carries the channel and its programme.
    void SendPloomiaEvent(ePloomiaEvent event);
    /// Any thread: posts a player event to the page.
    void OnEvent(int type, std::string param1, std::string param2);
    /// Any thread: posts signal 177 to the page. False, nothing posted, for any other.
    bool t_SendData(ESignalType signal, TSSignalData data);
    /// Callbacks, on the threads of their services; the user data are the handler, and with null nothing is
    /// posted. An event gives 0, or -1 when it was dropped; a signal gives 1.
    static int t_VordaOnEvent(int event, FSEventData data, void* userData);
    static int t_TVSSingalHandler(ESignalType signal, TSSignalData data, void* userData);
    static void t_BMSOnEvent(int type, std::string param1, std::string param2, void* userData);

    /// Event numbers and names. False, nothing written, for what has no counterpart; only the names of
    /// content-service events lead back to their numbers. Any thread.
    bool m_ePloomiaEventToStrEvent(ePloomiaEvent& value, std::string& name);
    bool m_StrEventToePloomiaEvent(std::string& name, ePloomiaEvent& value);

    // Settings keys. Worker thread; the purge on the plug-in thread. A read that fails writes nothing.
    bool SetStringToVconfWithKey(std::string& value, std::string& key);
    bool GetStringFromVconfWithKey(std::string& key, std::string& value);
    bool SetIntegerToVconfWithKey(int value, std::string& key);
    bool GetIntegerFromVconfWithKey(std::string& key, int& value);
    bool SetBooleanToVconfWithKey(int value, std::string& key);
    bool GetBooleanFromVconfWithKey(std::string& key, int& value);
    /// From now on the page is told when the key is written. False when it is watched already, or when the
    /// store refuses.
    bool AddVconfCallbackWithKey(std::string& key) ZELUMO_EXCLUDES(m_mutexLists);
    /// Ends every watch. When it has returned, no callback of what has ended is running or will start, unless
    /// it was called from inside one. May be called again.
    void PurgeAllVconfCB() ZELUMO_EXCLUDES(m_mutexLists);
    /// Settings store's thread; the user data are the handler, and with null nothing is posted.
    static void t_VconfChangedCallBack(_keynode_t* node, void* userData);

    // Channels. Worker thread; the current channel also on the event proxy's thread.
    /// The streaming service's channels as JSON text.
    bool GetZELumoServices(std::string& out);
    bool SetNextService();
    bool SetPrevService();
    /// Tunes on behalf of the application `appId`: through the navigation when the source's value is not -1
    /// and its flag is 0, else through the source control.
    bool SetServiceByServiceid(unsigned long long serviceId, std::string appId);
    /// Nothing is written on failure. A record that can't be built is an empty text, and not a failure.
    bool t_GetCurrentChannelInfoWithJsonString(std::string& out);
    bool t_GetCurrentChannel(TCServiceData& data);
    /// False, `info` untouched, when the content service does not know the service.
    bool ExtractServiceInformationsFromServiceId(unsigned long long serviceId,
                                                 ExtractedServiceInfomations& info);
    /// The channel record of `data`, which is lent, as JSON text. Empty for null, and when it can't be built:
    /// when the extra text is JSON but neither an object nor null.
    std::string t_GetChannelInfo(TCServiceData* data);
    /// In decimal. Any thread.
    std::string UIntToString(const unsigned int& value);

  private:
    void Initialize();
    /// Null while the content service is not available; the library's.
    FCEMSProxy* GetEventProxy();
    void EndSubscription(FCEMSProxy& proxy, int event) ZELUMO_EXCLUDES(m_mutexLists);

    /// Read by the services' threads; goes from false to true before teardown ends the first subscription.
    std::atomic<bool> m_bDestroyed;
    /// The worker changes the two lists while teardown may be emptying them.
    zelumo::Mutex m_mutexLists;
    std::list<int> m_listSubscribedEvent ZELUMO_GUARDED_BY(m_mutexLists);
    /// What the page unregistered while there was no proxy to unsubscribe it.
    std::list<int> m_listLeftEvent ZELUMO_GUARDED_BY(m_mutexLists);
    std::list<std::string> m_listVconfKey ZELUMO_GUARDED_BY(m_mutexLists);
    /// What services said that they have subscribed and not that they have ended it.
    std::list<int> m_listStandingEvent ZELUMO_GUARDED_BY(m_mutexLists);
    std::list<std::string> m_listStandingKey ZELUMO_GUARDED_BY(m_mutexLists);
    bool m_bSignalSubscribed = false;  // plug-in thread
    pp::Instance* instance_;           // not owned; holds this handler
    std::unique_ptr<BMSAdaptor> m_pBMSAdaptor;
    zelumo::Living m_living{this};
};

/// One embedded element: its handler and the worker thread on which the handler answers the page.
class CZeLumoPluginInstance : public pp::Instance {
  public:
    /// Plug-in thread, as is the destructor. Starts the worker, so that messages may come at once.
    explicit CZeLumoPluginInstance(PP_Instance instance);
    /// Ends every subscription and watch, and waits for the one command that is being handled.
    ~CZeLumoPluginInstance() override;

    /// True, whatever the attributes are.
    bool Init(uint32_t argc, const char* argn[], const char* argv[]) override;

    /// Power service's thread; the user data are the instance, and with null nothing is posted. Gives 0.
    static int t_OnPowerOff(int type, void* userData);

  private:
    CZeLumoPluginHandler handler;
    std::unique_ptr<pp::SimpleThreadAwaitLoop> additional_thread_;
    bool m_bPowerOffSubscribed = false;
    zelumo::Living m_living{this};
};

class CZeLumoPluginModule : public pp::Module {
  public:
    /// Plug-in thread. Never null; the caller owns it.
    pp::Instance* CreateInstance(PP_Instance instance) override;
};
